// Lossless trimming against the two things it replaces, side by side in one run: the default libx265
// re-encode of the same segments (on two minutes of 1080p H.264, where libx265 still finishes in minutes),
// and plain cp of the bytes it writes (on ten minutes of it, the volume of a camera original). With
// STREAM_COPY_BENCH_COLD set (as root), each side starts with the page cache dropped instead of warm.
#include "archive/media/encoder_profile.h"
#include "archive/media/stream_copy_arguments.h"
#include "archive/media/stream_copy_cut.h"
#include "archive/media/tool_runner.h"

#include "bench_files.h"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace {

namespace fs = std::filesystem;

const int kGOPFrames = 50;
const tidyreel::Rational kFrame(1, 25);

const fs::path& workFolder() {
    static const fs::path folder = tidyreel::bench::benchFolder("tidyreel-stream-copy-bench");
    return folder;
}

using tidyreel::bench::shell;

// 1080p25 H.264 with two B-frames and a keyframe every two seconds, with PCM sound: ten seconds are
// encoded, then repeated by stream copy to `seconds` (a camera's bit rate at the cost of a copy).
fs::path longGOPFile(int seconds) {
    const fs::path path = workFolder() / ("camera_" + std::to_string(seconds) + "s.mov");
    if (!fs::exists(path)) {
        const fs::path piece = workFolder() / "piece.mov";
        shell(
            "ffmpeg -nostdin -v error -y -f lavfi -i testsrc2=size=1920x1080:rate=25:duration=10 -f lavfi "
            "-i sine=duration=10 -c:v libx264 -preset ultrafast -bf 2 -g " +
            std::to_string(kGOPFrames) + " -b:v 32M -pix_fmt yuv420p -c:a pcm_s16le '" + piece.string() +
            "'");
        shell("ffmpeg -nostdin -v error -y -stream_loop " + std::to_string(seconds / 10 - 1) + " -i '" +
              piece.string() + "' -c copy '" + path.string() + "'");
    }
    return path;
}

// Four clips spread over the file, none on a keyframe, each with 10 s of handles, as an interview's
// selects: on ten minutes four of 85 s (340 s kept).
tidyreel::TrimPlan benchPlan(int seconds) {
    tidyreel::TrimPlan plan;
    plan.assetID = "bench";
    plan.originalPath = longGOPFile(seconds).string();
    plan.duration = seconds;
    plan.hasAudio = true;
    for (int clip = 0; clip < 4; ++clip) {
        const tidyreel::Rational start = tidyreel::Rational(253, 25) + tidyreel::Rational(clip * seconds, 4);
        plan.segments.push_back({start, start + tidyreel::Rational(seconds * 85, 600)});
    }
    plan.originalSegments = plan.segments;
    plan.frameDuration = kFrame;
    return plan;
}

// Reads a file into the page cache and writes out what earlier runs left unwritten, so that each side
// starts from the same state: its input in memory, nothing pending on the disk.
void warmUp(const fs::path& file) {
    if (std::getenv("STREAM_COPY_BENCH_COLD")) {
        shell("sync && echo 3 > /proc/sys/vm/drop_caches");
        return;
    }
    shell("sync && cat '" + file.string() + "' > /dev/null");
}

fs::path copyOutput(int seconds) {
    return workFolder() / ("copy_" + std::to_string(seconds) + "s.mov");
}

