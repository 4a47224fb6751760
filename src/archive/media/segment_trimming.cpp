#include "archive/media/segment_trimming.h"

#include "archive/media/archive_bundle.h"
#include "archive/media/bundled_asset_registry.h"
#include "archive/media/encoder_profile.h"
#include "archive/media/media_copy.h"
#include "archive/media/media_probe.h"
#include "archive/media/stream_copy_cut.h"
#include "archive/media/tool_runner.h"
#include "base/error.h"
#include "base/error_codes.h"
#include "base/file_names.h"
#include "base/language.h"
#include "base/uuid.h"
#include "fcpxml/resource_index.h"
#include "platform/file_write.h"
#include "time/decimal_text.h"

#include <fmt/format.h>

namespace tidyreel {
namespace {

// How much shorter than planned a cut may come out: frame snapping and rounding, never a lost second.
const Rational kShortCutTolerance(1, 2);

std::string gotLine(const char* function, const Segment& segment) {
    return fmt::format("       {} got: {}..{}", function, shortestDecimal(segment.start.doubleValue()),
                       shortestDecimal(segment.end.doubleValue()));
}

void removeQuietly(const std::filesystem::path& path) {
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
}

// Where one trim writes, removed again when the trim fails so that nothing half-made stays behind.
struct TrimOutputs {
    std::filesystem::path output;
    std::optional<std::filesystem::path> segmentFolder;

