#include "archive/media/clean_starts.h"

#include "archive/media/encoder_profile.h"
#include "archive/media/tool_runner.h"
#include "platform/process_runner.h"

#include <fmt/format.h>

namespace tidyreel {
namespace {

bool decodesCleanly(const std::filesystem::path& file, const std::vector<Rational>& starts,
                    const ProbeSetup& setup) {
    ProcessRequest request;
    request.executable = locateFFmpeg(setup.tools);
    request.arguments = {"-nostdin", "-v", "error"};
    for (const Rational start : starts) {
        request.arguments.insert(request.arguments.end(), {"-ss", seekSeconds(start, SeekRounding::up), "-t",
                                                           "0.25", "-i", file.string()});
    }
    for (std::size_t i = 0; i < starts.size(); ++i) {
        request.arguments.insert(request.arguments.end(), {"-map", fmt::format("{}:v:0", i)});
    }
    request.arguments.insert(request.arguments.end(), {"-f", "null", "-"});
    request.stopToken = setup.stopToken;
    bool complained = false;
    request.standardErrorChunk = [&](std::string_view chunk) { complained = complained || !chunk.empty(); };
    return runProcess(request).exitStatus == 0 && !complained;
}

}  // namespace

std::vector<std::size_t> startsThatComplain(const std::filesystem::path& file,
                                            const std::vector<Rational>& starts, const ProbeSetup& setup) {
    std::vector<std::size_t> complaining;
    if (starts.empty() || decodesCleanly(file, starts, setup)) {
        return complaining;
    }
    for (std::size_t i = 0; i < starts.size(); ++i) {
        if (starts.size() == 1 || !decodesCleanly(file, {starts[i]}, setup)) {
            complaining.push_back(i);
        }
    }
    return complaining;
}

}  // namespace tidyreel
