#include "archive/planning/archive_planning.h"

#include "base/language.h"
#include "fcpxml/xml.h"
#include "time/decimal_text.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <fstream>

namespace tidyreel {
namespace {

void logRunSettings(const ExportContext& context, const PlanningSettings& settings, std::size_t assetCount) {
    context.log(LogEntryType::info, fmt::format("Gefunden: {} Asset(s) mit genutzten Bereichen", assetCount));
    context.log(LogEntryType::info,
                fmt::format("Settings: buffer={}s, gopSlack=15s (hardcoded), minSegment={}s",
                            shortestDecimal(settings.buffer), shortestDecimal(settings.minSegment)));
    context.log(LogEntryType::info, "Trim-Filter (Extension): m4v, mov, mp4");
}

// The media assets no included clip uses: the bypass copy takes them whole.
void addUnusedAssets(ArchivePlanning& planning, const ResourceIndex& resources, const UsageMap& usage) {
    if (!resources.resources()) {
        return;
    }
    for (XmlElement asset : resources.resources().children()) {
        const std::optional<std::string> id = asset.attribute("id");
        const bool isMedia = asset.attribute("hasVideo") == "1" || asset.attribute("hasAudio") == "1";
        if (asset.name() != "asset" || !id || !isMedia || usage.contains(*id)) {
            continue;
        }
        AssetDecision decision;
        decision.assetID = *id;
        if (const std::optional<AssetInfo> info = lookupAssetInfo(*id, resources)) {
            decision.path = info->path;
            decision.duration = info->duration;
            decision.kept = info->duration;
        }
        planning.decisions.push_back(std::move(decision));
    }
}

void planUsedAssets(ArchivePlanning& planning, const ExportContext& context, const Logger& logger,
                    const std::vector<AnalysedClip>& clips, const UsageMap& usage,
                    const ResourceIndex& resources) {
    const PlanningSettings settings =
        preparePlanningSettings(context.settings.buffer, context.settings.minSegment, logger);
    logRunSettings(context, settings, usage.size());
    const std::map<std::string, TimeMapStatus> statuses = collectTimeMapStatuses(clips);
    const std::map<std::string, std::set<std::string>> roles = collectRolesByAsset(clips);
    const std::set<std::string> jlCutAssets = collectJLCutAssets(clips);
    const PlanningFacts facts{settings, statuses, roles, jlCutAssets, resources};
    const std::string progressText = localized("Analysiere Assets", "Analyzing assets");
    int index = 0;
    for (const auto& [assetID, assetUsage] : usage) {
        context.reportProgress(index++, static_cast<int>(usage.size()), progressText);
        AssetDecision decision = planAsset(assetID, assetUsage, facts, logger);
        if (decision.plan) {
            planning.plans.emplace(assetID, *decision.plan);
        }
        planning.decisions.push_back(std::move(decision));
    }
}

void checkSources(ArchivePlanning& planning) {
    for (AssetDecision& decision : planning.decisions) {
        if (!decision.path.empty()) {
            decision.source = sourceStateOf(decision.path);
        }
    }
}

}  // namespace

SourceState sourceStateOf(const std::filesystem::path& path) {
    std::error_code status;
    if (!std::filesystem::exists(path, status)) {
        return SourceState::missing;
    }
    // Never opened unless it is a regular file: opening a FIFO waits for a writer that may never come.
    if (!std::filesystem::is_regular_file(path, status)) {
        return SourceState::notRegularFile;
    }
    if (!std::ifstream(path, std::ios::binary)) {
        return SourceState::unreadable;
    }
    return SourceState::available;
}

std::vector<const AssetDecision*> unavailableSources(const ArchivePlanning& planning) {
    std::vector<const AssetDecision*> unavailable;
    for (const AssetDecision& decision : planning.decisions) {
        if (decision.source != SourceState::available) {
            unavailable.push_back(&decision);
        }
    }
    return unavailable;
}

ArchivePlanning planArchive(const ExportContext& context) {
    context.log(LogEntryType::info, localized("Analysiere Assets...", "Analyzing assets..."));
    if (context.settings.includedRoles.empty()) {
        context.log(LogEntryType::info, "Rollen-Filter: Keine Rollen ausgewählt — es wird nichts getrimmt");
    } else {
        context.log(LogEntryType::info, fmt::format("Rollen-Filter: Eingeschlossen = [{}]",
                                                    fmt::join(context.settings.includedRoles, ", ")));
    }
    const Logger logger = [&context](LogEntryType type, const std::string& message) {
        context.log(type, message);
    };
    resolveRelativeSources(*context.xmlDocument, context.sourceURL.parent_path());
    const ResourceIndex resources(*context.xmlDocument);
    const std::vector<AnalysedClip> clips = collectAnalysedClips(*context.xmlDocument, resources);
    const UsageMap usage = collectUsedRanges(clips, context.settings.includedRoles, logger);
    ArchivePlanning planning;
    if (usage.empty()) {
        context.log(LogEntryType::info, "Keine Assets zum Schneiden gefunden");
        planning.nothingUsed = true;
    } else {
        planUsedAssets(planning, context, logger, clips, usage, resources);
    }
    addUnusedAssets(planning, resources, usage);
    checkSources(planning);
    return planning;
}

}  // namespace tidyreel
