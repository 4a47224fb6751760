#include "archive/planning/media_uses.h"

#include "fcpxml/fcpxml_time.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <set>

namespace tidyreel {
namespace {

bool isMediaUseName(std::string_view name) {
    return name == "asset-clip" || name == "video" || name == "audio";
}

// Children of a storyline are laid out one after another: a container's window never cuts them.
bool isStoryline(std::string_view name) {
    return name == "spine" || name == "mc-angle";
}

// Clips whose content is only seen through their own window.
bool isContainer(std::string_view name) {
    return name == "clip" || name == "sync-clip";
}

bool isTimed(XmlElement element) {
    return element.hasAttribute("offset") || element.hasAttribute("start") ||
           element.hasAttribute("duration");
}

std::optional<HalfOpenRange> intersection(const std::optional<HalfOpenRange>& a,
                                          const std::optional<HalfOpenRange>& b) {
    if (!a || !b) {
        return a ? a : b;
    }
    return HalfOpenRange{std::max(a->start, b->start), std::min(a->end, b->end)};
}

// One element still to visit, with the window its parent shows (in the parent's content time; none when
// the parent shows all) and the frame duration of the sequence around it.
struct PendingElement {
    XmlElement element;
    std::optional<HalfOpenRange> window;
    std::optional<Rational> sequenceFrame;
};

class MediaUseWalk {
public:
    explicit MediaUseWalk(const ResourceIndex& resources) : resources_(resources) {}

    std::vector<AnalysedClip> run(XmlElement root) {
        for (XmlElement child : root.children()) {
            if (child.name() != "resources") {
                walk({child, std::nullopt, std::nullopt});
            }
        }
        // Compound and multicam clips are walked once each, whatever the number of clips that show them.
        for (std::size_t i = 0; i < mediaToWalk_.size(); ++i) {
            walk({resources_.media(mediaToWalk_[i]), std::nullopt, std::nullopt});
        }
        return std::move(clips_);
    }

private:
    void walk(PendingElement first) {
        std::vector<PendingElement> stack{first};
        while (!stack.empty()) {
            const PendingElement item = stack.back();
            stack.pop_back();
            const std::optional<PendingElement> inner = visit(item);
            if (!inner) {
                continue;
            }
            const std::size_t at = stack.size();
            for (XmlElement child : item.element.children()) {
                stack.push_back({child, inner->window, inner->sequenceFrame});
            }
            std::reverse(stack.begin() + static_cast<std::ptrdiff_t>(at), stack.end());
        }
    }

    // Records the element when it uses media; returns what its children see, or none to skip them.
    std::optional<PendingElement> visit(PendingElement item) {
        const XmlElement element = item.element;
        const std::string name(element.name());
        const XmlElement parent = element.parent();
        if (parent && parent.name() == "event" && name != "project") {
            return std::nullopt;  // browser clips are not part of any timeline
        }
        if (parent && isStoryline(parent.name())) {
            item.window.reset();
        }
        if ((name == "sequence" || name == "multicam") && element.hasAttribute("format")) {
            item.sequenceFrame = formatFrameDuration(*element.attribute("format"));
        }
        const std::optional<std::string> ref = element.attribute("ref");
        if (ref && resources_.media(*ref) && walkedMedia_.insert(*ref).second) {
            mediaToWalk_.push_back(*ref);
        }
        const bool usesAsset =
            ref && !resources_.media(*ref) && (isMediaUseName(name) || resources_.asset(*ref));
        if (!isTimed(element) && name != "spine") {
            if (usesAsset) {
                record(element, *ref, std::nullopt, item.sequenceFrame);
            }
            return item;
        }
        try {
            const Rational start = FCPXMLTime::time(element, "start");
            const Rational offset = FCPXMLTime::time(element, "offset");
            std::optional<HalfOpenRange> local;
            if (item.window) {
                local = HalfOpenRange{start + item.window->start - offset, start + item.window->end - offset};
            }
            std::optional<HalfOpenRange> own;
            if (element.hasAttribute("duration")) {
                own = HalfOpenRange{start, start + FCPXMLTime::time(element, "duration")};
            }
            const std::optional<HalfOpenRange> shown = intersection(own, local);
            if (usesAsset) {
                record(element, *ref, shown, item.sequenceFrame);
            }
            item.window = isContainer(name) ? contentWindow(element, shown, item.sequenceFrame) : local;
        } catch (const std::exception&) {
            item.window.reset();  // absurd times: the children count whole, which keeps their media
            if (usesAsset) {
                record(element, *ref, std::nullopt, item.sequenceFrame);
            }
        }
        return item;
    }

    void record(XmlElement element, const std::string& ref, const std::optional<HalfOpenRange>& shown,
                const std::optional<Rational>& sequenceFrame) {
        AnalysedClip clip = readClip(element, ref);
        if (!isMediaUseName(clip.element.name())) {
            clip.unfollowable = "<" + std::string(clip.element.name()) + "> mit Verweis auf das Asset";
        }
        try {
            const Rational start = FCPXMLTime::time(element, "start");
            const HalfOpenRange own{start, start + FCPXMLTime::time(element, "duration")};
            clip.visible = shown && shown->start < shown->end ? *shown : own;
        } catch (const std::exception& error) {
            clip.unreadableTimes = error.what();
        }
        applyConformRate(clip, sequenceFrame);
        clips_.push_back(std::move(clip));
    }

