#include "archive/media/segment_trimming.h"

#include "archive/media/archive_bundle.h"
#include "archive/media/bundled_asset_registry.h"
#include "archive/media/encoder_profile.h"
#include "archive/media/media_copy.h"
#include "archive/media/media_probe.h"
#include "archive/media/piece_timing.h"
#include "archive/media/stream_copy_cut.h"
#include "archive/media/tool_runner.h"
#include "archive/media/video_packets.h"
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

std::string gotLine(const char* function, const HalfOpenRange& segment) {
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
std::vector<std::string> singleCutArguments(const TrimJob& job, const HalfOpenRange& segment,
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

// `secondsBefore`: how much of the asset's planned length the pieces cut before this one hold, so that
// the progress of one piece continues where the last one ended.
void cutSegment(const TrimJob& job, const HalfOpenRange& segment, const std::filesystem::path& output,
                const std::string& label, double secondsBefore = 0) {
    if (job.streamCopy) {
        job.context.log(LogEntryType::info, gotLine("trimSingleSegmentStreamCopy", segment));
    } else {
        job.context.log(LogEntryType::info, gotLine("trimSingleSegment", segment));
    }
    const ToolProgress progress = [&](double seconds) { job.progress(secondsBefore + seconds); };
    runFFmpeg(singleCutArguments(job, segment, output), label, std::nullopt, job.context, progress);
}

std::vector<Rational> measuredDrifts(const TrimJob& job, const std::vector<std::filesystem::path>& pieces) {
    const std::vector<HalfOpenRange>& segments = job.plan.segments;
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
            const Rational measured = FFProbe::probeDuration(pieces[i], probeSetupOf(job.context));
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
    const std::vector<HalfOpenRange>& segments = job.plan.segments;
    outputs.segmentFolder = makeSegmentDirectory(job.plan.assetID);
    std::vector<std::filesystem::path> pieces;
    Rational secondsBefore = Rational::zero();
    for (std::size_t i = 0; i < segments.size(); ++i) {
        pieces.push_back(*outputs.segmentFolder / fmt::format("seg_{}.{}", i, job.extension));
        if (job.streamCopy) {
            job.context.log(LogEntryType::info,
                            fmt::format("       → Segment {}/{}: ProRes 4444 (AVFoundation) → "
                                        "Stream-Copy",
                                        i + 1, segments.size()));
        }
        cutSegment(job, segments[i], pieces.back(), fmt::format("Segment {}/{}", i + 1, segments.size()),
                   secondsBefore.doubleValue());
        secondsBefore = secondsBefore + segments[i].length();
    }
    std::vector<Rational> drifts = measuredDrifts(job, pieces);
    writeConcatList(*outputs.segmentFolder, pieces);
    runFFmpeg(concatArguments(outputs.output), fmt::format("Concat ({} Segmente)", segments.size()),
              outputs.segmentFolder, job.context);
    removeQuietly(*outputs.segmentFolder);
    outputs.segmentFolder.reset();
    return drifts;
}

// Where each segment of the written file really begins and how long it lasts, from its frames'
// timestamps; the drifts the timing rewrite needs (none for one segment, whose length it probes itself).
std::vector<Rational> measuredX265Drifts(const TrimJob& job, const std::filesystem::path& file) {
    const std::vector<HalfOpenRange>& segments = job.plan.segments;
    std::vector<Rational> drifts;
    if (!job.plan.frameDuration) {
        job.context.log(
            LogEntryType::info,
            "       Ohne Frame-Raster: Versatz der Segmente nicht messbar, drift nicht korrigiert");
        return drifts;
    }
    const std::vector<PieceTiming> pieces =
        measurePieces(probeVideoPackets(file, probeSetupOf(job.context)), segments, *job.plan.frameDuration);
    for (std::size_t i = 0; i < pieces.size(); ++i) {
        job.context.log(LogEntryType::info, pieceTimingLine(i + 1, pieces[i], *job.plan.frameDuration));
        drifts.push_back(pieces[i].drift());
    }
    return segments.size() < 2 ? std::vector<Rational>{} : drifts;
}

// The keyframe a segment is read from; the file's start when ffprobe cannot list the source's packets,
// which is slower but just as exact, as the frames are picked by their timestamps.
Rational readStart(const TrimJob& job, Rational time) {
    try {
        return decodeStart(job.source, probeSetupOf(job.context), time);
    } catch (const RunCancelled&) {
        throw;
    } catch (const Error& error) {
        job.context.log(LogEntryType::info,
                        fmt::format("       Keyframe vor {} nicht ermittelbar ({}) → Lesen ab Dateianfang",
                                    time.toFCPXML(), error.what()));
        return Rational::zero();
    }
}

// All segments in one libx265 run, each read from the keyframe its first frame decodes from.
std::vector<Rational> cutAndJoinX265(const TrimJob& job, const TrimOutputs& outputs) {
    const std::vector<HalfOpenRange>& segments = job.plan.segments;
    std::vector<SegmentCut> cuts;
    for (const HalfOpenRange& segment : segments) {
        job.context.log(LogEntryType::info, gotLine("trimSingleSegment", segment));
        cuts.push_back({segment, readStart(job, segment.start)});
    }
    const std::string label =
        segments.size() == 1 ? "Trim" : fmt::format("Trim + Concat ({} Segmente)", segments.size());
    runFFmpeg(x265Arguments(job.source, outputs.output, cuts, job.plan.frameDuration,
                            FFProbe::hasAudioStream(job.source, probeSetupOf(job.context))),
              label, std::nullopt, job.context, job.progress);
    return measuredX265Drifts(job, outputs.output);
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
void checkTrimmedFile(const std::filesystem::path& file, Rational planned, const ProbeSetup& probe) {
    std::error_code status;
    if (std::filesystem::file_size(file, status) == 0 || status) {
        throw Error(TrimError::domain, TrimError::emptyFile,
                    localized("Geschnittene Datei ist leer", "Trimmed file is empty"));
    }
    const Rational measured = FFProbe::probeDuration(file, probe);
    if (measured < planned - kShortCutTolerance) {
        throw Error(
            TrimError::domain, TrimError::tooShort,
            fmt::format("{}: {} < {}", localized("Geschnittene Datei zu kurz", "Trimmed file too short"),
                        measured.toFCPXML(), planned.toFCPXML()));
    }
}

// The trim phase's progress for one plan: its step, and the file it cuts.
ProcessingProgress trimProgress(const TrimPlan& plan, int step, int steps) {
    return {step, steps, localized("Trimme Video", "Trimming video"), 0,
            std::filesystem::path(plan.originalPath).filename().string()};
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
    TrimJob job{
        plan,
        context,
        source,
        fileNameExtension(source.filename().string()),
        false,
        selectedEncoderProfile(context.settings.encoder),
        [&context, step = trimProgress(plan, progressStep, progressSteps), total](double seconds) mutable {
            step.stepFraction = seconds / total;
            context.reportProgress(step);
        }};
    try {
        requireRegularFile(source);
        TrimmedMedia trimmed{target, {}, plan.segments};
        std::optional<StreamCopyResult> copied;
        if (job.profile == EncoderProfile::copy && (copied = streamCopied(job, outputs))) {
            trimmed = {target, std::move(copied->drifts), std::move(copied->segments), CutMethod::streamCopy,
                       true};
        } else {
            job.profile = job.profile == EncoderProfile::copy ? defaultEncoderProfile() : job.profile;
            job.streamCopy = isAVFoundationProRes4444(FFProbe::probeCodec(source, probeSetupOf(context)));
            trimmed.drifts = cut(job, outputs);
            trimmed.cut = job.streamCopy ? CutMethod::streamCopy : CutMethod::reEncode;
        }
        checkTrimmedFile(outputs.output, totalLength(plan.segments), probeSetupOf(context));
        placeTrimmedFile(outputs.output, target);
        context.bundledAssets->registerAsset(
            plan.assetID, Registration{"./Media/" + name, plan.originalSrc, true, trimmed.cut,
                                       trimmed.sourcePacketsProven});
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
    context.reportProgress(trimProgress(plan, index, count));
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
