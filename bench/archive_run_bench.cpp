// The archive run beyond its tool processes, the whole-file copy against plain cp, the cost of cutting
// near the end of a long file against near its start, and the timing rewrite as projects grow.
#include "archive/media/encoder_profile.h"
#include "archive/media/tool_runner.h"
#include "archive/media/video_packets.h"
#include "archive/planning/timing_rewrite.h"
#include "bench_files.h"
#include "core/export_pipeline.h"
#include "fcpxml/media_path.h"
#include "fcpxml/xml.h"
#include "large_project.h"
#include "platform/process_runner.h"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>

namespace {

namespace fs = std::filesystem;

const fs::path& workFolder() {
    static const fs::path folder = tidyreel::bench::benchFolder("tidyreel-archive-run-bench");
    return folder;
}

using tidyreel::bench::shell;

// A project of `assets` tiny media files, each used by its clips like a feature's rushes.
fs::path archiveProject(int assets) {
    const fs::path project = workFolder() / ("project-" + std::to_string(assets) + ".fcpxml");
    if (fs::exists(project)) {
        return project;
    }
    const fs::path media = workFolder() / "media";
    fs::create_directories(media);
    std::string text = tidyreel::bench::largeProject(assets * 25, assets, media.string());
    for (int asset = 0; asset < assets; ++asset) {
        const fs::path card = media / ("Card" + std::to_string(asset % 7));
        fs::create_directories(card);
        std::ofstream(card / fmt::format("C{:04}.MOV", asset)) << "rushes " << asset;
    }
    std::ofstream(project) << text;
    return project;
}

// Stand-in tools that answer at once: the run's own work is what remains.
tidyreel::ToolPaths installStandInTools() {
    const fs::path bin = workFolder() / "bin";
    fs::create_directories(bin);
    std::ofstream(bin / "ffmpeg") << "#!/bin/sh\nfor last; do :; done\necho cut > \"$last\"\n";
    std::ofstream(bin / "ffprobe")
        << "#!/bin/sh\necho "
           "'{\"streams\":[{\"codec_name\":\"h264\",\"codec_tag_string\":\"avc1\",\"start_pts\":0,"
           "\"time_base\":\"1/30000\",\"duration_ts\":9009000}]}'\n";
    fs::permissions(bin / "ffmpeg", fs::perms::owner_all);
    fs::permissions(bin / "ffprobe", fs::perms::owner_all);
    return {bin / "ffmpeg", bin / "ffprobe"};
}

std::vector<std::string> runArchive(const fs::path& project, const tidyreel::ToolPaths& tools,
                                    int& toolRuns) {
    const fs::path output = workFolder() / "out";
    fs::remove_all(output);
    fs::create_directories(output);
    tidyreel::PipelineRequest request;
    request.actionType = tidyreel::ExportActionType::archiving;
    request.sourceURL = project;
    request.settings.outputDirectory = output;
    request.settings.includedRoles = {"Interview", "B-Roll", "Drone", "GoPro", "Titles-Cam"};
    request.settings.tools = tools;
    std::vector<std::string> lines;
    tidyreel::PipelineCallbacks callbacks;
    callbacks.logger = [&](tidyreel::LogEntryType, const std::string& message) {
        lines.push_back(message);
        // Every tool process the run starts is announced by a line of its own.
        toolRuns +=
            message.starts_with("  → COPY: ") || message.find(": ffmpeg ") != std::string::npos ? 1 : 0;
    };
    tidyreel::runExportPipeline(request, callbacks);
    return lines;
}

// The whole run with stand-in tools; the counter "tools" tells how many processes it started, and
// toolProcess below measures what that many processes cost on their own.
void archiveRun(benchmark::State& state) {
    const tidyreel::ToolPaths tools = installStandInTools();
    const fs::path project = archiveProject(static_cast<int>(state.range(0)));
    int toolRuns = 0;
    for (auto _ : state) {
        toolRuns = 0;
        benchmark::DoNotOptimize(runArchive(project, tools, toolRuns));
    }
    state.counters["tools"] = toolRuns;
}

void toolProcess(benchmark::State& state) {
    const fs::path file = workFolder() / "one-file";
    std::ofstream(file) << "rushes";
    tidyreel::ProcessRequest copy;
    copy.executable = "/bin/cp";
    copy.arguments = {file.string(), (workFolder() / "copy").string()};
    for (auto _ : state) {
        tidyreel::runProcess(copy);
    }
}

const fs::path& bigFile() {
    static const fs::path file = [] {
        const fs::path path = workFolder() / "big.bin";
        shell("head -c 1000000000 /dev/urandom > '" + path.string() + "'");
        return path;
    }();
    return file;
}

void copyWithRunCopy(benchmark::State& state) {
    tidyreel::ExportContext context;
    const fs::path& source = bigFile();
    const fs::path target = workFolder() / "big-copy.bin";
    for (auto _ : state) {
        fs::remove(target);
        tidyreel::runCopy(source, target, context,
                          state.range(0) ? tidyreel::ToolProgress([](double) {}) : tidyreel::ToolProgress());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * fs::file_size(bigFile())));
}

