#include "archive/planning/timing_rewrite.h"

#include "archive/planning/clip_usage_analysis.h"
#include "archive/planning/speed_maps.h"
#include "base/language.h"
#include "fcpxml/fcpxml_time.h"
#include "fcpxml/resource_index.h"
#include "time/decimal_text.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <functional>

namespace tidyreel {
namespace {

// One asset's facts for rewriting its clips.
struct AssetRewrite {
    const TrimmedAsset& asset;
    std::vector<Rational> drifts;
    Rational newDuration;
    std::optional<Rational> frameDuration;

    // Media time (with the timecode origin) → time in the trimmed file (with the same origin).
    std::optional<Rational> mediaTime(Rational t) const {
        const Rational origin = asset.plan.origin;
        const std::optional<Rational> moved = remap(t - origin, asset.plan.segments, drifts, frameDuration);
        return moved ? std::optional<Rational>(origin + *moved) : std::nullopt;
    }

    // The kept segment that holds media time `t`, in media time; none when `t` was cut away.
    std::optional<HalfOpenRange> keptSegment(Rational t) const {
        const Rational origin = asset.plan.origin;
        for (const HalfOpenRange& segment : asset.plan.segments) {
            if (segment.start <= t - origin && t - origin <= segment.end) {
                return HalfOpenRange{origin + segment.start, origin + segment.end};
            }
        }
        return std::nullopt;
    }
};

// Where a clip's markers may stay after the rewrite: on media kept with the clip, else on the clip itself.
struct MarkerPlacement {
    std::function<bool(Rational)>
        showsKeptMedia;   ///< whether a local time (before the move) shows kept media
    HalfOpenRange shown;  ///< the clip's visible window after the move
    Rational lastFrame;   ///< the start of the clip's last frame after the move
};

Rational probedOrNominalDuration(const TrimmedAsset& asset, const ExportContext& context,
                                 const DurationProbe& probeDuration) {
    const std::string& id = asset.plan.assetID;
    const Rational nominal = totalLength(asset.plan.segments);
    try {
        const Rational probed = probeDuration(asset.file);
        context.log(LogEntryType::info, fmt::format("  → {}: ffprobe Dauer = {}", id, probed.toFCPXML()));
        return probed;
    } catch (const std::exception& error) {
        context.log(LogEntryType::error,
                    fmt::format("  → {}: ffprobe fehlgeschlagen ({}), nutze nominale Dauer {}", id,
                                error.what(), nominal.toFCPXML()));
        return nominal;
    }
}

std::vector<Rational> driftsOf(const TrimmedAsset& asset, Rational newDuration,
                               const ExportContext& context) {
    const std::string& id = asset.plan.assetID;
    const std::vector<HalfOpenRange>& segments = asset.plan.segments;
    if (segments.size() == 1) {
        const Rational drift = newDuration - segments.front().length();
        if (drift > Rational::zero()) {
            context.log(LogEntryType::info,
                        fmt::format("  → {}: Keyframe-Snap-Drift = {} ({}s) — start-Werte werden korrigiert",
                                    id, drift.toFCPXML(), shortestDecimal(drift.doubleValue())));
        }
        return {drift};
    }
    Rational total;
    std::vector<std::string> entries;
    for (std::size_t i = 0; i < asset.drifts.size(); ++i) {
        total = total + asset.drifts[i];
        entries.push_back(fmt::format("Seg{}={}", i + 1, asset.drifts[i].toFCPXML()));
    }
    if (total > Rational::zero()) {
        context.log(
            LogEntryType::info,
            fmt::format("  → {}: Multi-Segment-Drifts ({}), Gesamt={} — start-Werte werden segmentweise "
                        "korrigiert",
                        id, fmt::join(entries, ", "), total.toFCPXML()));
    }
    return asset.drifts;
}

void rewriteAssetDuration(const std::string& id, Rational newDuration, const ResourceIndex& resources) {
    const std::string text = newDuration.toFCPXML();
    for (XmlElement asset : resources.assets(id)) {
        asset.setAttribute("duration", text);
        for (XmlElement rep : asset.children()) {
            if (rep.name() == "media-rep" && rep.hasAttribute("duration")) {
                rep.setAttribute("duration", text);
            }
        }
    }
}

void logFrameGrid(const std::string& id, const std::optional<Rational>& frame, const ExportContext& context) {
    if (frame) {
        context.log(LogEntryType::info,
                    fmt::format("  → {}: Source-Frame-Grid {} ({}s/Frame) — start-Snap aktiv", id,
                                frame->toFCPXML(), shortestDecimal(frame->doubleValue())));
    } else {
        context.log(LogEntryType::info,
                    fmt::format("  → {}: Source-Frame-Grid nicht ermittelbar — start-Snap deaktiviert", id));
    }
}

bool isMarkerLike(std::string_view name) {
    return name == "marker" || name == "chapter-marker" || name == "keyword" || name == "rating" ||
           name == "analysis-marker";
}

void shiftTime(XmlElement element, const char* attribute, Rational delta) {
    if (const auto time = Rational::fromFCPXML(element.attribute(attribute).value_or(""))) {
        element.setAttribute(attribute, (*time + delta).toFCPXML());
    }
}

// A marker moves with its clip. One on media the archive cut away would point at nothing (or before the
// file's start); it is kept on the clip instead, at its first or last frame, and the log says so.
void placeMarker(XmlElement marker, Rational delta, const MarkerPlacement& placement,
                 const ExportContext& context) {
    const std::optional<Rational> time = Rational::fromFCPXML(marker.attribute("start").value_or(""));
    if (!time) {
        return;
    }
    Rational moved = *time + delta;
    if (!placement.showsKeptMedia(*time)) {
        moved = moved < placement.shown.start ? placement.shown.start : placement.lastFrame;
        context.log(LogEntryType::warning,
                    fmt::format("       ↳ <{} value='{}'> @ {}: {} {}", marker.name(),
                                marker.attribute("value").value_or(""), time->toFCPXML(),
                                localized("lag auf weggeschnittenen Medien → an den Clip gesetzt:",
                                          "lay on media cut away → kept on the clip at"),
                                moved.toFCPXML()));
    }
    marker.setAttribute("start", moved.toFCPXML());
}

// Everything a clip positions in its own local time moves with it: connected clips (their offset),
// markers, keywords and ratings (their start) and the keyframes of its effects and adjustments.
void shiftLocalChildren(XmlElement clip, Rational delta, const MarkerPlacement& markers,
                        const ExportContext& context) {
    for (XmlElement child : clip.children()) {
        const std::string name(child.name());
        if (const auto offset = Rational::fromFCPXML(child.attribute("offset").value_or(""))) {
            const Rational moved = *offset + delta;
            child.setAttribute("offset", moved.toFCPXML());
            context.log(
                LogEntryType::info,
                fmt::format("       ↳ Lane-Kind <{} lane={} name='{}'>: offset {} → {}", name,
                            child.attribute("lane").value_or("0"), child.attribute("name").value_or(""),
                            offset->toFCPXML(), moved.toFCPXML()));
        } else if (isMarkerLike(name)) {
            placeMarker(child, delta, markers, context);
        } else if (name.starts_with("filter-") || name.starts_with("adjust-")) {
            forEachElement(child, [&](XmlElement inner) {
                if (inner.name() == "keyframe") {
                    shiftTime(inner, "time", delta);
                }
            });
        }
    }
}

void rewriteLinearTimeMap(XmlElement clip, const std::string& id, Rational factor, Rational newDuration,
                          const ExportContext& context) {
    XmlElement map = clip.firstChild("timeMap");
    map.removeChildren("timept");
    const Rational timelineEnd = newDuration / factor;
    for (const auto& [time, value] :
         {std::pair{Rational::zero(), Rational::zero()}, std::pair{timelineEnd, newDuration}}) {
        XmlElement point = map.appendChild("timept");
        point.setAttribute("time", time.toFCPXML());
        point.setAttribute("value", value.toFCPXML());
        point.setAttribute("interp", "smooth2");
    }
    context.log(LogEntryType::info,
                fmt::format("  → {} asset-clip: TimeMap neu geschrieben (Source 0..{}, Timeline 0..{})", id,
                            newDuration.toFCPXML(), timelineEnd.toFCPXML()));
}

// A clip partly hidden by its container (a `video` inside a `clip`) keeps only what it shows, which lies
// inside one kept segment.
Rational narrowToVisible(const AnalysedClip& clip, Rational start) {
    XmlElement element = clip.element;
    const Rational hiddenBefore = clip.visible.start - start;
    element.setAttribute("offset", (FCPXMLTime::time(element, "offset") + hiddenBefore).toFCPXML());
    element.setAttribute("duration", clip.visible.length().toFCPXML());
    return clip.visible.start;
}

void rewriteClip(const AnalysedClip& clip, const AssetRewrite& rewrite, const ExportContext& context) {
    const std::string& id = rewrite.asset.plan.assetID;
    XmlElement element = clip.element;
    const std::optional<LinearSpeedMap> linear = FCPXMLTime::linearSpeedMap(element);
    const std::optional<TimeMap> map = FCPXMLTime::buildTimeMap(element);
    const Rational start = FCPXMLTime::time(element, "start");
    const Rational shownFrom = clip.mediaTime(clip.visible.start, map ? &*map : nullptr);
    const std::optional<Rational> movedFrom = rewrite.mediaTime(shownFrom);
    if (!movedFrom) {
        context.log(LogEntryType::error,
                    fmt::format("  ✗ {} {} @ {}: liegt außerhalb aller Segmente — FCP wird diesen Clip nicht "
                                "auflösen können!",
                                id, element.name(), start.toFCPXML()));
        return;
    }
    // Every local time of the clip moves by the same amount; a retimed clip counts local time at its speed.
    const Rational delta = (*movedFrom - shownFrom) / (linear ? linear->factor : Rational::one());
    const Rational newStart = (clip.isPartlyHidden() ? narrowToVisible(clip, start) : start) + delta;
    element.setAttribute("start", newStart.toFCPXML());
    const std::optional<HalfOpenRange> kept = rewrite.keptSegment(shownFrom);
    const HalfOpenRange shown{newStart, newStart + clip.visible.length()};
    const Rational frame = rewrite.frameDuration.value_or(Rational::zero());
    const MarkerPlacement markers{[&](Rational t) {
                                      const Rational media = clip.mediaTime(t, map ? &*map : nullptr);
                                      return kept && kept->start <= media && media <= kept->end;
                                  },
                                  shown, std::max(shown.start, shown.end - frame)};
    shiftLocalChildren(element, delta, markers, context);
    if (const auto audioStart = Rational::fromFCPXML(element.attribute("audioStart").value_or(""))) {
        element.setAttribute("audioStart", (*audioStart + delta).toFCPXML());
        context.log(LogEntryType::info,
                    fmt::format("  → {} {}: audioStart {} → {}", id, element.name(), audioStart->toFCPXML(),
                                (*audioStart + delta).toFCPXML()));
    }
    if (linear) {
        rewriteLinearTimeMap(element, id, linear->factor, rewrite.newDuration, context);
    }
    context.log(LogEntryType::info, fmt::format("  → {} {}: start {} → {}", id, element.name(),
                                                start.toFCPXML(), newStart.toFCPXML()));
}

}  // namespace

std::optional<Rational> remap(Rational t, const std::vector<HalfOpenRange>& segments,
                              const std::vector<Rational>& drifts,
                              const std::optional<Rational>& frameDuration) {
    Rational offset;
    Rational driftSum;
    for (std::size_t i = 0; i < segments.size(); ++i) {
        const HalfOpenRange& segment = segments[i];
        if (segment.start <= t && t <= segment.end) {
            const Rational moved = (t - segment.start) + offset + driftSum;
            return frameDuration ? moved.snappedToFrameGrid(*frameDuration) : moved;
        }
        offset = offset + segment.length();
        driftSum = driftSum + (i < drifts.size() ? drifts[i] : Rational::zero());
    }
    return std::nullopt;
}

void rewriteTiming(const std::map<std::string, TrimmedAsset>& trimmed, XmlDocument& document,
                   const ExportContext& context, const DurationProbe& probeDuration) {
    if (!document.root()) {
        return;
    }
    const ResourceIndex resources(document);
    // One walk finds the clips of every asset; each asset then rewrites only its own clips.
    std::map<std::string, std::vector<AnalysedClip>> clipsByAsset;
    for (AnalysedClip& clip : collectAnalysedClips(document, resources)) {
        if (trimmed.contains(clip.ref)) {
            clipsByAsset[clip.ref].push_back(std::move(clip));
        }
    }
    const std::string progressText = localized("Aktualisiere Zeitattribute", "Updating time attributes");
    int index = 0;
    for (const auto& [id, asset] : trimmed) {
        context.reportProgress(index++, static_cast<int>(trimmed.size()), progressText);
        const Rational newDuration = probedOrNominalDuration(asset, context, probeDuration);
        const AssetRewrite rewrite{asset, driftsOf(asset, newDuration, context), newDuration,
                                   frameDuration(id, resources)};
        rewriteAssetDuration(id, newDuration, resources);
        logFrameGrid(id, rewrite.frameDuration, context);
        for (const AnalysedClip& clip : clipsByAsset[id]) {
            // A clip whose times cannot be computed keeps them; the rest of the project is still rewritten.
            try {
                rewriteClip(clip, rewrite, context);
            } catch (const std::exception& error) {
                context.log(
                    LogEntryType::error,
                    fmt::format("  ✗ {} asset-clip: Zeitwerte nicht berechenbar ({})", id, error.what()));
            }
        }
    }
}

}  // namespace tidyreel