    void removeAll() const {
        removeQuietly(output);
        if (segmentFolder) {
            removeQuietly(*segmentFolder);
        }
    }
};

// Everything one trim needs to know about its source and how to cut it.
struct TrimJob {
    const TrimPlan& plan;
    ArchiveExportContext& context;
    std::filesystem::path source;
    std::string extension;
    bool streamCopy = false;
    EncoderProfile profile = EncoderProfile::libx265;
    ToolProgress progress;
};

// The cut of one segment as the profile makes it: stream copy, or VideoToolbox re-encoding.
std::vector<std::string> singleCutArguments(const TrimJob& job, const Segment& segment,
                                            const std::filesystem::path& output) {
    const double start = segment.start.doubleValue();
    const double duration = segment.length().doubleValue();
    if (!job.streamCopy) {
        return videoToolboxArguments(job.source, output, start, duration);
    }
    if (job.profile == EncoderProfile::libx265 && job.plan.frameDuration) {
        // Seeking half a frame in picks the frame at the start even when the printed time rounds down.
        const Rational half = *job.plan.frameDuration / 2;
        return streamCopyArguments(job.source, output, (segment.start + half).doubleValue(),
                                   (segment.length() - half).doubleValue());
    }
    return streamCopyArguments(job.source, output, start, duration);
}

void cutSegment(const TrimJob& job, const Segment& segment, const std::filesystem::path& output,
                const std::string& label) {
    if (job.streamCopy) {
        job.context.log(LogEntryType::info, gotLine("trimSingleSegmentStreamCopy", segment));
    } else {
        job.context.log(LogEntryType::info, gotLine("trimSingleSegment", segment));
    }
    runFFmpeg(singleCutArguments(job, segment, output), label, std::nullopt, job.context, job.progress);
}

std::vector<Rational> measuredDrifts(const TrimJob& job, const std::vector<std::filesystem::path>& pieces) {
    const std::vector<Segment>& segments = job.plan.segments;
    if (job.streamCopy) {
        job.context.log(
            LogEntryType::info,
            "       ProRes 4444 (AVFoundation) Stream-Copy: Drift-Neutralisierung, alle Segmente drift=0");
        return std::vector<Rational>(segments.size(), Rational::zero());
    }
    std::vector<Rational> drifts;
    for (std::size_t i = 0; i < segments.size(); ++i) {
        const Rational nominal = segments[i].length();
        try {
            const Rational measured = FFProbe::probeDuration(pieces[i], job.context.tools);
            drifts.push_back(measured - nominal);
            job.context.log(LogEntryType::info,
                            fmt::format("       Segment {}: nominal={}, gemessen={}, drift={}", i + 1,
                                        nominal.toFCPXML(), measured.toFCPXML(), drifts.back().toFCPXML()));
        } catch (const RunCancelled&) {
            throw;
        } catch (const Error&) {
            drifts.push_back(Rational::zero());
            job.context.log(
                LogEntryType::info,
                fmt::format("       Segment {}: ffprobe fehlgeschlagen → drift=0 angenommen", i + 1));
        }
    }
    return drifts;
}

void writeConcatList(const std::filesystem::path& folder, const std::vector<std::filesystem::path>& pieces) {
    std::string list;
    for (const std::filesystem::path& piece : pieces) {
        list += "file '" + piece.filename().string() + "'\n";
    }
    writeFileAtomically(folder / "concat_list.txt", list);
}

// One run per segment into a temporary folder, then the concat demuxer joins the pieces.
std::vector<Rational> cutAndJoinPieces(const TrimJob& job, TrimOutputs& outputs) {
    const std::vector<Segment>& segments = job.plan.segments;
    outputs.segmentFolder = makeSegmentDirectory(job.plan.assetID);
    std::vector<std::filesystem::path> pieces;
    for (std::size_t i = 0; i < segments.size(); ++i) {
        pieces.push_back(*outputs.segmentFolder / fmt::format("seg_{}.{}", i, job.extension));
        if (job.streamCopy) {
            job.context.log(LogEntryType::info,
                            fmt::format("       → Segment {}/{}: ProRes 4444 (AVFoundation) → "
                                        "Stream-Copy",
                                        i + 1, segments.size()));
        }
        cutSegment(job, segments[i], pieces.back(), fmt::format("Segment {}/{}", i + 1, segments.size()));
    }
    std::vector<Rational> drifts = measuredDrifts(job, pieces);
    writeConcatList(*outputs.segmentFolder, pieces);
    runFFmpeg(concatArguments(outputs.output), fmt::format("Concat ({} Segmente)", segments.size()),
              outputs.segmentFolder, job.context);
    removeQuietly(*outputs.segmentFolder);
    outputs.segmentFolder.reset();
    return drifts;
}

// All segments in one libx265 run. Each piece keeps exactly its frames, so its length is known without
// measuring: the drift is what the frame count adds to the planned length.
std::vector<Rational> cutAndJoinX265(const TrimJob& job, const TrimOutputs& outputs) {
    const std::vector<Segment>& segments = job.plan.segments;
    for (const Segment& segment : segments) {
        job.context.log(LogEntryType::info, gotLine("trimSingleSegment", segment));
    }
    const std::string label =
        segments.size() == 1 ? "Trim" : fmt::format("Trim + Concat ({} Segmente)", segments.size());
    runFFmpeg(x265Arguments(job.source, outputs.output, segments, job.plan.frameDuration,
                            FFProbe::hasAudioStream(job.source, job.context.tools)),
              label, std::nullopt, job.context, job.progress);
    std::vector<Rational> drifts;
    if (segments.size() < 2) {
        return drifts;
    }
    for (std::size_t i = 0; i < segments.size(); ++i) {
        const Rational nominal = segments[i].length();
        const Rational produced =
            job.plan.frameDuration
                ? Rational(framesIn(segments[i], *job.plan.frameDuration)) * *job.plan.frameDuration
                : nominal;
        drifts.push_back(produced - nominal);
        job.context.log(LogEntryType::info,
                        fmt::format("       Segment {}: nominal={}, frame-genau={}, drift={}", i + 1,
                                    nominal.toFCPXML(), produced.toFCPXML(), drifts.back().toFCPXML()));
    }
    return drifts;
}

std::vector<Rational> cut(const TrimJob& job, TrimOutputs& outputs) {
    if (job.streamCopy && job.plan.segments.size() == 1) {
        job.context.log(LogEntryType::info, "       → ProRes 4444 (AVFoundation) erkannt → Stream-Copy-Trim");
    }
    if (!job.streamCopy && job.profile == EncoderProfile::libx265) {
        return cutAndJoinX265(job, outputs);
    }
    if (job.plan.segments.size() == 1) {
        cutSegment(job, job.plan.segments.front(), outputs.output,
                   job.streamCopy ? "Trim (Stream-Copy)" : "Trim");
        return {};
    }
    return cutAndJoinPieces(job, outputs);
}

// The `copy` profile's cut; no value after a log line when the source must be re-encoded instead.
std::optional<StreamCopyResult> streamCopied(const TrimJob& job, const TrimOutputs& outputs) {
    try {
        return cutByStreamCopy(job.plan, job.source, outputs.output, job.context, job.progress);
    } catch (const StreamCopyUnsuitable& reason) {
        job.context.log(LogEntryType::info,
                        fmt::format("       → Stream-Copy nicht möglich ({}) → Re-Encode ({})", reason.what(),
                                    encoderProfileName(defaultEncoderProfile())));
        return std::nullopt;
    }
}

void logFrameSnaps(const TrimPlan& plan, const ExportContext& context) {
    if (!plan.frameDuration) {
        return;
    }
    const auto logSnap = [&](const char* which, Rational original, Rational snapped) {
        if (original != snapped) {
            context.log(
                LogEntryType::info,
                fmt::format("  → Asset {}: {} Frame-Snap {} → {} (Frame {}, Δ={})", plan.assetID, which,
                            original.toFCPXML(), snapped.toFCPXML(), snapped.frameNumber(*plan.frameDuration),
                            (snapped - original).toFCPXML()));
        }
    };
    for (std::size_t i = 0; i < plan.segments.size() && i < plan.originalSegments.size(); ++i) {
        logSnap("seg.0", plan.originalSegments[i].start, plan.segments[i].start);
        logSnap("seg.1", plan.originalSegments[i].end, plan.segments[i].end);
    }
}

void validateFallbackTarget(const std::filesystem::path& target) {
    std::error_code status;
    if (!std::filesystem::is_regular_file(std::filesystem::symlink_status(target, status))) {
        throw Error(FallbackValidationError::domain, FallbackValidationError::notRegularFile,
                    "Ziel ist kein reguläres File (Symlink oder anderer Typ)");
    }
    const std::uintmax_t size = std::filesystem::file_size(target, status);
    if (status || size == 0) {
        throw Error(FallbackValidationError::domain, FallbackValidationError::emptyFile,
                    "Ziel-Datei hat Größe 0");
    }
}

// An asset id comes from the project file: as part of a folder name it may hold nothing that leads out of
// the temporary folder ("../../x") or that a file system refuses.
std::string pathSafeID(const std::string& assetID) {
    std::string safe;
    for (const char c : assetID.substr(0, 64)) {
        const bool plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                           c == '-' || c == '_';
        safe += plain ? c : '_';
    }
    return safe;
}

// A cut counts once its file is there, decodes, and is not shorter than planned (a stopped encode
// leaves a short file that still decodes).
void checkTrimmedFile(const std::filesystem::path& file, Rational planned, const ToolPaths& tools) {
    std::error_code status;
    if (std::filesystem::file_size(file, status) == 0 || status) {
        throw Error(TrimError::domain, TrimError::emptyFile,
                    localized("Geschnittene Datei ist leer", "Trimmed file is empty"));
    }
    const Rational measured = FFProbe::probeDuration(file, tools);
    if (measured < planned - kShortCutTolerance) {
        throw Error(
            TrimError::domain, TrimError::tooShort,
            fmt::format("{}: {} < {}", localized("Geschnittene Datei zu kurz", "Trimmed file too short"),
                        measured.toFCPXML(), planned.toFCPXML()));
    }
}

void placeTrimmedFile(const std::filesystem::path& partial, const std::filesystem::path& target) {
    std::error_code status;
    std::filesystem::rename(partial, target, status);
    if (status) {
        throw fileSystemError(localized("Datei konnte nicht umbenannt werden", "Could not rename file"),
                              target, status);
    }
}

}  // namespace

std::string trimmedFileName(const std::string& sourceFileName) {
    const std::string extension = fileNameExtension(sourceFileName);
    return fileNameBase(sourceFileName) + "_trimmed" + (extension.empty() ? "" : "." + extension);
}

std::filesystem::path makeSegmentDirectory(const std::string& assetID) {
    const std::filesystem::path folder =
        std::filesystem::temp_directory_path() / ("tidyreel-" + pathSafeID(assetID) + "-" + newUuid());
    std::error_code status;
    std::filesystem::create_directories(folder, status);
    if (status) {
        throw fileSystemError(localized("Ordner konnte nicht angelegt werden", "Could not create folder"),
                              folder, status);
    }
    return folder;
}

TrimmedMedia trimAsset(const TrimPlan& plan, ArchiveExportContext& context, int progressStep,
                       int progressSteps) {
    const std::filesystem::path source(plan.originalPath);
    // A trimmed file is written anew on every run, so an unrecorded file of the same name may be replaced.
    // Its name belongs to the asset, not just the file: two assets on one file keep different ranges.
    const std::string name = context.bundledAssets->claimMediaName(
        plan.originalPath + "#" + plan.assetID, trimmedFileName(bundleFileName(source)),
        [](const std::filesystem::path&) { return true; });
    // ffmpeg writes under a temporary name; only a checked file takes the final one.
    const std::filesystem::path target = archiveMediaFolder(context) / name;
    TrimOutputs outputs{temporarySibling(target), std::nullopt};
    const double total = totalLength(plan.segments).doubleValue();
    const std::string progressText =
        localized("Trimme Video", "Trimming video") + ": " + source.filename().string();
    TrimJob job{plan,
                context,
                source,
                fileNameExtension(source.filename().string()),
                false,
                selectedEncoderProfile(context.encoder),
                [&, progressStep, progressSteps](double seconds) {
                    reportStepProgress(context, progressStep, progressSteps, seconds / total, progressText);
                }};
    try {
        requireRegularFile(source);
        TrimmedMedia trimmed{target, {}, plan.segments};
        std::optional<StreamCopyResult> copied;
        if (job.profile == EncoderProfile::copy && (copied = streamCopied(job, outputs))) {
            trimmed = {target, std::move(copied->drifts), std::move(copied->segments), CutMethod::streamCopy};
        } else {
            job.profile = job.profile == EncoderProfile::copy ? defaultEncoderProfile() : job.profile;
            job.streamCopy = isAVFoundationProRes4444(FFProbe::probeCodec(source, context.tools));
            trimmed.drifts = cut(job, outputs);
            trimmed.cut = job.streamCopy ? CutMethod::streamCopy : CutMethod::reEncode;
        }
        checkTrimmedFile(outputs.output, totalLength(plan.segments), context.tools);
        placeTrimmedFile(outputs.output, target);
        context.bundledAssets->registerAsset(
            plan.assetID, Registration{"./Media/" + name, plan.originalSrc, true, trimmed.cut});
        return trimmed;
    } catch (...) {
        outputs.removeAll();
        throw;
    }
}

void fallbackCopy(const TrimPlan& plan, ArchiveExportContext& context) {
    const std::filesystem::path source(plan.originalPath);
    try {
        const std::string name = claimWholeCopyName(context, source);
        const std::filesystem::path target = archiveMediaFolder(context) / name;
        std::error_code status;
        if (!std::filesystem::exists(std::filesystem::symlink_status(target, status))) {
            runCopy(source, target, context);
        }
        validateFallbackTarget(target);
        context.bundledAssets->registerAsset(plan.assetID,
                                             Registration{"./Media/" + name, plan.originalSrc, false});
        const ResourceIndex resources(*context.xmlDocument);
        for (XmlElement asset : resources.assets(plan.assetID)) {
            pointAssetAtFile(asset, target);
        }
        context.log(LogEntryType::success, "    ✓ Fallback-Kopie: " + name);
    } catch (const RunCancelled&) {
        throw;
    } catch (const std::exception& error) {
        context.log(LogEntryType::error, std::string("    ✗ Fallback-Kopie fehlgeschlagen: ") + error.what());
    }
}

std::optional<TrimmedMedia> trimPlannedAsset(const TrimPlan& plan, ArchiveExportContext& context, int index,
                                             int count) {
    logFrameSnaps(plan, context);
    context.log(LogEntryType::info, "  → Schneide Asset " + plan.assetID + "...");
    std::optional<TrimmedMedia> trimmed;
    try {
        trimmed = trimAsset(plan, context, index, count);
        context.log(LogEntryType::success, "    ✓ Gespeichert: " + trimmed->file.filename().string());
    } catch (const RunCancelled&) {
        throw;
    } catch (const std::exception& error) {
        context.log(LogEntryType::error, std::string("    ✗ Trim fehlgeschlagen: ") + error.what());
        fallbackCopy(plan, context);
    }
    context.bundledAssets->saveMediaNames();
    return trimmed;
}

}  // namespace tidyreel
