#include "description/description_files.h"

#include "base/file_names.h"
#include "base/text.h"
#include "pipeline/export_context.h"
#include "platform/file_write.h"

namespace tidyreel {
namespace {

std::string chapterLines(const std::vector<ChapterMarker>& markers) {
    std::string lines;
    for (const ChapterMarker& marker : markers) {
        if (!lines.empty()) {
            lines += '\n';
        }
        lines += chapterTimestamp(marker.offset) + " " + marker.name;
    }
    return lines;
}

void appendBlock(std::string& content, const std::string& block) {
    if (block.empty()) {
        return;
    }
    if (!content.empty()) {
        content += "\n\n";
    }
    content += block;
}

bool isTaken(const std::filesystem::path& file) {
    std::error_code status;
    return std::filesystem::exists(std::filesystem::symlink_status(file, status));
}

}  // namespace

std::filesystem::path descriptionBaseURL(const ExportContext& context) {
    // Both files of one run share a counter: "youtube_X 2.YT1.txt" goes with "youtube_X 2.YT2.txt".
    const std::filesystem::path wanted =
        context.settings.outputDirectory / fileNameBase(context.outputFileName());
    std::filesystem::path base = wanted;
    for (int number = 2; isTaken(descriptionFileURL(base, "YT1")) || isTaken(descriptionFileURL(base, "YT2"));
         ++number) {
        base = wanted;
        base += " " + std::to_string(number);
    }
    return base;
}

std::filesystem::path descriptionFileURL(const std::filesystem::path& base, std::string_view languageTag) {
    const std::string name = fileNameBase(base.filename().string()) + "." + std::string(languageTag) + ".txt";
    return base.parent_path() / name;
}

std::string descriptionFileContent(const std::string& header, const std::vector<ChapterMarker>& markers,
                                   const std::string& footer) {
    std::string content = trimmedWhitespace(header);
    appendBlock(content, chapterLines(markers));
    appendBlock(content, trimmedWhitespace(footer));
    return content;
}

void writeDescriptionFile(const std::string& header, const std::vector<ChapterMarker>& markers,
                          const std::string& footer, const std::filesystem::path& url) {
    writeFileAtomically(url, descriptionFileContent(header, markers, footer));
}

std::vector<std::filesystem::path> writeDescriptionFiles(const std::string& firstHeader,
                                                         const std::string& secondHeader,
                                                         const std::vector<ChapterMarker>& markers,
                                                         const std::vector<std::string>& descriptions,
                                                         const std::filesystem::path& base) {
    std::vector<std::filesystem::path> written;
    if (descriptions.empty() && markers.empty()) {
        return written;
    }
    written.push_back(descriptionFileURL(base, "YT1"));
    writeDescriptionFile(firstHeader, markers, descriptions.empty() ? std::string() : descriptions[0],
                         written.back());
    if (descriptions.size() >= 2) {
        written.push_back(descriptionFileURL(base, "YT2"));
        writeDescriptionFile(secondHeader, markers, descriptions[1], written.back());
    }
    return written;
}

}  // namespace tidyreel
