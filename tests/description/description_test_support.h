#pragma once

#include "core/export_context.h"
#include "description/chapter_marker_reader.h"

#include <filesystem>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

namespace tidyreel {

/// Shows a marker in test failures as its name and exact position.
inline void PrintTo(const ChapterMarker& marker, std::ostream* out) {
    *out << '{' << '"' << marker.name << "\", " << marker.offset << '}';
}

}  // namespace tidyreel

namespace tidyreel::test {

/// An FCPXML document with one project whose main spine holds `spine`; `resources` goes into the
/// resources element, `sequenceAttributes` onto the project's sequence.
std::string projectXml(const std::string& spine, const std::string& resources = "",
                       const std::string& sequenceAttributes = R"(duration="600s" tcStart="0s")");

/// A description-workflow context over a freshly parsed document that records every log line.
class RecordingContext {
public:
    RecordingContext(const std::string& xml, const std::filesystem::path& outputDirectory,
                     const std::string& originalFileName = "Projekt.fcpxml");
    RecordingContext(const RecordingContext&) = delete;
    RecordingContext& operator=(const RecordingContext&) = delete;

    /// The context handed to a task.
    ExportContext& context() { return context_; }
    /// The logged lines with their types, in order.
    const std::vector<std::pair<LogEntryType, std::string>>& lines() const { return lines_; }
    /// The logged messages, in order.
    std::vector<std::string> messages() const;

private:
    ExportContext context_;
    std::vector<std::pair<LogEntryType, std::string>> lines_;
};

}  // namespace tidyreel::test
