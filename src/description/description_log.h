#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace tidyreel {

struct ExportContext;

/// "DEBUG: <label> = '<first `limit` characters>'" with "..." after the quote when the text is longer.
std::string debugPreviewLine(std::string_view label, std::string_view text, std::size_t limit);

/// In debug mode: one "DEBUG: Beschreibung N = '…'" line per description text.
void logDescriptionPreviews(const ExportContext& context, const std::vector<std::string>& descriptions);

/// In debug mode: the "DEBUG: Export Base-URL = <path>" line.
void logBaseURL(const ExportContext& context, const std::filesystem::path& base);

/// The written files' names joined with " & ".
std::string joinedFileNames(const std::vector<std::filesystem::path>& files);

/// In debug mode: one "  → <path>" line per written file.
void logWrittenFiles(const ExportContext& context, const std::vector<std::filesystem::path>& files);

}  // namespace tidyreel
