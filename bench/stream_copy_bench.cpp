// Lossless trimming against the two things it replaces: plain cp of the bytes it writes, and the default
// libx265 re-encode of the same segments, on one 1080p H.264 long-GOP file made by ffmpeg.
#include "archive/media/encoder_profile.h"
#include "archive/media/stream_copy_cut.h"
#include "archive/media/tool_runner.h"

#include "bench_files.h"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>

namespace {

namespace fs = std::filesystem;

const int kGOPFrames = 50;
const tidyreel::Rational kFrame(1, 25);

const fs::path& workFolder() {
    static const fs::path folder = tidyreel::bench::benchFolder("tidyreel-stream-copy-bench");
    return folder;
}

using tidyreel::bench::shell;

// Half a minute of 1080p25 H.264 with B-frames and a keyframe every two seconds, with PCM sound.
const fs::path& longGOPFile() {
    static const fs::path file = [] {
        const fs::path path = workFolder() / "camera.mov";
        if (!fs::exists(path)) {
            shell(
                "ffmpeg -nostdin -v error -y -f lavfi -i testsrc2=size=1920x1080:rate=25:duration=60 -f "
                "lavfi "
                "-i sine=duration=30 -c:v libx264 -preset ultrafast -bf 2 -g " +
                std::to_string(kGOPFrames) + " -b:v 20M -pix_fmt yuv420p -c:a pcm_s16le '" + path.string() +
                "'");
        }
        return path;
    }();
    return file;
}

// Three uses spread over the half minute, none on a keyframe: 10 s kept.
tidyreel::TrimPlan benchPlan() {
    tidyreel::TrimPlan plan;
    plan.assetID = "bench";
    plan.originalPath = longGOPFile().string();
    plan.duration = 30;
    plan.hasAudio = true;
    plan.segments = {{tidyreel::Rational(83, 25), tidyreel::Rational(183, 25)},
                     {tidyreel::Rational(328, 25), tidyreel::Rational(403, 25)},
                     {tidyreel::Rational(558, 25), tidyreel::Rational(633, 25)}};
    plan.originalSegments = plan.segments;
    plan.frameDuration = kFrame;
    return plan;
}

const fs::path kCopyOutput = workFolder() / "copy.mov";

void streamCopyCut(benchmark::State& state) {
    tidyreel::ArchiveExportContext context;
    const tidyreel::TrimPlan plan = benchPlan();
    for (auto _ : state) {
        fs::remove(kCopyOutput);
        benchmark::DoNotOptimize(tidyreel::cutByStreamCopy(plan, longGOPFile(), kCopyOutput, context, {}));
    }
    const double written = static_cast<double>(fs::file_size(kCopyOutput));
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * fs::file_size(kCopyOutput)));
    // The size the archive may reach: the kept seconds plus one GOP per segment, at the source's rate.
    const double bytesPerSecond = static_cast<double>(fs::file_size(longGOPFile())) / 30.0;
    const double keptSeconds = tidyreel::totalLength(plan.segments).doubleValue();
    const double gopSeconds = (kFrame * kGOPFrames).doubleValue();
    state.counters["written_MB"] = written / 1e6;
    state.counters["bound_MB"] =
        (keptSeconds + gopSeconds * static_cast<double>(plan.segments.size())) * bytesPerSecond / 1e6;
}

void plainCpOfTheWrittenBytes(benchmark::State& state) {
    const fs::path target = workFolder() / "cp.mov";
    for (auto _ : state) {
        fs::remove(target);
        shell("cp '" + kCopyOutput.string() + "' '" + target.string() + "'");
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * fs::file_size(kCopyOutput)));
}

void libx265Cut(benchmark::State& state) {
    tidyreel::ExportContext context;
    const tidyreel::TrimPlan plan = benchPlan();
    for (auto _ : state) {
        // As a trim does: each segment read from the keyframe its first frame decodes from.
        std::vector<tidyreel::SegmentCut> cuts;
        for (const tidyreel::HalfOpenRange& segment : plan.segments) {
            cuts.push_back({segment, tidyreel::decodeStart(longGOPFile(), {}, segment.start)});
        }
        tidyreel::runFFmpeg(
            tidyreel::x265Arguments(longGOPFile(), workFolder() / "x265.mov", cuts, kFrame, true), "Trim",
            std::nullopt, context);
    }
}

// Tool processes run outside this process: wall-clock time is what counts.
BENCHMARK(streamCopyCut)->Unit(benchmark::kMillisecond)->Iterations(3)->UseRealTime();
BENCHMARK(plainCpOfTheWrittenBytes)->Unit(benchmark::kMillisecond)->Iterations(3)->UseRealTime();
BENCHMARK(libx265Cut)->Unit(benchmark::kMillisecond)->Iterations(1)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
