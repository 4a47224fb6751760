#include "content_model_check.h"

#include <fmt/format.h>

#include <functional>
#include <map>
#include <set>
#include <string_view>

namespace tidyreel::test {
namespace {

// One place in a content model: the child names allowed there, and whether they may repeat.
struct Slot {
    std::function<bool(std::string_view)> accepts;
    bool repeats;
};

using Model = std::vector<Slot>;

Slot one(std::set<std::string_view> names) {
    return {[names](std::string_view name) { return names.contains(name); }, false};
}

Slot many(std::set<std::string_view> names) {
    return {[names](std::string_view name) { return names.contains(name); }, true};
}

// The picture adjustments: their order among themselves is Final Cut Pro's business and grows with
// every version; Tidyreel never adds one, so only their place before everything else is checked.
Slot videoAdjustments() {
    return {[](std::string_view name) {
                return name == "object-tracker" ||
                       (name.starts_with("adjust-") && name != "adjust-volume" && name != "adjust-panner");
            },
            true};
}

const std::set<std::string_view> anchorItems = {"audio",      "video",    "clip",     "title",
                                                "caption",    "mc-clip",  "ref-clip", "sync-clip",
                                                "asset-clip", "audition", "spine",    "live-drawing"};
const std::set<std::string_view> containedItems = {
    "audio",     "video",      "clip",     "title", "caption", "mc-clip",     "ref-clip",
    "sync-clip", "asset-clip", "audition", "gap",   "spine",   "live-drawing"};
const std::set<std::string_view> markerItems = {"marker",  "chapter-marker",  "rating",
                                                "keyword", "analysis-marker", "hidden-clip-marker"};
const std::set<std::string_view> videoFilters = {"filter-video", "filter-video-mask"};

// note?, conform-rate?, timeMap?, picture adjustments, adjust-volume?, adjust-panner?
Model clipHead() {
    return {one({"note"}),      one({"conform-rate"}),  one({"timeMap"}),
            videoAdjustments(), one({"adjust-volume"}), one({"adjust-panner"})};
}

// The story items, markers, `sources` elements, video filters, audio filters and metadata of a clip.
Model clipModel(const std::set<std::string_view>& items, std::string_view sources) {
    Model model = clipHead();
    model.insert(model.end(), {many(items), many(markerItems), many({sources}), many(videoFilters),
                               many({"filter-audio"}), one({"metadata"})});
    return model;
}

const std::map<std::string_view, Model>& contentModels() {
    static const std::map<std::string_view, Model> models = [] {
        std::map<std::string_view, Model> all;
        all["asset-clip"] = clipModel(anchorItems, "audio-channel-source");
        all["clip"] = clipModel(containedItems, "audio-channel-source");
        all["sync-clip"] = clipModel(containedItems, "sync-source");
        all["ref-clip"] = clipModel(anchorItems, "audio-role-source");
        all["video"] = {many({"param"}),   one({"note"}),      one({"conform-rate"}),
                        one({"timeMap"}),  videoAdjustments(), many(anchorItems),
                        many(markerItems), many(videoFilters), one({"reserved"})};
        all["mc-clip"] = {one({"note"}),          one({"conform-rate"}),  one({"timeMap"}),
                          one({"adjust-volume"}), one({"adjust-panner"}), many({"mc-source"}),
                          many(anchorItems),      many(markerItems),      many({"filter-audio"}),
                          one({"metadata"})};
        all["mc-source"] = {many({"audio-role-source"}), videoAdjustments(), many(videoFilters)};
        all["resources"] = {many({"asset", "effect", "format", "media", "locator"})};
        all["filter-video"] = {many({"data"}), many({"param"})};
        all["effect"] = {};
        return all;
    }();
    return models;
}

std::string describe(XmlElement element) {
    const std::optional<std::string> name = element.attribute("name");
    return fmt::format("<{}{}>", element.name(), name ? " name=\"" + *name + "\"" : "");
}

// Walks the children once: a child stays in the current slot while that slot takes it, else moves on
// to the first later slot that does; a child no later slot takes stands in the wrong place, or is not
// allowed in this element at all.
void checkChildren(XmlElement element, const Model& model, std::vector<std::string>& problems) {
    std::size_t slot = 0;
    bool slotUsed = false;
    for (XmlElement child : element.children()) {
        const std::string_view name = child.name();
        if (slot < model.size() && model[slot].accepts(name) && (model[slot].repeats || !slotUsed)) {
            slotUsed = true;
            continue;
        }
        std::size_t next = slot + 1;
        while (next < model.size() && !model[next].accepts(name)) {
            ++next;
        }
        if (next >= model.size()) {
            problems.push_back(fmt::format("{} in {}: not allowed here or out of order", describe(child),
                                           describe(element)));
            continue;
        }
        slot = next;
        slotUsed = true;
    }
}

void requireAttributes(XmlElement element, std::initializer_list<const char*> names,
                       std::vector<std::string>& problems) {
    for (const char* name : names) {
        if (!element.hasAttribute(name)) {
            problems.push_back(fmt::format("{} lacks the attribute {}", describe(element), name));
        }
    }
}

std::set<std::string> effectIds(const XmlDocument& document) {
    std::set<std::string> ids;
    for (XmlElement effect : document.xpath("/fcpxml/resources/effect[@id]")) {
        ids.insert(*effect.attribute("id"));
    }
    return ids;
}

void checkAttributes(XmlElement element, const std::set<std::string>& effects,
                     std::vector<std::string>& problems) {
    const std::string_view name = element.name();
    if (name == "effect") {
        requireAttributes(element, {"id", "uid"}, problems);
    } else if (name == "filter-video") {
        requireAttributes(element, {"ref"}, problems);
        if (const auto ref = element.attribute("ref"); ref && !effects.contains(*ref)) {
            problems.push_back(
                fmt::format("{} refers to {}, which is no effect resource", describe(element), *ref));
        }
    } else if (name == "mc-source") {
        requireAttributes(element, {"angleID"}, problems);
        const std::string enabled = element.attribute("srcEnable").value_or("all");
        if (enabled != "all" && enabled != "audio" && enabled != "video" && enabled != "none") {
            problems.push_back(fmt::format("{} has srcEnable=\"{}\"", describe(element), enabled));
        }
    }
}

}  // namespace

std::vector<std::string> contentModelViolations(const XmlDocument& document) {
    std::vector<std::string> problems;
    const std::set<std::string> effects = effectIds(document);
    forEachElement(document.root(), [&](XmlElement element) {
        if (const auto model = contentModels().find(element.name()); model != contentModels().end()) {
            checkChildren(element, model->second, problems);
        }
        checkAttributes(element, effects, problems);
    });
    return problems;
}

}  // namespace tidyreel::test