    // The clip plays a conformed file frame for frame at the sequence's rate, which changes how much media
    // a second of its duration uses.
    static void applyConformRate(AnalysedClip& clip, const std::optional<Rational>& sequenceFrame) {
        const XmlElement conform = clip.element.firstChild("conform-rate");
        if (!conform || conform.attribute("scaleEnabled") == "0") {
            return;
        }
        const std::optional<Rational> rate = conformFrameRate(conform.attribute("srcFrameRate").value_or(""));
        if (!rate) {
            clip.unfollowable = "conform-rate ohne lesbare srcFrameRate";
        } else if (!sequenceFrame) {
            clip.unfollowable = "conform-rate in einer Sequenz ohne bekannte Bildrate";
        } else {
            clip.conformScale = Rational::one() / (*sequenceFrame * *rate);
        }
    }

    // What a container shows of its content, in the content's time.
    std::optional<HalfOpenRange> contentWindow(XmlElement container,
                                               const std::optional<HalfOpenRange>& shown,
                                               const std::optional<Rational>& sequenceFrame) const {
        if (!shown) {
            return std::nullopt;
        }
        AnalysedClip clip = readClip(container, "");
        applyConformRate(clip, sequenceFrame);
        const std::optional<TimeMap> map = FCPXMLTime::buildTimeMap(container);
        Rational low = clip.mediaTime(shown->start, map ? &*map : nullptr);
        Rational high = clip.mediaTime(shown->end, map ? &*map : nullptr);
        if (low > high) {
            std::swap(low, high);
        }
        // A map that turns back between the ends still shows every value it passes.
        for (const TimeMapPoint& point : map ? map->points : std::vector<TimeMapPoint>{}) {
            if (shown->start < point.time && point.time < shown->end) {
                low = std::min(low, point.value);
                high = std::max(high, point.value);
            }
        }
        return HalfOpenRange{low, high};
    }

    std::optional<Rational> formatFrameDuration(const std::string& formatID) const {
        const XmlElement format = resources_.format(formatID);
        const auto frame =
            format ? Rational::fromFCPXML(format.attribute("frameDuration").value_or("")) : std::nullopt;
        return frame && *frame > Rational::zero() ? frame : std::nullopt;
    }

    static AnalysedClip readClip(XmlElement element, const std::string& ref) {
        AnalysedClip clip{element, ref, {}, {}, {}, {}, {}, {}, {}, Rational::one(), {}, {}};
        const char* const roleAttribute = element.name() == "video" ? "role" : "videoRole";
        const std::pair<std::string_view, std::optional<std::string>*> fields[] = {
            {"name", &clip.name},
            {roleAttribute, &clip.videoRole},
            {"start", &clip.start},
            {"duration", &clip.duration},
            {"audioStart", &clip.audioStart},
            {"audioDuration", &clip.audioDuration}};
        element.forEachAttribute([&](std::string_view name, std::string_view value) {
            for (const auto& [fieldName, field] : fields) {
                if (name == fieldName) {
                    *field = std::string(value);
                    return;
                }
            }
        });
        return clip;
    }

    const ResourceIndex& resources_;
    std::vector<AnalysedClip> clips_;
    std::vector<std::string> mediaToWalk_;
    std::set<std::string> walkedMedia_;
};

}  // namespace

bool AnalysedClip::isPartlyHidden() const {
    const Rational from = FCPXMLTime::time(element, "start");
    return visible != HalfOpenRange{from, from + FCPXMLTime::time(element, "duration")};
}

Rational AnalysedClip::mediaTime(Rational t, const TimeMap* map) const {
    if (map) {
        return map->interpolate(t);
    }
    if (conformScale == Rational::one()) {
        return t;
    }
    const Rational from = start ? Rational::fromFCPXML(*start).value_or(Rational::zero()) : Rational::zero();
    return from + (t - from) * conformScale;
}

std::vector<AnalysedClip> collectAnalysedClips(const XmlDocument& document, const ResourceIndex& resources) {
    const XmlElement root = document.root();
    return root ? MediaUseWalk(resources).run(root) : std::vector<AnalysedClip>{};
}

std::optional<Rational> conformFrameRate(const std::string& text) {
    double rate = 0;
    const auto [end, status] = std::from_chars(text.data(), text.data() + text.size(), rate);
    if (status != std::errc() || end != text.data() + text.size() || !(rate > 0) || rate > 1000) {
        return std::nullopt;
    }
    const auto whole = static_cast<std::int64_t>(std::llround(rate));
    if (std::abs(rate - static_cast<double>(whole)) < 1e-6) {
        return Rational(whole);
    }
    // Drop-frame family rates are written rounded: 23.98, 29.97, 59.94 mean n × 1000/1001.
    if (std::abs(rate - static_cast<double>(whole) * 1000.0 / 1001.0) < 0.006) {
        return Rational(whole * 1000, 1001);
    }
    return std::nullopt;
}

}  // namespace tidyreel