void copyWithPlainCp(benchmark::State& state) {
    const fs::path& source = bigFile();
    const fs::path target = workFolder() / "big-copy.bin";
    for (auto _ : state) {
        fs::remove(target);
        shell("cp '" + source.string() + "' '" + target.string() + "'");
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * fs::file_size(bigFile())));
}

// Ten minutes of 640x360 video: long enough that decoding from the start would show.
const fs::path& longFile() {
    static const fs::path file = [] {
        const fs::path path = workFolder() / "long.mov";
        if (!fs::exists(path)) {
            shell(
                "ffmpeg -nostdin -v error -y -f lavfi -i testsrc2=size=640x360:rate=25:duration=600 "
                "-c:v libx264 -preset ultrafast -g 50 '" +
                path.string() + "'");
        }
        return path;
    }();
    return file;
}

void cutThreeSeconds(benchmark::State& state) {
    tidyreel::ExportContext context;
    const tidyreel::Rational start(state.range(0));
    const tidyreel::HalfOpenRange segment{start, start + 3};
    const fs::path& source = longFile();
    for (auto _ : state) {
        // As a trim does: find the keyframe to read from, then cut.
        const std::vector<tidyreel::SegmentCut> cut{{segment, tidyreel::decodeStart(source, {}, start)}};
        tidyreel::runFFmpeg(
            tidyreel::x265Arguments(source, workFolder() / "cut.mov", cut, tidyreel::Rational(1, 25), false),
            "Trim", std::nullopt, context);
    }
}

// The rewrite of a project whose every asset was trimmed to two segments.
void timingRewrite(benchmark::State& state) {
    const int assets = static_cast<int>(state.range(0));
    const std::string text = tidyreel::bench::largeProject(assets * 25, assets);
    std::map<std::string, tidyreel::TrimmedAsset> trimmed;
    for (int asset = 0; asset < assets; ++asset) {
        const std::string id = "r" + std::to_string(asset + 2);
        tidyreel::TrimPlan plan{id,   "/m/a.mov", "file:///m/a.mov",
                                1800, true,       {{0, 900}, {920, 1800}},
                                {},   0,          tidyreel::Rational(1001, 30000)};
        trimmed.emplace(id, tidyreel::TrimmedAsset{plan, "/m/a_trimmed.mov", {0, 0}});
    }
    tidyreel::ExportContext context;
    std::vector<std::string> lines;
    context.logger = [&](tidyreel::LogEntryType, const std::string& message) { lines.push_back(message); };
    for (auto _ : state) {
        state.PauseTiming();
        const auto document = tidyreel::XmlDocument::parse(text);
        lines.clear();
        state.ResumeTiming();
        tidyreel::rewriteTiming(trimmed, *document, context,
                                [](const fs::path&) { return tidyreel::Rational(1780); });
    }
}

// Tool processes run outside this process: wall-clock time is what counts.
BENCHMARK(archiveRun)->Arg(200)->Arg(400)->Unit(benchmark::kMillisecond)->Iterations(3)->UseRealTime();
BENCHMARK(toolProcess)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(copyWithRunCopy)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->Iterations(3)->UseRealTime();
BENCHMARK(copyWithPlainCp)->Unit(benchmark::kMillisecond)->Iterations(3)->UseRealTime();
BENCHMARK(cutThreeSeconds)->Arg(5)->Arg(590)->Unit(benchmark::kMillisecond)->Iterations(3)->UseRealTime();
BENCHMARK(timingRewrite)->Arg(1000)->Arg(2000)->Arg(4000)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
