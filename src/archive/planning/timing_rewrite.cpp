#include "archive/planning/timing_rewrite.h"

#include "archive/planning/clip_usage_analysis.h"
#include "archive/planning/speed_maps.h"
#include "base/language.h"
#include "fcpxml/fcpxml_time.h"
#include "fcpxml/resource_index.h"
#include "time/decimal_text.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

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
    const std::vector<Segment>& segments = asset.plan.segments;
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

void shiftLaneChildren(XmlElement clip, Rational delta, const ExportContext& context) {
    for (XmlElement child : clip.children()) {
        const std::optional<std::string> lane = child.attribute("lane");
        const auto offset = Rational::fromFCPXML(child.attribute("offset").value_or(""));
        if (!lane || !offset) {
            continue;
        }
        const Rational moved = *offset + delta;
        child.setAttribute("offset", moved.toFCPXML());
        context.log(
            LogEntryType::info,
            fmt::format("       ↳ Lane-Kind <{} lane={} name='{}'>: offset {} → {}", child.name(), *lane,
                        child.attribute("name").value_or(""), offset->toFCPXML(), moved.toFCPXML()));
    }
}

void rewriteChapterMarkers(XmlElement clip, const std::function<std::optional<Rational>(Rational)>& map,
                           const ExportContext& context) {
    for (XmlElement marker : clip.children()) {
        if (marker.name() != "chapter-marker") {
            continue;
        }
        const Rational start = FCPXMLTime::time(marker, "start");
        if (const std::optional<Rational> moved = map(start)) {
            marker.setAttribute("start", moved->toFCPXML());
        } else {
            context.log(
                LogEntryType::info,
                fmt::format("  ⚠ chapter-marker @ {} liegt außerhalb aller Segmente — unverändert gelassen",
                            start.toFCPXML()));
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

void rewriteClip(XmlElement clip, const AssetRewrite& rewrite, const ExportContext& context) {
    const std::string& id = rewrite.asset.plan.assetID;
    const std::optional<LinearSpeedMap> linear = FCPXMLTime::linearSpeedMap(clip);
    // A linearly retimed clip counts in its own time: into media time, moved, and back.
    const auto map = [&](Rational t) -> std::optional<Rational> {
        if (!linear) {
            return rewrite.mediaTime(t);
        }
        const std::optional<Rational> moved = rewrite.mediaTime(t * linear->factor);
        return moved ? std::optional<Rational>(*moved / linear->factor) : std::nullopt;
    };
    const Rational start = FCPXMLTime::time(clip, "start");
    const std::optional<Rational> newStart = map(start);
    if (!newStart) {
        context.log(
            LogEntryType::error,
            fmt::format("  ✗ {} asset-clip @ {}: liegt außerhalb aller Segmente — FCP wird diesen Clip nicht "
                        "auflösen können!",
                        id, start.toFCPXML()));
        return;
    }
    clip.setAttribute("start", newStart->toFCPXML());
    shiftLaneChildren(clip, *newStart - start, context);
    if (const auto audioStart = Rational::fromFCPXML(clip.attribute("audioStart").value_or(""))) {
        if (const std::optional<Rational> moved = map(*audioStart)) {
            clip.setAttribute("audioStart", moved->toFCPXML());
            context.log(LogEntryType::info, fmt::format("  → {} asset-clip: audioStart {} → {}", id,
                                                        audioStart->toFCPXML(), moved->toFCPXML()));
        } else {
            context.log(
                LogEntryType::info,
                fmt::format("  ⚠ {} audioStart @ {} liegt außerhalb aller Segmente — unverändert gelassen",
                            id, audioStart->toFCPXML()));
        }
    }
    rewriteChapterMarkers(clip, map, context);
    if (linear) {
        rewriteLinearTimeMap(clip, id, linear->factor, rewrite.newDuration, context);
    }
    context.log(LogEntryType::info,
                fmt::format("  → {} asset-clip: start {} → {}", id, start.toFCPXML(), newStart->toFCPXML()));
}

}  // namespace

std::optional<Rational> remap(Rational t, const std::vector<Segment>& segments,
                              const std::vector<Rational>& drifts,
                              const std::optional<Rational>& frameDuration) {
    Rational offset;
    Rational driftSum;
    for (std::size_t i = 0; i < segments.size(); ++i) {
        const Segment& segment = segments[i];
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
    std::map<std::string, std::vector<XmlElement>> clipsByAsset;
    for (const AnalysedClip& clip : collectAnalysedClips(document.root())) {
        if (trimmed.contains(clip.ref)) {
            clipsByAsset[clip.ref].push_back(clip.element);
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
        for (XmlElement clip : clipsByAsset[id]) {
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
