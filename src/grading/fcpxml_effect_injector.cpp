#include "grading/fcpxml_effect_injector.h"

#include "base/error.h"
#include "base/error_codes.h"

#include <fmt/format.h>

#include <charconv>
#include <cstdint>
#include <limits>
#include <optional>
#include <string_view>

namespace tidyreel {
namespace {

// The number of a resource id "r<number>"; ids of any other form take no part in the numbering.
std::optional<std::uint64_t> resourceNumber(const std::string& id) {
    if (id.size() < 2 || id.front() != 'r') {
        return std::nullopt;
    }
    std::uint64_t number = 0;
    const char* end = id.data() + id.size();
    const auto [stop, status] = std::from_chars(id.data() + 1, end, number);
    // Numbers near the type's limit could not be counted on from; nobody writes such ids by hand.
    if (status != std::errc() || stop != end || number > std::numeric_limits<std::uint32_t>::max()) {
        return std::nullopt;
    }
    return number;
}

std::uint64_t highestResourceNumber(XmlElement resources) {
    std::uint64_t highest = 0;
    for (XmlElement resource : resources.children()) {
        if (const std::optional<std::string> id = resource.attribute("id")) {
            highest = std::max(highest, resourceNumber(*id).value_or(0));
        }
    }
    return highest;
}

// uid → id of the effects already in the resources; of two with one uid the later one wins.
std::map<std::string, std::string> existingEffects(XmlElement resources) {
    std::map<std::string, std::string> effects;
    for (XmlElement resource : resources.children()) {
        const std::optional<std::string> uid = resource.attribute("uid");
        const std::optional<std::string> id = resource.attribute("id");
        if (resource.name() == "effect" && uid && id) {
            effects[*uid] = *id;
        }
    }
    return effects;
}

// An effect the project already has keeps its id; only its display name follows the assignment.
void renameExistingEffect(XmlElement resources, const std::string& id, const std::string& name) {
    for (XmlElement resource : resources.children()) {
        if (resource.name() == "effect" && resource.attribute("id") == id) {
            if (const std::optional<std::string> current = resource.attribute("name");
                current && *current != name) {
                resource.setAttribute("name", name);
            }
            return;
        }
    }
}

void addEffectResource(XmlElement resources, const std::string& id, const EffectReference& reference) {
    XmlElement effect = resources.appendChild("effect");
    effect.setAttribute("id", id);
    effect.setAttribute("name", reference.name);
    effect.setAttribute("uid", reference.uid);
    if (reference.src) {
        effect.setAttribute("src", *reference.src);
    }
}

// A clip's video filters come after everything else it holds except its audio filters, its metadata
// and (on a `video`) the reserved data: that is where the document type allows them.
void insertFilter(XmlElement host, const std::string& id, const std::string& effectName) {
    XmlElement before;
    for (XmlElement child : host.children()) {
        const std::string_view name = child.name();
        if (name == "filter-audio" || name == "metadata" || name == "reserved") {
            before = child;
            break;
        }
    }
    XmlElement filter =
        before ? host.insertChildBefore("filter-video", before) : host.appendChild("filter-video");
    filter.setAttribute("ref", id);
    filter.setAttribute("name", effectName);
}

// A multicam clip takes video filters only inside the source of its picture. Without one, the source
// of the active angle is made to supply the picture too, or a new one is added after the clip's own
// sources, where the document type wants them.
XmlElement multicamFilterHost(const PictureFinder& finder, XmlElement mcClip) {
    if (const XmlElement source = PictureFinder::videoSource(mcClip)) {
        return source;
    }
    const std::string angleID = finder.activeVideoAngle(mcClip);
    XmlElement before;
    for (XmlElement child : mcClip.children()) {
        const std::string_view name = child.name();
        if (name == "mc-source" && child.attribute("angleID") == angleID) {
            child.setAttribute("srcEnable", child.attribute("srcEnable") == "audio" ? "all" : "video");
            return child;
        }
        if (!before && name != "note" && name != "conform-rate" && name != "timeMap" &&
            name != "adjust-volume" && name != "adjust-panner" && name != "mc-source") {
            before = child;
        }
    }
    XmlElement source =
        before ? mcClip.insertChildBefore("mc-source", before) : mcClip.appendChild("mc-source");
    source.setAttribute("angleID", angleID);
    source.setAttribute("srcEnable", "video");
    return source;
}

std::string attributeOr(XmlElement element, const char* name, const char* fallback) {
    return element.attribute(name).value_or(fallback);
}

}  // namespace

FCPXMLEffectInjector::FCPXMLEffectInjector(std::shared_ptr<XmlDocument> document, RoleEffectMappings mapping,
                                           InjectionDiagnostics diagnostics)
    : document_(std::move(document)), mapping_(std::move(mapping)), diagnostics_(std::move(diagnostics)) {}

InjectionStats FCPXMLEffectInjector::inject() {
    const XmlElement root = document_->root();
    if (!root) {
        throw Error(EffectInjectorError::domain, EffectInjectorError::noRootElement, "Kein Root-Element");
    }
    const XmlElement resources = root.firstChild("resources");
    if (!resources) {
        throw Error(EffectInjectorError::domain, EffectInjectorError::noResources,
                    "Kein <resources>-Element gefunden");
    }
    InjectionStats stats;
    const std::map<std::string, std::string> effectIds = ensureEffectResources(resources, stats);
    const PictureFinder finder(*document_);
    const std::vector<Picture> pictures = timelinePictures(finder);
    for (const auto& [role, reference] : mapping_) {
        const auto id = effectIds.find(reference.uid);
        int modified = 0;
        for (const Picture& picture : pictures) {
            if (id != effectIds.end() && picture.role == role) {
                injectInto(finder, picture, id->second, reference.name);
                ++modified;
            }
        }
        stats.clipsModified += modified;
        (modified > 0 ? stats.rolesProcessed : stats.rolesUnchanged).push_back(role);
    }
    return stats;
}

// The existing-effects lookup is taken once, before any resource is added: two roles sharing an effect
// the project does not have yet get one new resource each, and the later one is used for both.
std::map<std::string, std::string> FCPXMLEffectInjector::ensureEffectResources(XmlElement resources,
                                                                               InjectionStats& stats) {
    std::uint64_t highest = highestResourceNumber(resources);
    const std::map<std::string, std::string> existing = existingEffects(resources);
    std::map<std::string, std::string> effectIds;
    for (const auto& [role, reference] : mapping_) {
        if (const auto found = existing.find(reference.uid); found != existing.end()) {
            effectIds[reference.uid] = found->second;
            renameExistingEffect(resources, found->second, reference.name);
            continue;
        }
        const std::string id = "r" + std::to_string(++highest);
        effectIds[reference.uid] = id;
        addEffectResource(resources, id, reference);
        ++stats.effectsAdded;
    }
    return effectIds;
}

std::vector<Picture> FCPXMLEffectInjector::timelinePictures(const PictureFinder& finder) const {
    std::vector<Picture> pictures = finder.pictures();
    std::erase_if(pictures, [](const Picture& picture) { return !picture.inTimeline; });
    diagnose(fmt::format("🌲 Found {} timeline picture(s) to grade", pictures.size()));
    return pictures;
}

void FCPXMLEffectInjector::injectInto(const PictureFinder& finder, const Picture& picture,
                                      const std::string& id, const std::string& effectName) const {
    const XmlElement clip = picture.clip;
    diagnose(fmt::format("💉 INJECT role={} | type={} name='{}' offset={} lane={} → refID={}", picture.role,
                         clip.name(), attributeOr(clip, "name", "?"), attributeOr(clip, "offset", "-"),
                         attributeOr(clip, "lane", "0"), id));
    const XmlElement host = clip.name() == "mc-clip" ? multicamFilterHost(finder, clip) : clip;
    insertFilter(host, id, effectName);
}

void FCPXMLEffectInjector::diagnose(const std::string& line) const {
    if (diagnostics_) {
        diagnostics_(line);
    }
}

}  // namespace tidyreel
