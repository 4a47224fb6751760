#include "archive/planning/clip_usage_analysis.h"

#include "base/text.h"

#include "fcpxml/fcpxml_time.h"
#include "fcpxml/media_path.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <iostream>
#include <stdexcept>
#include <unordered_map>

namespace tidyreel {
namespace {

std::string clipName(const AnalysedClip& clip) {
    return clip.name.value_or("?");
}

std::string videoRoleText(const AnalysedClip& clip) {
    return clip.videoRole && !clip.videoRole->empty() ? *clip.videoRole : "Video";
}

std::string mainRole(const std::string& role) {
    return role.substr(0, role.find('.'));
}

std::optional<Rational> parsedTime(const std::optional<std::string>& text) {
    return text ? Rational::fromFCPXML(*text) : std::nullopt;
}

// The media range one clip uses, with the split-edit line when it has its own audio range.
HalfOpenRange usedRangeOf(const AnalysedClip& clip, const Logger& logger) {
    const ClipMediaRange range = clipMediaRange(clip);
    if (clip.audioStart && Rational::fromFCPXML(*clip.audioStart)) {
        logger(LogEntryType::info,
               fmt::format("  ℹ️ Split-Edit erkannt in '{}' (ref={}): video=[{}..{}], gesamt=[{}..{}]",
                           clipName(clip), clip.ref, range.video.start.toFCPXML(), range.video.end.toFCPXML(),
                           range.used.start.toFCPXML(), range.used.end.toFCPXML()));
    }
    return range.used;
}

}  // namespace

ClipMediaRange clipMediaRange(const AnalysedClip& clip) {
    const std::optional<TimeMap> map = FCPXMLTime::buildTimeMap(clip.element);
    const auto mapped = [&](Rational t) { return clip.mediaTime(t, map ? &*map : nullptr); };
    const HalfOpenRange video{mapped(clip.visible.start), mapped(clip.visible.end)};
    const std::optional<Rational> audioStart = parsedTime(clip.audioStart);
    if (!audioStart) {
        return {video, video};
    }
    const Rational audioFrom = mapped(*audioStart);
    const std::optional<Rational> audioDuration = parsedTime(clip.audioDuration);
    const Rational audioTo =
        audioDuration ? mapped(*audioStart + *audioDuration) : audioFrom + (video.end - video.start);
    return {video, {std::min(video.start, audioFrom), std::max(video.end, audioTo)}};
}

std::string normalisedRole(const std::string& role) {
    // Split once at the first "." after any leading dots; empty parts do not count.
    const std::size_t first = role.find_first_not_of('.');
    if (first == std::string::npos) {
        return lowercased(role);
    }
    const std::size_t dot = role.find('.', first);
    const std::string mainPart = role.substr(first, dot == std::string::npos ? dot : dot - first);
    const std::string subPart = dot == std::string::npos ? "" : role.substr(dot + 1);
    return subPart.empty() ? lowercased(mainPart) : lowercased(mainPart) + "." + subPart;
}

std::set<std::string> collectIncludedAssetRefs(const std::vector<AnalysedClip>& clips,
                                               const std::set<std::string>& includedRoles,
                                               const Logger& logger) {
    std::set<std::string> normalisedIncluded;
    for (const std::string& role : includedRoles) {
        normalisedIncluded.insert(normalisedRole(role));
    }
    // A project has few distinct roles: normalise each once.
    std::unordered_map<std::string, bool> includedByRole;
    std::set<std::string> refs;
    for (const AnalysedClip& clip : clips) {
        const std::string role = mainRole(videoRoleText(clip));
        auto [known, isNew] = includedByRole.try_emplace(role, false);
        if (isNew) {
            known->second = normalisedIncluded.contains(normalisedRole(role));
        }
        if (known->second) {
            refs.insert(clip.ref);
        } else {
            logger(LogEntryType::info,
                   fmt::format("  ⊗ Clip '{}' (Rolle: {}) übersprungen (Rolle nicht ausgewählt)",
                               clipName(clip), role));
        }
    }
    return refs;
}

UsageMap collectUsedRanges(const std::vector<AnalysedClip>& clips, const std::set<std::string>& includedRoles,
                           const Logger& logger) {
    UsageMap usage;
    for (const std::string& ref : collectIncludedAssetRefs(clips, includedRoles, logger)) {
        usage.emplace(ref, AssetUsage{});
    }
    for (const AnalysedClip& clip : clips) {
        const auto entry = usage.find(clip.ref);
        if (entry == usage.end()) {
            continue;
        }
        if (!clip.unfollowable.empty()) {
            if (entry->second.unfollowable.empty()) {
                entry->second.unfollowable = clip.unfollowable;
            }
            logger(
                LogEntryType::warning,
                fmt::format("  ⚠️ Asset '{}': Clip '{}' nicht nachvollziehbar ({}) → wird ganz kopiert",
                            clip.ref, clipName(clip), clip.unfollowable));
            continue;
        }
        // Absurd times (beyond what 64 bits hold) must not stop the run; the asset is then kept whole.
        try {
            if (!clip.unreadableTimes.empty()) {
                throw std::overflow_error(clip.unreadableTimes);
            }
            const HalfOpenRange used = usedRangeOf(clip, logger);
            entry->second.ranges.push_back(used);
            logger(LogEntryType::info, fmt::format("  → Asset '{}': Clip '{}' nutzt {} - {} (Dauer: {})",
                                                   clip.ref, clipName(clip), used.start.toFCPXML(),
                                                   used.end.toFCPXML(), (used.end - used.start).toFCPXML()));
        } catch (const std::exception& error) {
            entry->second.hasUnreadableTimes = true;
            logger(LogEntryType::warning,
                   fmt::format("  ⚠️ Asset '{}': Clip '{}' hat unlesbare Zeitwerte ({})", clip.ref,
                               clipName(clip), error.what()));
        }
    }
    return usage;
}

std::map<std::string, TimeMapStatus> collectTimeMapStatuses(const std::vector<AnalysedClip>& clips) {
    std::map<std::string, TimeMapStatusBuilder> builders;
    for (const AnalysedClip& clip : clips) {
        builders[clip.ref].add(timeMapKind(clip.element));
    }
    std::map<std::string, TimeMapStatus> statuses;
    for (const auto& [assetID, builder] : builders) {
        statuses.emplace_hint(statuses.end(), assetID, builder.status());
    }
    return statuses;
}

std::map<std::string, std::set<std::string>> collectRolesByAsset(const std::vector<AnalysedClip>& clips) {
    std::map<std::string, std::set<std::string>> roles;
    for (const AnalysedClip& clip : clips) {
        roles[clip.ref].insert(videoRoleText(clip));
    }
    return roles;
}

std::set<std::string> collectJLCutAssets(const std::vector<AnalysedClip>& clips) {
    const auto isTransition = [](XmlElement element) { return element && element.name() == "transition"; };
    std::set<std::string> assets;
    for (const AnalysedClip& clip : clips) {
        const XmlElement parent = clip.element.parent();
        if (parent && parent.name() == "spine" && clip.audioStart &&
            (isTransition(clip.element.previousSibling()) || isTransition(clip.element.nextSibling()))) {
            assets.insert(clip.ref);
        }
    }
    return assets;
}

std::optional<AssetInfo> lookupAssetInfo(const std::string& assetID, const ResourceIndex& resources) {
    const XmlElement asset = resources.asset(assetID);
    if (!asset) {
        if (const XmlElement media = resources.media(assetID)) {
            std::cout << "ℹ️ Ref " << assetID << " zeigt auf <media> ('"
                      << media.attribute("name").value_or("?")
                      << "') — Compound/Multicam, wird nicht getrimmt." << std::endl;
        }
        return std::nullopt;
    }
    const std::optional<std::string> source = assetMediaSource(asset);
    if (!source) {
        return std::nullopt;
    }
    AssetInfo info;
    info.path = MediaPath::path(*source);
    info.originalSrc = *source;
    info.duration = Rational::fromFCPXML(asset.attribute("duration").value_or("")).value_or(Rational(3600));
    info.hasAudio = asset.attribute("hasAudio") == "1";
    info.start = FCPXMLTime::time(asset, "start");
    return info;
}

std::optional<Rational> frameDuration(const std::string& assetID, const ResourceIndex& resources) {
    const XmlElement asset = resources.asset(assetID);
    const std::optional<std::string> formatID = asset ? asset.attribute("format") : std::nullopt;
    const XmlElement format = formatID ? resources.format(*formatID) : XmlElement();
    if (!format) {
        return std::nullopt;
    }
    const auto duration = Rational::fromFCPXML(format.attribute("frameDuration").value_or(""));
    if (!duration || *duration <= Rational::zero()) {
        return std::nullopt;
    }
    return duration;
}

}  // namespace tidyreel
