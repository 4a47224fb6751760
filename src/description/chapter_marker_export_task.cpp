#include "description/chapter_marker_export_task.h"

#include "core/error.h"

namespace tidyreel {

void ChapterMarkerExportTask::execute(ExportContext&) const {
    throw Error("Processing", 1, "ChapterMarkerExportTask: noch nicht verfügbar");
}

}  // namespace tidyreel
