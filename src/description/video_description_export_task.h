#pragma once

#include "pipeline/export_task.h"

namespace tidyreel {

/// Writes the description text files without a chapter list.
class VideoDescriptionExportTask : public ExportTask {
public:
    using ExportTask::ExportTask;

    void execute(ExportContext& context) const override;
};

}  // namespace tidyreel
