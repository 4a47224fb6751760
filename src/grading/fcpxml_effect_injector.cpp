#include "grading/fcpxml_effect_injector.h"

#include "base/error.h"
#include "base/error_codes.h"
#include "fcpxml/role_discovery.h"

#include <fmt/format.h>

#include <charconv>
#include <cstdint>
#include <limits>
#include <optional>

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

// The main spine of every sequence outside the resources: compound and multicam content lives in the
// resources and is reached only through the clips that use it.
void collectSpines(XmlElement element, std::vector<XmlElement>& spines) {
    for (XmlElement child : element.children()) {
        if (child.name() == "resources") {
            continue;
        }
        if (child.name() == "sequence") {
            for (XmlElement spine : child.children()) {
                if (spine.name() == "spine") {
                    spines.push_back(spine);
                }
            }
            continue;
        }
        collectSpines(child, spines);
    }
}

// Final Cut Pro expects a clip's video filters after its other filters and before its audio filters
// and metadata.
void insertFilter(XmlElement clip, const std::string& id, const std::string& effectName) {
    XmlElement before;
    for (XmlElement child : clip.children()) {
        if (child.name() == "filter-audio" || child.name() == "metadata") {
            before = child;
            break;
        }
    }
    XmlElement filter =
        before ? clip.insertChildBefore("filter-video", before) : clip.appendChild("filter-video");
    filter.setAttribute("ref", id);
    filter.setAttribute("name", effectName);
}

// A compound or multicam clip's own content lives in the resources; only what is connected to it
// (children with a lane) belongs to this timeline.
bool walksChild(XmlElement clip, XmlElement child) {
    const std::string_view name = clip.name();
    return (name != "ref-clip" && name != "mc-clip") || child.hasAttribute("lane");
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
    const std::vector<XmlElement> spines = timelineSpines();
    for (const auto& [role, reference] : mapping_) {
        const auto id = effectIds.find(reference.uid);
        if (id == effectIds.end()) {
            continue;
        }
        int modified = 0;
        for (XmlElement spine : spines) {
            modified += injectIntoClips(spine, role, id->second, reference.name);
        }
        stats.clipsModified += modified;
        if (modified > 0) {
            stats.rolesProcessed.push_back(role);
        }
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

std::vector<XmlElement> FCPXMLEffectInjector::timelineSpines() const {
    std::vector<XmlElement> spines;
    collectSpines(document_->root(), spines);
    diagnose(fmt::format("🌲 Found {} timeline spine(s) as injection entry point(s)", spines.size()));
    return spines;
}

int FCPXMLEffectInjector::injectIntoClips(XmlElement element, const std::string& role, const std::string& id,
                                          const std::string& effectName) const {
    const std::optional<std::string> videoRoleValue = element.attribute("videoRole");
    const std::optional<std::string> roleValue = element.attribute("role");
    const std::optional<std::string> resolved = videoRole(element, false);
    if (videoRoleValue || roleValue) {
        diagnose(fmt::format("🔍 SCAN forRole={} | type={} name='{}' videoRole={} role={} → resolved={}", role,
                             element.name(), attributeOr(element, "name", "?"), videoRoleValue.value_or("-"),
                             roleValue.value_or("-"), resolved.value_or("nil")));
    }
    int count = 0;
    if (resolved == role) {
        diagnose(fmt::format("💉 INJECT role={} | type={} name='{}' offset={} lane={} → refID={}", role,
                             element.name(), attributeOr(element, "name", "?"),
                             attributeOr(element, "offset", "-"), attributeOr(element, "lane", "0"), id));
        insertFilter(element, id, effectName);
        count = 1;
    }
    for (XmlElement child : element.children()) {
        if (walksChild(element, child)) {
            count += injectIntoClips(child, role, id, effectName);
        }
    }
    return count;
}

void FCPXMLEffectInjector::diagnose(const std::string& line) const {
    if (diagnostics_) {
        diagnostics_(line);
    }
}

}  // namespace tidyreel
