#include "archive/planning/clip_trimming_export_task.h"

#include "archive/planning/archive_planning.h"
#include "core/error.h"

namespace tidyreel {

void ClipTrimmingExportTask::execute(ArchiveExportContext& context) const {
    planArchive(context);
    throw Error("Processing", 1, "ClipTrimmingExportTask: Schneiden noch nicht verfügbar");
}

}  // namespace tidyreel
