#include "archive/tasks/clip_trimming_export_task.h"

#include "archive/media/archive_bundle.h"
#include "archive/media/bundled_asset_registry.h"
#include "archive/media/media_copy.h"
#include "archive/media/media_probe.h"
#include "archive/media/segment_trimming.h"
#include "archive/planning/archive_planning.h"
#include "archive/planning/timing_rewrite.h"
#include "base/language.h"

#include <fmt/format.h>

namespace tidyreel {
namespace {

std::map<std::string, TrimmedAsset> trimAll(const std::map<std::string, TrimPlan>& plans,
                                            ArchiveExportContext& context) {
    context.log(LogEntryType::info, localized("Trimme Video...", "Trimming video..."));
    const std::string progressText = localized("Trimme Video", "Trimming video");
    std::map<std::string, TrimmedAsset> trimmed;
    int index = 0;
    for (const auto& [id, plan] : plans) {
        context.reportProgress(index, static_cast<int>(plans.size()), progressText);
        if (std::optional<TrimmedMedia> media =
                trimPlannedAsset(plan, context, index, static_cast<int>(plans.size()))) {
            trimmed.emplace(id, TrimmedAsset{plan, media->file, std::move(media->drifts)});
        }
        ++index;
    }
    return trimmed;
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
    const ArchivePlanning planning = planArchive(context);
    std::set<std::string> planned;
    for (const auto& [id, plan] : planning.plans) {
        planned.insert(id);
    }
    prepareArchiveFolder(context);
    const int unavailable = bypassCopyPhase(context, planned);
    if (planning.nothingUsed) {
        logClosingLine(context, unavailable);
        return;
    }
    if (planning.plans.empty()) {
        context.log(LogEntryType::info, "Keine Assets müssen geschnitten werden");
        return;
    }
    const std::map<std::string, TrimmedAsset> trimmed = trimAll(planning.plans, context);
    if (!trimmed.empty()) {
        context.log(LogEntryType::info, "Aktualisiere FCPXML-Zeitattribute (ffprobe)...");
        rewriteTiming(trimmed, *context.xmlDocument, context, [&](const std::filesystem::path& file) {
            return FFProbe::probeDuration(file, context.tools);
        });
    }
    logClosingLine(context, unavailable);
}

}  // namespace tidyreel
