#include "archive/tasks/archive_verification.h"

#include "archive/media/archive_bundle.h"
#include "archive/media/bundled_asset_registry.h"
#include "archive/media/media_probe.h"
#include "archive/media/tool_runner.h"
#include "archive/planning/archive_planning.h"
#include "archive/planning/clip_usage_analysis.h"
#include "base/error.h"
#include "base/error_codes.h"
#include "base/language.h"
#include "fcpxml/fcpxml_time.h"
#include "fcpxml/media_path.h"
#include "fcpxml/media_source_elements.h"
#include "fcpxml/resource_index.h"
#include "platform/process_runner.h"

#include <fmt/format.h>

#include <set>

namespace tidyreel {
namespace {

// A file a `src` of the bundle names, resolved the way Final Cut Pro resolves it.
std::filesystem::path referencedFile(const std::filesystem::path& bundle, const std::string& src) {
    const std::filesystem::path path(MediaPath::path(src));
    return std::filesystem::weakly_canonical(MediaPath::isRelative(src) ? bundle / path : path);
}

bool isInside(const std::filesystem::path& file, const std::filesystem::path& folder) {
    const std::filesystem::path relative = file.lexically_relative(folder);
    return !relative.empty() && *relative.begin() != "..";
}

// The problem of a file that ffmpeg cannot decode to its end, if any.
std::optional<std::string> decodingProblem(const std::filesystem::path& file, const ProbeSetup& probe) {
    bool complained = false;
    ProcessRequest request;
    request.executable = locateFFmpeg(probe.tools);
    request.stopToken = probe.stopToken;
    request.arguments = {"-nostdin", "-v", "error", "-i", file.string(), "-f", "null", "-"};
    request.standardErrorChunk = [&](std::string_view chunk) { complained = complained || !chunk.empty(); };
    const ProcessResult result = runProcess(request);
    if (result.exitStatus == 0 && !complained) {
        return std::nullopt;
    }
    return fmt::format("{} {} ({})", file.filename().string(),
                       localized("lässt sich nicht bis zum Ende dekodieren", "does not decode to its end"),
                       standardErrorTail(result.standardErrorTail, 1));
}

// The allowed slack between declared and measured lengths: one frame of the asset, else 1/25 s.
Rational tolerance(XmlElement asset, const ResourceIndex& resources) {
    return frameDuration(asset.attribute("id").value_or(""), resources).value_or(Rational(1, 25));
}

class BundleCheck {
public:
    BundleCheck(std::filesystem::path bundle, ProbeSetup probe, bool acceptMissingSources,
                const std::set<std::filesystem::path>& provenCopies)
        : bundle_(std::filesystem::weakly_canonical(std::move(bundle))),
          probe_(std::move(probe)),
          acceptMissingSources_(acceptMissingSources) {
        for (const std::filesystem::path& file : provenCopies) {
            checkedDecoding_.insert(std::filesystem::weakly_canonical(file));
        }
    }

    std::vector<std::string> run() {
        std::shared_ptr<XmlDocument> document;
        try {
            document = XmlDocument::load(archiveDocumentURL(bundle_));
        } catch (const std::exception& error) {
            return {error.what()};
        }
        const ResourceIndex resources(*document);
        if (resources.resources()) {
            for (XmlElement asset : resources.resources().children()) {
                if (asset.name() == "asset") {
                    checkAsset(asset, resources);
                }
            }
        }
        checkClipRanges(*document, resources);
        return std::move(problems_);
    }

private:
    void checkAsset(XmlElement asset, const ResourceIndex& resources) {
        const std::string id = asset.attribute("id").value_or("?");
        for (XmlElement element : mediaSourceElements(asset)) {
            const std::string src = element.attribute("src").value_or("");
            const std::filesystem::path file = referencedFile(bundle_, src);
            if (!isInside(file, bundle_)) {
                // A source the editor chose to archive without (missing, unreadable, or no regular
                // file) stays where it was; one that can be read there should have been copied.
                if (acceptMissingSources_ && sourceStateOf(file) != SourceState::available) {
                    continue;
                }
                problems_.push_back(
                    fmt::format("Asset {}: {} {}", id, src,
                                localized("liegt außerhalb des Bundles", "lies outside the bundle")));
            } else if (!std::filesystem::is_regular_file(file)) {
                problems_.push_back(fmt::format("Asset {}: {} {}", id, src,
                                                localized("fehlt im Bundle", "is missing from the bundle")));
            } else if (element.attribute("kind").value_or("original-media") == "original-media") {
                checkMedia(asset, file, resources);
            }
        }
    }

