#include "fcpxml/role_discovery.h"

#include "base/error.h"
#include "base/error_codes.h"
#include "base/uuid.h"
#include "fcpxml/timeline_pictures.h"

#include <array>

namespace tidyreel {
namespace {

constexpr std::array<std::string_view, 6> clipElementNames = {"asset-clip", "clip",     "mc-clip",
                                                              "sync-clip",  "ref-clip", "video"};

bool isClipElement(std::string_view name) {
    for (std::string_view clipName : clipElementNames) {
        if (clipName == name) {
            return true;
        }
    }
    return false;
}

std::string mainRole(const std::string& role) {
    return role.substr(0, role.find('.'));
}

}  // namespace

std::optional<std::string> videoRole(XmlElement element, bool includeTitles) {
    if (!element) {
        return std::nullopt;
    }
    const std::string_view name = element.name();
    std::string fallback;
    if (isClipElement(name)) {
        if (std::optional<std::string> role = element.attribute("videoRole")) {
            return mainRole(*role);
        }
        fallback = "video";
    } else if (includeTitles && name == "title") {
        fallback = "Titles";
    } else {
        return std::nullopt;
    }
    return mainRole(element.attribute("role").value_or(fallback));
}

std::vector<VideoRole> discoverVideoRoles(const XmlDocument& document) {
    const XmlElement root = document.root();
    if (!root) {
        throw Error(RoleParserError::domain, RoleParserError::noRootElement, "Kein Root-Element gefunden");
    }
    std::vector<VideoRole> roles;
    for (const auto& [name, count] : countPictures(PictureFinder(document).pictures())) {
        roles.push_back(VideoRole{newUuid(), name, count.inTimeline, true, count.elsewhere});
    }
    return roles;
}

}  // namespace tidyreel
