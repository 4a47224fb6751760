#include "archive/tasks/clip_trimming_export_task.h"

#include "archive/media/archive_bundle.h"
#include "archive/media/bundled_asset_registry.h"
#include "archive/media/media_copy.h"
#include "archive/media/media_probe.h"
#include "archive/media/segment_trimming.h"
#include "archive/planning/archive_planning.h"
#include "archive/planning/plan_table.h"
#include "archive/planning/timing_rewrite.h"
#include "base/error.h"
#include "base/error_codes.h"
#include "base/language.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

namespace tidyreel {
namespace {

std::map<std::string, TrimmedAsset> trimAll(const std::map<std::string, TrimPlan>& plans,
                                            ArchiveExportContext& context) {
    context.log(LogEntryType::info, localized("Trimme Video...", "Trimming video..."));
    std::map<std::string, TrimmedAsset> trimmed;
    int index = 0;
    for (const auto& [id, plan] : plans) {
        if (std::optional<TrimmedMedia> media =
                trimPlannedAsset(plan, context, index, static_cast<int>(plans.size()))) {
            // The rewrite maps times through the ranges the file really holds.
            TrimPlan held = plan;
            held.segments = std::move(media->segments);
            trimmed.emplace(id, TrimmedAsset{std::move(held), media->file, std::move(media->drifts)});
        }
        ++index;
    }
    return trimmed;
}

// The ids of the sources the run leaves out; throws when any is missing and the editor did not allow it.
std::set<std::string> acceptOfflineSources(const ArchivePlanning& planning,
                                           const ArchiveExportContext& context) {
    const std::vector<const AssetDecision*> unavailable = unavailableSources(planning);
    std::set<std::string> ids;
    for (const AssetDecision* decision : unavailable) {
        ids.insert(decision->assetID);
        context.log(context.settings.allowOffline ? LogEntryType::warning : LogEntryType::error,
                    fmt::format("  {} {} {} ({}): {}", context.settings.allowOffline ? "⚠️" : "✗",
                                localized("Quelle", "Source"), sourceStateText(decision->source),
                                decision->assetID, decision->path));
    }
    if (!ids.empty() && !context.settings.allowOffline) {
        throw Error(ProcessingError::domain, ProcessingError::incompleteArchive,
                    fmt::format("{} {} — {}", ids.size(),
                                localized("Quelle(n) nicht verfügbar, es wurde nichts geschrieben",
                                          "source(s) not available, nothing was written"),
                                localized("mit --allow-offline wird ohne sie archiviert",
                                          "--allow-offline archives without them")));
    }
    return ids;
}

// A copy or cut that left an asset outside the bundle fails the run: the editor must not put the originals
// away on the strength of it.
void failUnlessEverySourceIsInTheBundle(const ArchivePlanning& planning, const std::set<std::string>& offline,
                                        const ArchiveExportContext& context) {
    const std::map<std::string, Registration> registered = context.bundledAssets->snapshot();
    std::vector<std::string> lost;
    for (const AssetDecision& decision : planning.decisions) {
        if (!decision.path.empty() && !offline.contains(decision.assetID) &&
            !registered.contains(decision.assetID)) {
            lost.push_back(std::filesystem::path(decision.path).filename().string());
        }
    }
    if (!lost.empty()) {
        throw Error(
            ProcessingError::domain, ProcessingError::incompleteArchive,
            fmt::format("{}: {}", localized("Nicht ins Archiv übernommen", "Not put into the archive"),
                        fmt::join(lost, ", ")));
    }
}

void logClosingLine(ArchiveExportContext& context, int unavailable) {
    if (unavailable == 0) {
        context.log(LogEntryType::success, "Trim & Archivierung erfolgreich abgeschlossen");
        return;
    }
    context.bundledAssets->addOfflineAssets(unavailable);
    context.log(
        LogEntryType::info,
        fmt::format("Trim & Archivierung mit {} Quellen nicht verfügbar/offline abgeschlossen", unavailable));
}

}  // namespace

void ClipTrimmingExportTask::execute(ArchiveExportContext& context) const {
    if (!context.bundledAssets) {
        context.bundledAssets = std::make_shared<BundledAssetRegistry>();
    }
    ArchivePlanning planning = planArchive(context);
    // Checked before anything is written: a missing source fails the run unless the editor allowed it.
    const std::set<std::string> offline = acceptOfflineSources(planning, context);
    std::set<std::string> excluded = offline;
    for (const std::string& id : offline) {
        planning.plans.erase(id);
    }
    for (const auto& [id, plan] : planning.plans) {
        excluded.insert(id);
    }
    prepareArchiveFolder(context);
    bypassCopyPhase(context, excluded);
    if (!planning.nothingUsed && planning.plans.empty()) {
        context.log(LogEntryType::info, "Keine Assets müssen geschnitten werden");
    }
    if (!planning.plans.empty()) {
        const std::map<std::string, TrimmedAsset> trimmed = trimAll(planning.plans, context);
        if (!trimmed.empty()) {
            context.log(LogEntryType::info, "Aktualisiere FCPXML-Zeitattribute (ffprobe)...");
            rewriteTiming(trimmed, *context.xmlDocument, context, [&](const std::filesystem::path& file) {
                return FFProbe::probeDuration(file, probeSetupOf(context));
            });
        }
    }
    failUnlessEverySourceIsInTheBundle(planning, offline, context);
    logClosingLine(context, static_cast<int>(offline.size()));
}

}  // namespace tidyreel
