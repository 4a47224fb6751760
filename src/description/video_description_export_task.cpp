#include "description/video_description_export_task.h"

#include "description/description_files.h"
#include "description/description_log.h"

namespace tidyreel {

void VideoDescriptionExportTask::execute(ExportContext& context) const {
    const std::vector<std::string> descriptions = {context.settings.youtubeDescription1,
                                                   context.settings.youtubeDescription2};
    const std::filesystem::path base = descriptionBaseURL(context);
    logDescriptionPreviews(context, descriptions);
    logBaseURL(context, base);
    const std::vector<std::filesystem::path> files =
        writeDescriptionFiles(context.quillt1Text, context.quillt2Text, {}, descriptions, base);
    context.log(LogEntryType::success, "✓ Videobeschreibungen exportiert: " + joinedFileNames(files));
    logWrittenFiles(context, files);
}

}  // namespace tidyreel
