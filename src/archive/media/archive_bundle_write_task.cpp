#include "archive/media/archive_bundle_write_task.h"

#include "core/error.h"

namespace tidyreel {

void ArchiveBundleWriteTask::execute(ArchiveExportContext&) const {
    throw Error("Processing", 1, "ArchiveBundleWriteTask: noch nicht verfügbar");
}

}  // namespace tidyreel
