#pragma once

#include "fcpxml/xml.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace tidyreel {

/// A main video role found in a project, with the number of pictures that show it.
struct VideoRole {
    std::string id;          ///< new random identity for each discovered role
    std::string name;        ///< the main role name
    int clipCount = 0;       ///< pictures of this role in the project's timelines: what grading changes
    bool isEnabled = true;   ///< starts true
    int otherClipCount = 0;  ///< pictures of this role in the browser and in compound or multicam definitions
};

/// The main video role of one element: clip elements default to "video", titles (when included)
/// to "Titles"; "videoRole" wins over "role"; only the part before the first "." counts.
std::optional<std::string> videoRole(XmlElement element, bool includeTitles);

/// The roles of the document's pictures sorted by name, each with a fresh id and its picture counts;
/// throws `Error` ("FCPXMLRoleParser", code 1) when the document has no root element.
std::vector<VideoRole> discoverVideoRoles(const XmlDocument& document);

}  // namespace tidyreel
