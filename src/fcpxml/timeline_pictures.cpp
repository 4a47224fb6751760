#include "fcpxml/timeline_pictures.h"

#include "fcpxml/role_discovery.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <unordered_set>

namespace tidyreel {
namespace {

// Where an element sits: a project's timeline, a compound or multicam definition in the resources,
// or anywhere else (the browser's event clips).
enum class Place { browser, definition, timeline };

constexpr std::array<std::string_view, 11> storyElementNames = {
    "audio",     "video",      "clip",     "title", "mc-clip", "ref-clip",
    "sync-clip", "asset-clip", "audition", "gap",   "spine"};

bool isStoryElement(std::string_view name) {
    return std::find(storyElementNames.begin(), storyElementNames.end(), name) != storyElementNames.end();
}

bool isContainer(std::string_view name) {
    return name == "clip" || name == "sync-clip";
}

bool isConnected(XmlElement element) {
    return element.hasAttribute("lane");
}

// A clip whose picture is switched off shows sound only.
bool showsSoundOnly(XmlElement clip) {
    return clip.attribute("srcEnable") == "audio";
}

// The first story element of a container that is not connected to it: what the container shows.
XmlElement firstPrimaryChild(XmlElement container) {
    for (XmlElement child : container.children()) {
        if (!isConnected(child) && isStoryElement(child.name())) {
            return child;
        }
    }
    return {};
}

// The picture source is "all" when the attribute is missing.
bool suppliesPicture(XmlElement source) {
    const std::string enabled = source.attribute("srcEnable").value_or("all");
    return enabled == "all" || enabled == "video";
}

struct Pending {
    XmlElement element;
    Place place;
};

Place placeOfChildren(XmlElement element, Place place) {
    if (element.name() == "resources") {
        return Place::definition;
    }
    if (element.name() == "sequence" && place == Place::browser) {
        return Place::timeline;
    }
    return place;
}

// Compound and multicam clips show content that lives in the resources; only what is connected to
// them belongs to the storyline they stand in.
bool walksInto(XmlElement parent, XmlElement child) {
    const std::string_view name = parent.name();
    return (name != "ref-clip" && name != "mc-clip") || isConnected(child);
}

}  // namespace

PictureFinder::PictureFinder(const XmlDocument& document) : document_(document), resources_(document) {}

// Iterative, so that a hostile, deeply nested document cannot exhaust the stack. The components a
// container shows are remembered when the container is visited, so that they are not counted again.
std::vector<Picture> PictureFinder::pictures() const {
    std::vector<Picture> found;
    std::unordered_set<xmlNodePtr> shownByContainer;
    std::vector<Pending> pending;
    if (document_.root()) {
        pending.push_back({document_.root(), Place::browser});
    }
    while (!pending.empty()) {
        const auto [element, place] = pending.back();
        pending.pop_back();
        if (!shownByContainer.contains(element.node())) {
            std::optional<std::string> role;
            if (isContainer(element.name())) {
                const std::vector<XmlElement> chain = primaryChain(element);
                for (XmlElement shown : chain) {
                    shownByContainer.insert(shown.node());
                }
                role = chain.empty() ? std::nullopt : pictureRole(chain.back());
            } else {
                role = pictureRole(element);
            }
            if (role) {
                found.push_back({element, std::move(*role), place == Place::timeline});
            }
        }
        const Place childPlace = placeOfChildren(element, place);
        const std::size_t firstChild = pending.size();
        for (XmlElement child : element.children()) {
            if (walksInto(element, child)) {
                pending.push_back({child, childPlace});
            }
        }
        std::reverse(pending.begin() + static_cast<std::ptrdiff_t>(firstChild), pending.end());
    }
    return found;
}

std::optional<std::string> PictureFinder::pictureRole(XmlElement element) const {
    const std::string_view name = element.name();
    if (name == "video") {
        return videoRole(element, false);
    }
    if (name == "asset-clip") {
        if (showsSoundOnly(element)) {
            return std::nullopt;
        }
        // An asset without a picture says so by lacking hasVideo; a missing asset is given the
        // benefit of the doubt, as Final Cut Pro shows it as a missing picture.
        const XmlElement asset = resources_.asset(element.attribute("ref").value_or(""));
        if (asset && asset.attribute("hasVideo") != "1") {
            return std::nullopt;
        }
        return videoRole(element, false);
    }
    if (isContainer(name)) {
        const std::vector<XmlElement> chain = primaryChain(element);
        return chain.empty() ? std::nullopt : pictureRole(chain.back());
    }
    if (name == "ref-clip") {
        return showsSoundOnly(element) ? std::nullopt : compoundRole(element);
    }
    if (name == "mc-clip") {
        return showsSoundOnly(element) ? std::nullopt : multicamRole(element);
    }
    return std::nullopt;
}

// Containers in containers, storylines and auditions are followed down to the element that shows
// the picture; every element on the way shows that same picture.
std::vector<XmlElement> PictureFinder::primaryChain(XmlElement container) const {
    std::vector<XmlElement> chain;
    XmlElement current = container;
    while (current) {
        const std::string_view name = current.name();
        XmlElement next;
        if (isContainer(name)) {
            next = firstPrimaryChild(current);
        } else if (name == "audition") {
            for (XmlElement pick : current.children()) {  // the active pick comes first
                next = pick;
                break;
            }
        } else if (name == "spine") {
            for (XmlElement child : current.children()) {
                if (!isConnected(child) && pictureRole(child)) {
                    next = child;
                    break;
                }
            }
        } else {
            break;
        }
        if (!next || std::find(chain.begin(), chain.end(), next) != chain.end()) {
            break;
        }
        chain.push_back(next);
        current = next;
    }
    return chain;
}

// The first picture of a storyline (a compound's spine, a multicam angle); gaps and sound are passed.
std::optional<std::string> PictureFinder::storylineRole(XmlElement storyline) const {
    for (XmlElement child : storyline.children()) {
        if (isConnected(child)) {
            continue;
        }
        if (std::optional<std::string> role = pictureRole(child)) {
            return role;
        }
    }
    return std::nullopt;
}

std::optional<std::string> PictureFinder::compoundRole(XmlElement refClip) const {
    const std::string id = refClip.attribute("ref").value_or("");
    if (const auto known = definitionRoles_.find(id); known != definitionRoles_.end()) {
        return known->second;
    }
    definitionRoles_[id] = std::nullopt;
    const XmlElement media = resources_.media(id);
    const XmlElement sequence = media ? media.firstChild("sequence") : XmlElement();
    const XmlElement spine = sequence ? sequence.firstChild("spine") : XmlElement();
    std::optional<std::string> role = spine ? storylineRole(spine) : std::nullopt;
    definitionRoles_[id] = role;
    return role;
}

std::optional<std::string> PictureFinder::multicamRole(XmlElement mcClip) const {
    const std::string id = mcClip.attribute("ref").value_or("");
    const std::string angleID = activeVideoAngle(mcClip);
    const std::string key = id + '\n' + angleID;
    if (const auto known = definitionRoles_.find(key); known != definitionRoles_.end()) {
        return known->second;
    }
    definitionRoles_[key] = std::nullopt;
    const XmlElement angle = multicamAngle(mcClip, angleID);
    std::optional<std::string> role = angle ? storylineRole(angle) : std::nullopt;
    definitionRoles_[key] = role;
    return role;
}

XmlElement PictureFinder::videoSource(XmlElement mcClip) {
    for (XmlElement source : mcClip.children()) {
        if (source.name() == "mc-source" && suppliesPicture(source)) {
            return source;
        }
    }
    return {};
}

std::string PictureFinder::activeVideoAngle(XmlElement mcClip) const {
    if (const XmlElement source = videoSource(mcClip)) {
        return source.attribute("angleID").value_or("");
    }
    const XmlElement first = multicamAngle(mcClip, "");
    return first ? first.attribute("angleID").value_or("") : "";
}

// The angle with that id of the clip's multicam; with an empty id its first angle.
XmlElement PictureFinder::multicamAngle(XmlElement mcClip, const std::string& angleID) const {
    const XmlElement media = resources_.media(mcClip.attribute("ref").value_or(""));
    const XmlElement multicam = media ? media.firstChild("multicam") : XmlElement();
    if (!multicam) {
        return {};
    }
    for (XmlElement angle : multicam.children()) {
        if (angle.name() == "mc-angle" && (angleID.empty() || angle.attribute("angleID") == angleID)) {
            return angle;
        }
    }
    return {};
}

std::map<std::string, PictureCount> countPictures(const std::vector<Picture>& pictures) {
    std::map<std::string, PictureCount> counts;
    for (const Picture& picture : pictures) {
        PictureCount& count = counts[picture.role];
        ++(picture.inTimeline ? count.inTimeline : count.elsewhere);
    }
    return counts;
}

}  // namespace tidyreel
