#pragma once

#include "pipeline/export_context.h"

#include <string>

namespace tidyreel {

/// One step of a workflow run; a disabled task is skipped.
class ExportTask {
public:
    ExportTask(std::string taskName, bool isEnabled) : taskName(std::move(taskName)), isEnabled(isEnabled) {}
    virtual ~ExportTask() = default;

    /// Runs the task over the context's document; throws on failure, which ends the run.
    virtual void execute(ExportContext& context) const = 0;

    std::string taskName;  ///< shown in log lines and progress
    bool isEnabled;        ///< false: the pipeline skips the task
};

/// One step of the archive workflow, which receives the archive context.
class ArchiveExportTask {
public:
    ArchiveExportTask(std::string taskName, bool isEnabled)
        : taskName(std::move(taskName)), isEnabled(isEnabled) {}
    virtual ~ArchiveExportTask() = default;

    /// Runs the task over the archive context; throws on failure, which ends the run.
    virtual void execute(ArchiveExportContext& context) const = 0;

    std::string taskName;  ///< shown in log lines and progress
    bool isEnabled;        ///< false: the pipeline skips the task
};

}  // namespace tidyreel
