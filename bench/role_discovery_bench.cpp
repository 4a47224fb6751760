// Role discovery against a bare libxml2 parse of the same bytes (the floor any discovery pays).
#include "fcpxml/role_discovery.h"
#include "large_project.h"

#include <benchmark/benchmark.h>
#include <libxml/parser.h>

namespace {

const std::string& project(int clips) {
    static std::map<int, std::string> projects;
    auto [it, added] = projects.try_emplace(clips);
    if (added) {
        it->second = tidyreel::bench::largeProject(clips, std::max(1, clips / 25));
    }
    return it->second;
}

void bareParse(benchmark::State& state) {
    const std::string& xml = project(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        xmlDocPtr doc =
            xmlReadMemory(xml.data(), static_cast<int>(xml.size()), nullptr, nullptr, XML_PARSE_NONET);
        benchmark::DoNotOptimize(doc);
        xmlFreeDoc(doc);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * xml.size()));
}

void roleDiscovery(benchmark::State& state) {
    const std::string& xml = project(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        const auto document = tidyreel::XmlDocument::parse(xml);
        benchmark::DoNotOptimize(tidyreel::discoverVideoRoles(*document));
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * xml.size()));
}

BENCHMARK(bareParse)->Arg(50'000)->Unit(benchmark::kMillisecond);
BENCHMARK(roleDiscovery)->Arg(50'000)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
