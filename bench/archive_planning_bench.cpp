// The archive dry run (reading, usage analysis and segment planning) against a bare libxml2 parse of
// the same file; both read the file from disk and free the document.
#include "archive/planning/archive_planning.h"
#include "fcpxml/xml.h"
#include "large_project.h"

#include <benchmark/benchmark.h>
#include <libxml/parser.h>

#include <filesystem>
#include <fstream>
#include <map>

namespace {

const std::filesystem::path& projectFile(int clips) {
    static std::map<int, std::filesystem::path> files;
    auto [it, added] = files.try_emplace(clips);
    if (added) {
        it->second = std::filesystem::temp_directory_path() /
                     ("tidyreel-archive-bench-" + std::to_string(clips) + ".fcpxml");
        std::ofstream(it->second, std::ios::binary) << tidyreel::bench::largeProject(clips, clips / 25);
    }
    return it->second;
}

void bareParse(benchmark::State& state) {
    const std::string file = projectFile(static_cast<int>(state.range(0))).string();
    for (auto _ : state) {
        xmlDocPtr doc = xmlReadFile(file.c_str(), nullptr, XML_PARSE_NONET);
        benchmark::DoNotOptimize(doc);
        xmlFreeDoc(doc);
    }
}

// Every line is kept, as the command line's log keeps it.
void archiveDryRun(benchmark::State& state) {
    const std::filesystem::path& file = projectFile(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        tidyreel::ExportContext context;
        context.xmlDocument = tidyreel::XmlDocument::load(file);
        context.settings.includedRoles = {"Interview", "B-Roll", "Drone", "GoPro", "Titles-Cam"};
        std::vector<std::string> lines;
        context.logger = [&lines](tidyreel::LogEntryType, const std::string& message) {
            lines.push_back(message);
        };
        benchmark::DoNotOptimize(tidyreel::planArchive(context));
    }
}

BENCHMARK(bareParse)->Arg(50'000)->Arg(100'000)->Unit(benchmark::kMillisecond);
BENCHMARK(archiveDryRun)->Arg(50'000)->Arg(100'000)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