    void checkMedia(XmlElement asset, const std::filesystem::path& file, const ResourceIndex& resources) {
        if (file.stem().string().find("_trimmed") != std::string::npos &&
            checkedDecoding_.insert(file).second) {
            if (const std::optional<std::string> problem = decodingProblem(file, probe_)) {
                problems_.push_back(*problem);
            }
        }
        const Rational declared = FCPXMLTime::time(asset, "duration");
        const bool hasPicture = asset.attribute("hasVideo") == "1";
        if (declared <= Rational::zero() || (!hasPicture && asset.attribute("hasAudio") != "1")) {
            return;  // stills have no length
        }
        const std::string id = asset.attribute("id").value_or("?");
        try {
            // A sound file is measured by its sound, any other by its picture.
            const Rational real =
                hasPicture ? FFProbe::probeDuration(file, probe_) : FFProbe::probeSoundDuration(file, probe_);
            if (real + tolerance(asset, resources) < declared) {
                problems_.push_back(fmt::format("Asset {}: {} {} {}, {} {}", id, file.filename().string(),
                                                localized("ist nur", "is only"), real.toFCPXML(),
                                                localized("angegeben", "declared"), declared.toFCPXML()));
            }
        } catch (const RunCancelled&) {
            throw;
        } catch (const std::exception& error) {
            problems_.push_back(fmt::format("Asset {}: {} {} ({})", id, file.filename().string(),
                                            localized("Länge nicht lesbar", "length unreadable"),
                                            error.what()));
        }
    }

    void checkClipRanges(const XmlDocument& document, const ResourceIndex& resources) {
        for (const AnalysedClip& clip : collectAnalysedClips(document, resources)) {
            const XmlElement asset = resources.asset(clip.ref);
            const Rational duration = asset ? FCPXMLTime::time(asset, "duration") : Rational::zero();
            if (duration <= Rational::zero() || !clip.unfollowable.empty() || !clip.unreadableTimes.empty()) {
                continue;
            }
            const Rational origin = FCPXMLTime::time(asset, "start");
            const Rational slack = tolerance(asset, resources);
            const HalfOpenRange used = clipMediaRange(clip).used;
            if (used.start + slack < origin || origin + duration + slack < used.end) {
                problems_.push_back(fmt::format(
                    "{} '{}' (Asset {}): {} {}..{}, {} {}..{}", clip.element.name(), clip.name.value_or("?"),
                    clip.ref, localized("nutzt", "uses"), used.start.toFCPXML(), used.end.toFCPXML(),
                    localized("das Asset reicht von", "the asset spans"), origin.toFCPXML(),
                    (origin + duration).toFCPXML()));
            }
        }
    }

    std::filesystem::path bundle_;
    ProbeSetup probe_;
    std::vector<std::string> problems_;
    bool acceptMissingSources_;
    std::set<std::filesystem::path> checkedDecoding_;
};

}  // namespace

std::vector<std::string> verifyArchiveBundle(const std::filesystem::path& bundle, const ProbeSetup& probe,
                                             bool acceptMissingSources,
                                             const std::set<std::filesystem::path>& provenCopies) {
    return BundleCheck(bundle, probe, acceptMissingSources, provenCopies).run();
}

namespace {

// The files of this run whose packets the cut already proved to be the source's.
std::set<std::filesystem::path> provenCopiesOf(const ArchiveExportContext& context) {
    std::set<std::filesystem::path> files;
    for (const auto& [id, registration] : context.bundledAssets->snapshot()) {
        if (registration.sourcePacketsProven) {
            files.insert(archiveBundleURL(context) / registration.relativePath);
        }
    }
    return files;
}

}  // namespace

void ArchiveVerifyTask::execute(ArchiveExportContext& context) const {
    context.log(LogEntryType::info, localized("Prüfe Archiv...", "Checking the archive..."));
    const std::set<std::filesystem::path> proven = provenCopiesOf(context);
    for (const std::filesystem::path& file : proven) {
        context.log(
            LogEntryType::info,
            fmt::format("  → {}: {}", file.filename().string(),
                        localized("Videopakete beim Schnitt mit dem Original verglichen, nicht erneut "
                                  "dekodiert",
                                  "video packets compared with the original's when cut, not decoded "
                                  "again")));
    }
    const std::vector<std::string> problems = verifyArchiveBundle(
        archiveBundleURL(context), probeSetupOf(context), context.settings.allowOffline, proven);
    for (const std::string& problem : problems) {
        context.log(LogEntryType::error, "  ✗ " + problem);
    }
    if (!problems.empty()) {
        throw Error(ProcessingError::domain, ProcessingError::archiveCheckFailed,
                    fmt::format("{}: {} {}", localized("Archiv-Prüfung", "Archive check"), problems.size(),
                                localized("Problem(e) — die Originale werden noch gebraucht",
                                          "problem(s) — the originals are still needed")));
    }
    context.log(
        LogEntryType::success,
        localized(
            "  ✓ Archiv geprüft: alle Medien im Bundle, vollständig lesbar, jeder Clip in seinem Medium",
            "  ✓ Archive checked: all media in the bundle, fully readable, every clip inside its media"));
}

}  // namespace tidyreel
