#pragma once

#include "pipeline/export_task.h"

namespace tidyreel {

/// Writes the chapter list, combined with the description texts when `includeDescriptions` is set.
class ChapterMarkerExportTask : public ExportTask {
public:
    ChapterMarkerExportTask(std::string taskName, bool isEnabled, bool includeDescriptions)
        : ExportTask(std::move(taskName), isEnabled), includeDescriptions(includeDescriptions) {}

    void execute(ExportContext& context) const override;

    bool includeDescriptions;  ///< also write the description texts around the chapter list
};

}  // namespace tidyreel
