#include "archive/planning/clip_trimming_export_task.h"

#include "core/error.h"

namespace tidyreel {

void ClipTrimmingExportTask::execute(ArchiveExportContext&) const {
    throw Error("Processing", 1, "ClipTrimmingExportTask: noch nicht verfügbar");
}

}  // namespace tidyreel
