#include "archive/planning/plan_table.h"

#include "base/language.h"
#include "time/decimal_text.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <sstream>

namespace tidyreel {
namespace {

// The table stays inside 120 columns; what an asset row cannot hold goes on lines below it, starting
// under the file name.
constexpr std::size_t kTableWidth = 119;
constexpr std::size_t kDetailIndent = 11;

// The cut foreseen for a trimmed asset; none for an asset kept whole or one the caller did not foresee.
const PlannedCut* plannedCutOf(const AssetDecision& decision, const PlannedCuts& cuts) {
    const auto cut = cuts.find(decision.assetID);
    return decision.plan && cut != cuts.end() ? &cut->second : nullptr;
}

// What a cut keeps beyond its plan: the stream copy's widening to keyframes.
double keptBeyondPlan(const PlannedCut* cut) {
    return cut && cut->method == CutMethod::streamCopy ? cut->added.total.doubleValue() : 0.0;
}

std::string decisionText(const AssetDecision& decision, const PlannedCut* cut) {
    if (decision.plan) {
        const std::size_t count = decision.plan->segments.size();
        return fmt::format("{} {} {}{}", localized("schneiden:", "trim:"), count,
                           count == 1 ? localized("Segment", "segment") : localized("Segmente", "segments"),
                           cut ? ", " + cutMethodText(cut->method) : "");
    }
    return localized("ganz kopieren: ", "copy whole: ") + skipReasonText(decision.reason);
}

std::string seconds(double value) {
    return fmt::format("{:.3f}", value);
}

// Seconds to the millisecond in the log's shortest form ("10.0", "24.024"): a frame time of 30000/1001
// media would otherwise run to seventeen digits.
std::string millisecondText(Rational value) {
    return shortestDecimal(std::round(value.doubleValue() * 1000) / 1000);
}

std::string rangeText(const HalfOpenRange& range) {
    return millisecondText(range.start) + ".." + millisecondText(range.end);
}

// Columns on a terminal: every UTF-8 character counts one.
std::size_t columns(const std::string& text) {
    return static_cast<std::size_t>(
        std::count_if(text.begin(), text.end(), [](char byte) { return (byte & 0xC0) != 0x80; }));
}

// Lines below an asset row: `label`, then the words, wrapped so that no line leaves the table.
std::string detailLines(const std::string& label, const std::vector<std::string>& words) {
    std::string lines;
    std::string line = std::string(kDetailIndent, ' ') + "↳ " + label;
    bool wordsOnLine = false;
    for (const std::string& word : words) {
        if (wordsOnLine && columns(line) + 1 + columns(word) > kTableWidth) {
            lines += line + '\n';
            line = std::string(kDetailIndent + 1, ' ');
        }
        line += " " + word;
        wordsOnLine = true;
    }
    return lines + line + '\n';
}

// The words of `text`, split at white space, added to `words`.
void appendWords(std::vector<std::string>& words, const std::string& text) {
    std::istringstream stream(text);
    for (std::string word; stream >> word;) {
        words.push_back(word);
    }
}

// The ranges a stream copy keeps with what they add to the plan, or why the asset is re-encoded.
std::string cutDetails(const PlannedCut& cut) {
    if (cut.method == CutMethod::streamCopy) {
        std::vector<std::string> words;
        for (const HalfOpenRange& range : cut.ranges) {
            words.push_back(rangeText(range) + (&range == &cut.ranges.back() ? "" : ","));
        }
        std::vector<std::string> parts{"(+" + millisecondText(cut.added.total) + "s"};
        if (cut.added.overOpenGOPs > Rational::zero()) {
            const std::string open = millisecondText(cut.added.overOpenGOPs) + "s";
            parts.push_back(localized("davon " + open + " über offene GOPs", open + " of it over open GOPs"));
        }
        if (cut.added.toCleanStarts > Rational::zero()) {
            const std::string back = millisecondText(cut.added.toCleanStarts) + "s";
            parts.push_back(localized("davon " + back + " bis zu einem sauberen Anfang",
                                      back + " of it back to a clean start"));
        }
        for (std::size_t i = 0; i < parts.size(); ++i) {
            appendWords(words, parts[i] + (i + 1 < parts.size() ? "," : ")"));
        }
        return detailLines(localized("auf Keyframes erweitert:", "widened to keyframes:"), words);
    }
    if (!cut.reencodeReason) {
        return "";
    }
    // A tool's message may span lines; its words are wrapped like any other.
    std::vector<std::string> words;
    appendWords(words, *cut.reencodeReason);
    return detailLines(localized("kein Stream-Copy:", "no stream copy:"), words);
}

std::string row(const std::string& asset, const std::string& file, const std::string& decision,
                const std::string& used, const std::string& kept, const std::string& saved) {
    return fmt::format("{:<10} {:<30} {:<44} {:>10} {:>10} {:>10}\n", asset, file, decision, used, kept,
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

std::string formatPlanTable(const ArchivePlanning& planning, const PlannedCuts& cuts) {
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
        const PlannedCut* cut = plannedCutOf(decision, cuts);
        const double assetKept = decision.kept.doubleValue() + keptBeyondPlan(cut);
        const double assetDuration = decision.duration.doubleValue();
        table +=
            row(decision.assetID, file, decisionText(decision, cut), seconds(decision.used.doubleValue()),
                seconds(assetKept), seconds(assetDuration - assetKept));
        if (cut) {
            table += cutDetails(*cut);
        }
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
