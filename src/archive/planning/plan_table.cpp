#include "archive/planning/plan_table.h"

#include "base/language.h"

#include <fmt/format.h>

#include <filesystem>

namespace tidyreel {
namespace {

std::string decisionText(const AssetDecision& decision, const CutMethods& methods) {
    if (decision.plan) {
        const std::size_t count = decision.plan->segments.size();
        const auto method = methods.find(decision.assetID);
        return fmt::format("{} {} {}{}", localized("schneiden:", "trim:"), count,
                           count == 1 ? localized("Segment", "segment") : localized("Segmente", "segments"),
                           method == methods.end() ? "" : ", " + cutMethodText(method->second));
    }
    return localized("ganz kopieren: ", "copy whole: ") + skipReasonText(decision.reason);
}

std::string seconds(double value) {
    return fmt::format("{:.3f}", value);
}

std::string row(const std::string& asset, const std::string& file, const std::string& decision,
                const std::string& used, const std::string& kept, const std::string& saved) {
    return fmt::format("{:<10} {:<32} {:<48} {:>12} {:>12} {:>12}\n", asset, file, decision, used, kept,
                       saved);
}

}  // namespace

std::string skipReasonText(SkipReason reason) {
    switch (reason) {
        case SkipReason::none:
            return "";
        case SkipReason::notInResources:
            return localized("kein Asset in <resources>", "no asset in <resources>");
        case SkipReason::notTrimmableType:
            return localized("kein schneidbares Format", "not a trimmable format");
        case SkipReason::speedRamp:
            return localized("Speed-Ramp", "speed ramp");
        case SkipReason::jlCut:
            return localized("J/L-Cut an Transition", "J/L cut at a transition");
        case SkipReason::outsideDuration:
            return localized("Bereich außerhalb der Dauer", "range outside the duration");
        case SkipReason::unreadableTimes:
            return localized("unlesbare Zeitwerte", "unreadable times");
        case SkipReason::unfollowable:
            return localized("Nutzung nicht nachvollziehbar", "use not followable");
        case SkipReason::shorterThanMinSegment:
            return localized("kürzer als minSegment", "shorter than the minimum segment");
        case SkipReason::noSegments:
            return localized("keine Segmente", "no segments");
        case SkipReason::noSaving:
            return localized("keine nennenswerte Einsparung", "no worthwhile saving");
        case SkipReason::notUsed:
            break;
    }
    return localized("nicht in der Timeline genutzt", "not used in the timeline");
}

std::string sourceStateText(SourceState state) {
    switch (state) {
        case SourceState::missing:
            return localized("fehlt", "missing");
        case SourceState::notRegularFile:
            return localized("keine reguläre Datei (Ordner, Gerät oder FIFO)",
                             "not a regular file (folder, device or FIFO)");
        case SourceState::available:
        case SourceState::unreadable:
            break;
    }
    return localized("nicht lesbar", "unreadable");
}

std::string cutMethodText(CutMethod method) {
    return method == CutMethod::streamCopy ? localized("Stream-Copy", "stream-copied")
                                           : localized("Re-Encode", "re-encoded");
}

std::string formatPlanTable(const ArchivePlanning& planning, const CutMethods& methods) {
    std::string table = row("Asset", localized("Datei", "File"), localized("Entscheidung", "Decision"),
                            localized("genutzt s", "used s"), localized("behalten s", "kept s"),
                            localized("gespart s", "saved s"));
    // Totals in double precision: a report must not fail on the sums of absurd durations.
    double used = 0, kept = 0, duration = 0;
    for (const AssetDecision& decision : planning.decisions) {
        std::string file =
            decision.path.empty() ? "?" : std::filesystem::path(decision.path).filename().string();
        if (decision.source != SourceState::available) {
            file = "⚠️ " + sourceStateText(decision.source) + ": " + file;
        }
        const double assetKept = decision.kept.doubleValue();
        const double assetDuration = decision.duration.doubleValue();
        table +=
            row(decision.assetID, file, decisionText(decision, methods), seconds(decision.used.doubleValue()),
                seconds(assetKept), seconds(assetDuration - assetKept));
        used += decision.used.doubleValue();
        kept += assetKept;
        duration += assetDuration;
    }
    const double percent = duration > 0 ? (duration - kept) / duration * 100 : 0.0;
    table += row(localized("Summe", "Total"), "",
                 fmt::format("{:.1f}% {}", percent, localized("gespart", "saved")), seconds(used),
                 seconds(kept), seconds(duration - kept));
    return table;
}

}  // namespace tidyreel
