#include "cli/cli_support.h"

#include "platform/process_runner.h"

namespace tidyreel::test {

CommandResult runTidyreel(const std::vector<std::string>& arguments, const IsolatedUserFolders& folders) {
    const ScopedEnvironment config("XDG_CONFIG_HOME", folders.configHome().string());
    const ScopedEnvironment data("XDG_DATA_HOME", folders.dataHome().string());
    CommandResult result;
    const ProcessResult run =
        runProcess({TIDYREEL_BINARY, arguments, std::nullopt, true,
                    [&](std::string_view chunk) { result.standardError.append(chunk); }, nullptr});
    result.exitStatus = run.exitStatus;
    result.standardOutput = run.standardOutput;
    return result;
}

}  // namespace tidyreel::test
