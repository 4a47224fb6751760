#include "archive/planning/segment_planning.h"

#include "base/file_names.h"
#include "base/text.h"

#include "time/decimal_text.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>
#include <filesystem>

namespace tidyreel {
namespace {

constexpr double kMinimumBuffer = 5.0;
// Neighbouring segments closer than this are joined: a cut needs a keyframe before it anyway.
const Rational kGopSlack(15);
const Rational kMinimumSaving(1);
constexpr std::array<std::string_view, 3> kTrimmableExtensions = {"m4v", "mov", "mp4"};

// Whole seconds of a setting, truncated toward zero; absurd values are held far inside 64 bits.
Rational wholeSeconds(double seconds) {
    constexpr double kLimit = 1e15;
    if (std::isnan(seconds)) {
        return Rational::zero();
    }
    return Rational(static_cast<std::int64_t>(std::trunc(std::clamp(seconds, -kLimit, kLimit))));
}

bool isTrimmable(const std::string& extension) {
    return std::find(kTrimmableExtensions.begin(), kTrimmableExtensions.end(), extension) !=
           kTrimmableExtensions.end();
}

std::string rangeText(const HalfOpenRange& range) {
    return fmt::format("{}..{} ({}..{})", range.start.toFCPXML(), range.end.toFCPXML(),
                       shortestDecimal(range.start.doubleValue()), shortestDecimal(range.end.doubleValue()));
}

std::string rolesText(const std::string& assetID, const PlanningFacts& facts) {
    const auto roles = facts.roles.find(assetID);
    if (roles == facts.roles.end() || roles->second.empty()) {
        return "—";
    }
    return fmt::format("{}", fmt::join(roles->second, ", "));
}

// Logs the retiming verdict; false when the retiming forbids trimming.
bool retimingAllowsTrim(const std::string& assetID, const PlanningFacts& facts, const Logger& logger) {
    const auto status = facts.statuses.find(assetID);
    if (status == facts.statuses.end()) {
        return true;
    }
    switch (status->second.kind) {
        case TimeMapStatus::Case::linearConsistent: {
            const Rational factor = status->second.factor;
            logger(LogEntryType::info,
                   fmt::format(
                       "  → Asset {}: lineares Speed-Adjustment, Faktor={} ({}) — Trim mit Faktor-Korrektur",
                       assetID, factor.toFCPXML(), shortestDecimal(factor.doubleValue())));
            return true;
        }
        case TimeMapStatus::Case::linearMixed:
            logger(LogEntryType::info,
                   fmt::format(
                       "  → Asset {}: mehrere lineare Speed-Faktoren — Trim mit Faktor-Korrektur pro Clip",
                       assetID));
            return true;
        case TimeMapStatus::Case::noTimeMap:
            return true;
        case TimeMapStatus::Case::nonLinearRamp:
            break;
    }
    logger(LogEntryType::info,
           fmt::format("  ⚠️ Asset {} hat echte Speed-Ramp (≥3 Punkte oder verschobener Nullpunkt) → "
                       "übersprungen, nur kopiert",
                       assetID));
    return false;
}

// The used ranges counted from the media's timecode origin, which is where the file's own time starts.
std::vector<HalfOpenRange> rangesSinceOrigin(const std::vector<HalfOpenRange>& ranges, Rational origin) {
    std::vector<HalfOpenRange> relative;
    relative.reserve(ranges.size());
    for (const HalfOpenRange& range : ranges) {
        relative.push_back(origin.isZero() ? range : HalfOpenRange{range.start - origin, range.end - origin});
    }
    return relative;
}

// Length of the union of the ranges inside the media.
Rational usedLength(const std::vector<HalfOpenRange>& ranges, Rational duration) {
    Rational used;
    for (const HalfOpenRange& segment : IntervalMerger::merge(ranges, duration, 0, 0, 0)) {
        used = used + std::max(segment.length(), Rational::zero());
    }
    return used;
}

bool allInside(const std::vector<HalfOpenRange>& ranges, Rational duration) {
    return std::all_of(ranges.begin(), ranges.end(), [&](const HalfOpenRange& range) {
        return range.start >= Rational::zero() && range.end <= duration && range.end > range.start;
    });
}

// Starts move down and ends move up to the frame grid, so no used frame is lost.
std::vector<HalfOpenRange> snappedOutward(const std::vector<HalfOpenRange>& merged,
                                          const std::optional<Rational>& frame, const Logger& logger) {
    if (!frame) {
        logger(LogEntryType::info,
               "       Frame-Grid-Snap: frameDuration nicht ermittelbar, Segmente unverändert");
        return merged;
    }
    std::vector<HalfOpenRange> snapped;
    for (const HalfOpenRange& segment : merged) {
        snapped.push_back(
            {segment.start.snappedToFrameGridFloor(*frame), segment.end.snappedToFrameGridCeiling(*frame)});
    }
    logger(LogEntryType::info, snapped == merged
                                   ? "       Frame-Grid-Snap: Alle Segmente bereits frame-aligned"
                                   : "       Frame-Grid-Snap aktiv (Details beim Trim)");
    return snapped;
}

void logIntervals(const std::string& assetID, const std::string& extension, Rational duration,
                  const std::vector<HalfOpenRange>& ranges, Rational origin, const Logger& logger) {
    if (!origin.isZero()) {
        logger(LogEntryType::info, fmt::format("  → Asset {}: Timecode-Ursprung {} — Bereiche relativ dazu",
                                               assetID, origin.toFCPXML()));
    }
    logger(LogEntryType::info,
           fmt::format("  → Asset {} [.{}]: assetDuration={} ({}s), {} intervals", assetID, extension,
                       duration.toFCPXML(), shortestDecimal(duration.doubleValue()), ranges.size()));
    for (std::size_t i = 0; i < ranges.size(); ++i) {
        logger(LogEntryType::info, fmt::format("       [{}] {}", i, rangeText(ranges[i])));
    }
}

// Steps after the facts are known: bounds, merge, snap and the saving rule. Sets `decision.reason`
// (and the plan when the asset is trimmed).
void planSegments(AssetDecision& decision, const AssetInfo& info, const std::string& extension,
                  const AssetUsage& usage, const PlanningFacts& facts, const Logger& logger) {
    const std::string& id = decision.assetID;
    const Rational duration = info.duration;
    const std::vector<HalfOpenRange> ranges = rangesSinceOrigin(usage.ranges, info.start);
    if (!allInside(ranges, duration)) {
        logger(LogEntryType::info,
               fmt::format("  ⚠️ Asset {}: Intervall liegt außerhalb assetDuration={} "
                           "(kaputtes/offline FCPXML?) → übersprungen, nur kopiert",
                           id, duration.toFCPXML()));
        decision.reason = SkipReason::outsideDuration;
        return;
    }
    if (duration < facts.settings.minimumLength) {
        logger(LogEntryType::info,
               fmt::format("  → Asset {}: Originallänge {} < minSegment {} → übersprungen", id,
                           duration.toFCPXML(), facts.settings.minimumLength.toFCPXML()));
        decision.reason = SkipReason::shorterThanMinSegment;
        return;
    }
    logIntervals(id, extension, duration, ranges, info.start, logger);
    const Rational handle = facts.settings.handle;
    const std::vector<HalfOpenRange> merged =
        IntervalMerger::merge(ranges, duration, handle, handle, kGopSlack);
    for (std::size_t i = 0; i < merged.size(); ++i) {
        logger(LogEntryType::info, fmt::format("       merged[{}] {}", i, rangeText(merged[i])));
    }
    const std::optional<Rational> frame = frameDuration(id, facts.resources);
    std::vector<HalfOpenRange> segments = snappedOutward(merged, frame, logger);
    if (segments.empty()) {
        decision.reason = SkipReason::noSegments;
        return;
    }
    const Rational kept = totalLength(segments);
    const Rational saving = duration - kept;
    if (saving < kMinimumSaving) {
        logger(LogEntryType::info,
               fmt::format("  → Asset {}: keine nennenswerte Einsparung ({}) → übersprungen", id,
                           saving.toFCPXML()));
        decision.reason = SkipReason::noSaving;
        return;
    }
    logger(LogEntryType::info,
           fmt::format("  → Asset {}: {} Segment(e), Einsparung: {} ({:.1f}%){}", id, segments.size(),
                       saving.toFCPXML(), saving.doubleValue() / duration.doubleValue() * 100.0,
                       info.hasAudio ? "" : " [Video-only]"));
    decision.reason = SkipReason::none;
    decision.kept = kept;
    decision.plan = TrimPlan{id,       info.path,     info.originalSrc,
                             duration, info.hasAudio, std::move(segments),
                             merged,   info.start,    frame};
}

// Everything from the media type to the segments; sets `decision.reason`.
void planKnownAsset(AssetDecision& decision, const AssetInfo& info, const AssetUsage& usage,
                    const PlanningFacts& facts, const Logger& logger) {
    const std::string& id = decision.assetID;
    const std::string extension =
        lowercased(fileNameExtension(std::filesystem::path(info.path).filename().string()));
    if (!isTrimmable(extension)) {
        decision.reason = SkipReason::notTrimmableType;
        return;
    }
    logger(LogEntryType::info, fmt::format("  → Asset {} [.{}]: Rollen=[{}] → Trim-Kandidat", id, extension,
                                           rolesText(id, facts)));
    if (!retimingAllowsTrim(id, facts, logger)) {
        decision.reason = SkipReason::speedRamp;
        return;
    }
    if (facts.jlCutAssets.contains(id)) {
        logger(LogEntryType::info,
               fmt::format(
                   "  ⚠️ Asset {} hat J/L-Cut mit angrenzender Transition → übersprungen, nur kopiert "
                   "(FCP-Import-Klemmung der Audio-Wanne)",
                   id));
        decision.reason = SkipReason::jlCut;
        return;
    }
    if (!usage.unfollowable.empty()) {
        logger(LogEntryType::warning,
               fmt::format(
                   "  ⚠️ Asset {}: Nutzung nicht nachvollziehbar ({}) → übersprungen, nur kopiert", id,
                   usage.unfollowable));
        decision.reason = SkipReason::unfollowable;
        return;
    }
    if (usage.hasUnreadableTimes) {
        logger(
            LogEntryType::warning,
            fmt::format("  ⚠️ Asset {}: unlesbare Zeitwerte in einem Clip → übersprungen, nur kopiert",
                        id));
        decision.reason = SkipReason::unreadableTimes;
        return;
    }
    planSegments(decision, info, extension, usage, facts, logger);
}

}  // namespace

PlanningSettings preparePlanningSettings(double buffer, double minSegment, const Logger& logger) {
    PlanningSettings settings;
    settings.buffer = std::max(kMinimumBuffer, buffer);
    settings.minSegment = minSegment;
    if (settings.buffer > buffer) {
        logger(LogEntryType::info,
               fmt::format("ℹ️ Puffer von {}s auf Minimum {}s angehoben (Keyframe-Schutz)",
                           shortestDecimal(buffer), shortestDecimal(settings.buffer)));
    }
    settings.handle = wholeSeconds(settings.buffer);
    settings.minimumLength = wholeSeconds(minSegment);
    return settings;
}

AssetDecision planAsset(const std::string& assetID, const AssetUsage& usage, const PlanningFacts& facts,
                        const Logger& logger) {
    AssetDecision decision;
    decision.assetID = assetID;
    const std::optional<AssetInfo> info = lookupAssetInfo(assetID, facts.resources);
    if (!info) {
        logger(LogEntryType::warning, fmt::format("⚠️ Asset {} nicht in <resources> gefunden", assetID));
        decision.reason = SkipReason::notInResources;
        return decision;
    }
    decision.path = info->path;
    decision.duration = info->duration;
    decision.kept = info->duration;
    // Times far beyond any real media make the bounded arithmetic give up; such an asset stays whole.
    try {
        decision.used = usedLength(rangesSinceOrigin(usage.ranges, info->start), info->duration);
        planKnownAsset(decision, *info, usage, facts, logger);
    } catch (const std::exception& error) {
        logger(
            LogEntryType::warning,
            fmt::format("  ⚠️ Asset {}: Zeitwerte nicht berechenbar ({}) → übersprungen, nur kopiert",
                        assetID, error.what()));
        decision.reason = SkipReason::unreadableTimes;
        decision.plan.reset();
        decision.kept = info->duration;
    }
    return decision;
}

}  // namespace tidyreel
