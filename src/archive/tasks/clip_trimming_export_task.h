#pragma once

#include "pipeline/export_task.h"

namespace tidyreel {

/// Plans, cuts and copies the media of the archive.
class ClipTrimmingExportTask : public ArchiveExportTask {
public:
    using ArchiveExportTask::ArchiveExportTask;

    void execute(ArchiveExportContext& context) const override;
};

}  // namespace tidyreel
