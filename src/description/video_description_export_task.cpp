#include "description/video_description_export_task.h"

#include "core/error.h"

namespace tidyreel {

void VideoDescriptionExportTask::execute(ExportContext&) const {
    throw Error("Processing", 1, "VideoDescriptionExportTask: noch nicht verfügbar");
}

}  // namespace tidyreel
