#pragma once

#include "description/chapter_marker_reader.h"

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace tidyreel {

struct ExportContext;

/// The output folder plus the run's output name without its extension ("…/youtube_Bergtour im Her"),
/// with " 2", " 3", … added when a file of that name is already there.
std::filesystem::path descriptionBaseURL(const ExportContext& context);

/// The file of one language: the base's extension replaced by `languageTag` ("YT1", "YT2"), then
/// ".txt" (youtube_Reise.2024.Teil gives youtube_Reise.2024.YT1.txt).
std::filesystem::path descriptionFileURL(const std::filesystem::path& base, std::string_view languageTag);

/// One file's text: the trimmed header, the chapter lines and the trimmed footer, blocks separated
/// by one empty line, empty blocks left out; "\n" line ends, none after the last line.
std::string descriptionFileContent(const std::string& header, const std::vector<ChapterMarker>& markers,
                                   const std::string& footer);

/// Writes one file as UTF-8, atomically, replacing an existing one; throws the write error.
void writeDescriptionFile(const std::string& header, const std::vector<ChapterMarker>& markers,
                          const std::string& footer, const std::filesystem::path& url);

/// Writes the YT1 file (first header, first description) and, with two descriptions, the YT2 file;
/// with no descriptions only a YT1 chapter file, and nothing without markers. Returns the written
/// files in that order; the first failure ends it, leaving a YT1 file already written in place.
std::vector<std::filesystem::path> writeDescriptionFiles(const std::string& firstHeader,
                                                         const std::string& secondHeader,
                                                         const std::vector<ChapterMarker>& markers,
                                                         const std::vector<std::string>& descriptions,
                                                         const std::filesystem::path& base);

}  // namespace tidyreel