void streamCopyCut(benchmark::State& state) {
    const int seconds = static_cast<int>(state.range(0));
    tidyreel::ArchiveExportContext context;
    const tidyreel::TrimPlan plan = benchPlan(seconds);
    const fs::path output = copyOutput(seconds);
    for (auto _ : state) {
        state.PauseTiming();
        fs::remove(output);
        warmUp(longGOPFile(seconds));
        state.ResumeTiming();
        benchmark::DoNotOptimize(tidyreel::cutByStreamCopy(plan, longGOPFile(seconds), output, context, {}));
        shell("sync");
    }
    const double written = static_cast<double>(fs::file_size(output));
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(written));
    // The size the archive may reach: the kept seconds plus one GOP per segment, at the source's rate.
    const double bytesPerSecond = static_cast<double>(fs::file_size(longGOPFile(seconds))) / seconds;
    const double keptSeconds = tidyreel::totalLength(plan.segments).doubleValue();
    const double gopSeconds = (kFrame * kGOPFrames).doubleValue();
    state.counters["written_MB"] = written / 1e6;
    state.counters["bound_MB"] =
        (keptSeconds + gopSeconds * static_cast<double>(plan.segments.size())) * bytesPerSecond / 1e6;
}

// The ffmpeg run of the same cut alone, without planning and proof, made durable like the others: what
// ffmpeg's remux costs beside cp.
void ffmpegCopyRunAlone(benchmark::State& state) {
    const int seconds = static_cast<int>(state.range(0));
    const tidyreel::TrimPlan plan = benchPlan(seconds);
    const tidyreel::StreamCopyDecision decision = tidyreel::planStreamCopy(plan, {});
    const tidyreel::CopySource source{longGOPFile(seconds), decision.clock,       decision.sourcePackets,
                                      kFrame / 2,           decision.audioCodecs, decision.videoCodec};
    const fs::path list = workFolder() / "ranges.ffconcat";
    std::ofstream(list) << tidyreel::rangeListText(source, decision.ranges);
    const fs::path output = workFolder() / "run_alone.mov";
    tidyreel::ExportContext context;
    for (auto _ : state) {
        state.PauseTiming();
        fs::remove(output);
        warmUp(longGOPFile(seconds));
        state.ResumeTiming();
        tidyreel::runFFmpeg(tidyreel::seekingCopyArguments(source, decision.ranges, list, output), "Trim",
                            std::nullopt, context);
        shell("sync");
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                            static_cast<int64_t>(fs::file_size(output)));
}

// cp of the file the stream copy wrote, made durable like it (sync) for a fair comparison.
void plainCpOfTheWrittenBytes(benchmark::State& state) {
    const fs::path written = copyOutput(static_cast<int>(state.range(0)));
    const fs::path target = workFolder() / "cp.mov";
    for (auto _ : state) {
        state.PauseTiming();
        fs::remove(target);
        warmUp(written);
        state.ResumeTiming();
        shell("cp '" + written.string() + "' '" + target.string() + "' && sync");
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                            static_cast<int64_t>(fs::file_size(written)));
}

void libx265Cut(benchmark::State& state) {
    tidyreel::ExportContext context;
    const int seconds = static_cast<int>(state.range(0));
    const tidyreel::TrimPlan plan = benchPlan(seconds);
    for (auto _ : state) {
        // As a trim does: each segment read from the keyframe its first frame decodes from.
        std::vector<tidyreel::SegmentCut> cuts;
        for (const tidyreel::HalfOpenRange& segment : plan.segments) {
            cuts.push_back({segment, tidyreel::decodeStart(longGOPFile(seconds), {}, segment.start)});
        }
        tidyreel::runFFmpeg(
            tidyreel::x265Arguments(longGOPFile(seconds), workFolder() / "x265.mov", cuts, kFrame, true),
            "Trim", std::nullopt, context);
    }
}

// Tool processes run outside this process: wall-clock time is what counts.
BENCHMARK(streamCopyCut)->Arg(120)->Arg(600)->Unit(benchmark::kMillisecond)->Iterations(3)->UseRealTime();
BENCHMARK(ffmpegCopyRunAlone)->Arg(600)->Unit(benchmark::kMillisecond)->Iterations(3)->UseRealTime();
BENCHMARK(plainCpOfTheWrittenBytes)->Arg(600)->Unit(benchmark::kMillisecond)->Iterations(3)->UseRealTime();
BENCHMARK(libx265Cut)->Arg(120)->Unit(benchmark::kMillisecond)->Iterations(1)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
