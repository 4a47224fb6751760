#pragma once

#include "pipeline/export_task.h"

namespace tidyreel {

/// Writes the run's document into the output folder under its dated name, with the project renamed.
class FCPXMLWriteTask : public ExportTask {
public:
    using ExportTask::ExportTask;

    /// Renames the project, creates the folder and writes the pretty-printed document; throws the
    /// file system's error when the folder cannot be made or the file cannot be written.
    void execute(ExportContext& context) const override;
};

/// Prefixes the `name` of the first project with `suffix` + "_"; a missing project or name is left alone.
void renameFirstProject(XmlDocument& document, const std::string& suffix);

}  // namespace tidyreel
