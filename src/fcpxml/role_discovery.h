#pragma once

#include "fcpxml/xml.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace tidyreel {

/// A main video role found in a project, with the number of elements that carry it.
struct VideoRole {
    std::string id;         ///< new random identity for each discovered role
    std::string name;       ///< the main role name
    int clipCount = 0;      ///< number of counted elements with this role
    bool isEnabled = true;  ///< starts true
};

/// The main video role of one element: clip elements default to "video", titles (when included)
/// to "Titles"; "videoRole" wins over "role"; only the part before the first "." counts.
std::optional<std::string> videoRole(XmlElement element, bool includeTitles);

/// Counts the main roles of every element below and including `root`, resources included.
std::map<std::string, int> countVideoRoles(XmlElement root, bool includeTitles = false);

/// The roles of a document sorted by name, each with a fresh id; throws `Error` ("FCPXMLRoleParser",
/// code 1) when the document has no root element.
std::vector<VideoRole> discoverVideoRoles(const XmlDocument& document);

}  // namespace tidyreel
