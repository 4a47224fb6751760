#include "fcpxml/role_discovery.h"

#include "base/error.h"
#include "base/error_codes.h"
#include "base/uuid.h"

#include <algorithm>
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

// Iterative so that a hostile, deeply nested document cannot exhaust the stack.
void countRoles(XmlElement root, bool includeTitles, std::map<std::string, int>& counts) {
    std::vector<XmlElement> pending{root};
    while (!pending.empty()) {
        const XmlElement element = pending.back();
        pending.pop_back();
        if (const std::optional<std::string> role = videoRole(element, includeTitles)) {
            ++counts[*role];
        }
        const std::size_t firstChild = pending.size();
        for (XmlElement child : element.children()) {
            pending.push_back(child);
        }
        std::reverse(pending.begin() + static_cast<std::ptrdiff_t>(firstChild), pending.end());
    }
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

std::map<std::string, int> countVideoRoles(XmlElement root, bool includeTitles) {
    std::map<std::string, int> counts;
    if (root) {
        countRoles(root, includeTitles, counts);
    }
    return counts;
}

std::vector<VideoRole> discoverVideoRoles(const XmlDocument& document) {
    const XmlElement root = document.root();
    if (!root) {
        throw Error(RoleParserError::domain, RoleParserError::noRootElement, "Kein Root-Element gefunden");
    }
    std::vector<VideoRole> roles;
    for (const auto& [name, count] : countVideoRoles(root)) {
        roles.push_back(VideoRole{newUuid(), name, count, true});
    }
    return roles;
}

}  // namespace tidyreel
