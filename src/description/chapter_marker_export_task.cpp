#include "description/chapter_marker_export_task.h"

#include "base/language.h"
#include "base/text.h"
#include "description/chapter_list_check.h"
#include "description/chapter_marker_reader.h"
#include "description/description_files.h"
#include "description/description_log.h"
#include "fcpxml/xml.h"

#include <fmt/format.h>

#include <algorithm>

namespace tidyreel {
namespace {

constexpr std::size_t listedMarkerCount = 3;

// What goes around the chapter list: nothing, or the title texts and the description texts.
struct Surroundings {
    std::string firstHeader;
    std::string secondHeader;
    std::vector<std::string> descriptions;

    bool hasTitles() const {
        return !trimmedWhitespace(firstHeader).empty() || !trimmedWhitespace(secondHeader).empty();
    }
    bool hasDescriptions() const {
        return std::ranges::any_of(descriptions,
                                   [](const std::string& text) { return !trimmedWhitespace(text).empty(); });
    }
};

std::string checkMark(bool present) {
    return present ? "✅" : "❌";
}

void logFoundMarkers(const ExportContext& context, const std::vector<ChapterMarker>& markers) {
    context.log(LogEntryType::info, fmt::format("DEBUG: {} Kapitelmarker gefunden", markers.size()));
    for (std::size_t i = 0; i < markers.size() && i < listedMarkerCount; ++i) {
        context.log(LogEntryType::info,
                    "  → " + chapterTimestamp(markers[i].offset) + " - " + markers[i].name);
    }
    if (markers.size() > listedMarkerCount) {
        context.log(LogEntryType::info,
                    fmt::format("  → ... und {} weitere", markers.size() - listedMarkerCount));
    }
}

void logExportContents(const ExportContext& context, std::size_t markerCount,
                       const Surroundings& surroundings) {
    context.log(LogEntryType::info, "DEBUG: Export-Inhalt:");
    context.log(LogEntryType::info,
                "  → Kapitel: " + (markerCount > 0 ? fmt::format("✅ ({})", markerCount) : checkMark(false)));
    context.log(LogEntryType::info, "  → QUILLT: " + checkMark(surroundings.hasTitles()));
    context.log(LogEntryType::info, "  → Beschreibungen: " + checkMark(surroundings.hasDescriptions()));
}

// Chapters alone leave out the titles and descriptions, even when the project and settings have them.
Surroundings surroundingsOf(const ExportContext& context, bool includeDescriptions) {
    if (!includeDescriptions) {
        return {};
    }
    return {context.quillt1Text,
            context.quillt2Text,
            {context.settings.youtubeDescription1, context.settings.youtubeDescription2}};
}

void logExported(const ExportContext& context, std::size_t markerCount,
                 const std::vector<std::filesystem::path>& files, bool includeDescriptions) {
    if (includeDescriptions) {
        context.log(LogEntryType::success, fmt::format("✓ {} Kapitel + Videobeschreibungen exportiert: {}",
                                                       markerCount, joinedFileNames(files)));
        context.log(LogEntryType::info, "  Format: QUILLT → Kapitel → Videobeschreibung");
    } else {
        context.log(LogEntryType::success,
                    fmt::format("✓ {} Kapitel exportiert: {}", markerCount, joinedFileNames(files)));
        context.log(LogEntryType::info, "  Format: QUILLT → Kapitel");
    }
}

// The files are written as they are; the editor learns here what the platform will make of them.
void warnAboutChapterList(const ExportContext& context, const std::vector<ChapterMarker>& markers) {
    for (const std::string& warning :
         chapterListWarnings(markers, projectTimelineDuration(*context.xmlDocument))) {
        context.log(LogEntryType::warning, warning);
    }
}

// A marker on a clip that reaches back before the timeline's first frame has no time a chapter list
// can show; it is left out, and the editor learns which one.
std::vector<ChapterMarker> markersFromTimelineStart(const ExportContext& context,
                                                    std::vector<ChapterMarker> markers) {
    std::erase_if(markers, [&](const ChapterMarker& marker) {
        if (!(marker.offset < Fraction::zero())) {
            return false;
        }
        context.log(
            LogEntryType::warning,
            fmt::format(fmt::runtime(localized(
                            "Kapitelmarker '{}' liegt vor dem Anfang der Timeline und wird nicht exportiert",
                            "Chapter marker '{}' lies before the start of the timeline and is not exported")),
                        marker.name));
        return true;
    });
    return markers;
}

}  // namespace

void ChapterMarkerExportTask::execute(ExportContext& context) const {
    context.log(LogEntryType::info, "Lese Kapitelmarker...");
    if (context.settings.debugMode) {
        context.log(LogEntryType::info, includeDescriptions
                                            ? "DEBUG: Modus = Kapitel + Videobeschreibungen kombiniert"
                                            : "DEBUG: Modus = Nur Kapitel (ohne Videobeschreibungen)");
    }
    const std::vector<ChapterMarker> markers =
        markersFromTimelineStart(context, readChapterMarkers(*context.xmlDocument));
    if (context.settings.debugMode) {
        logFoundMarkers(context, markers);
    }
    const Surroundings surroundings = surroundingsOf(context, includeDescriptions);
    logDescriptionPreviews(context, surroundings.descriptions);
    if (markers.empty() && !surroundings.hasTitles() && !surroundings.hasDescriptions()) {
        context.log(LogEntryType::info, "  (Keine Kapitelmarker, QUILLT-Texte oder Beschreibungen gefunden)");
        return;
    }
    const std::filesystem::path base = descriptionBaseURL(context);
    if (context.settings.debugMode) {
        logExportContents(context, markers.size(), surroundings);
    }
    logBaseURL(context, base);
    const std::vector<std::filesystem::path> files = writeDescriptionFiles(
        surroundings.firstHeader, surroundings.secondHeader, markers, surroundings.descriptions, base);
    logExported(context, markers.size(), files, includeDescriptions);
    logWrittenFiles(context, files);
    warnAboutChapterList(context, markers);
}

}  // namespace tidyreel
