#pragma once

#include "fcpxml/xml.h"

#include <filesystem>
#include <memory>
#include <string_view>

namespace tidyreel {

/// The FCPXML versions Tidyreel reads: from 1.3 (resources at the root, projects in libraries and events)
/// on, within major version 1.
inline constexpr int kFirstReadableMinorVersion = 3;
/// The newest version tried; later 1.x versions are read the same way.
inline constexpr int kNewestTestedMinorVersion = 13;

/// Parses project bytes and checks that they are an FCPXML project Tidyreel reads (see
/// `requireProjectDocument`); throws `Error` with a clear description otherwise.
std::shared_ptr<XmlDocument> parseProjectDocument(std::string_view bytes);

/// Reads and checks a project file (a pipe or FIFO is read as a stream; more than 2 GiB is refused).
std::shared_ptr<XmlDocument> loadProjectDocument(const std::filesystem::path& file);

/// Throws `Error` ("FCPXML", 1) unless the root element is `fcpxml` with a `version` of 1.3 or later
/// within major version 1 ("FCPXML", 2, naming the range read, for any other version).
void requireProjectDocument(const XmlDocument& document);

}  // namespace tidyreel
