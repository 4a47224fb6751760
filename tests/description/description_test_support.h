#pragma once

#include "description/chapter_marker_reader.h"
#include "pipeline/export_context.h"
#include "test_support.h"

#include <filesystem>
#include <ostream>
#include <string>

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

/// A description-workflow context over a freshly parsed document whose log lines are collected.
struct RecordingContext {
    RecordingContext(const std::string& xml, const std::filesystem::path& outputDirectory,
                     const std::string& originalFileName = "Projekt.fcpxml");
    RecordingContext(const RecordingContext&) = delete;
    RecordingContext& operator=(const RecordingContext&) = delete;

    ExportContext context;  ///< the context handed to a task
    LogCollector log;       ///< its log lines as "<symbol> <message>"
};

}  // namespace tidyreel::test
