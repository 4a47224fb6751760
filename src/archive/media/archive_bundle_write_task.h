#pragma once

#include "core/export_task.h"

namespace tidyreel {

/// Writes the archive bundle's Info.fcpxml.
class ArchiveBundleWriteTask : public ArchiveExportTask {
public:
    using ArchiveExportTask::ArchiveExportTask;

    void execute(ArchiveExportContext& context) const override;
};

}  // namespace tidyreel
