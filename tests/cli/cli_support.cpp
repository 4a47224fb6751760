#include "cli/cli_support.h"

#include "platform/process_runner.h"

namespace tidyreel::test {

namespace {

CommandResult runWithUserFolders(const std::filesystem::path& executable,
                                 const std::vector<std::string>& arguments,
                                 const IsolatedUserFolders& folders,
                                 const std::function<void()>& whileRunning) {
    const ScopedEnvironment config("XDG_CONFIG_HOME", folders.configHome().string());
    const ScopedEnvironment data("XDG_DATA_HOME", folders.dataHome().string());
    CommandResult result;
    ProcessRequest request;
    request.executable = executable;
    request.arguments = arguments;
    request.captureStandardOutput = true;
    request.standardErrorChunk = [&](std::string_view chunk) { result.standardError.append(chunk); };
    request.whileRunning = whileRunning;
    const ProcessResult run = runProcess(request);
    result.exitStatus = run.exitStatus;
    result.standardOutput = run.standardOutput;
    return result;
}

}  // namespace

CommandResult runTidyreel(const std::vector<std::string>& arguments, const IsolatedUserFolders& folders,
                          const std::function<void()>& whileRunning) {
    return runWithUserFolders(TIDYREEL_BINARY, arguments, folders, whileRunning);
}

CommandResult runTidyreelOnFullDisk(const std::vector<std::string>& arguments,
                                    const IsolatedUserFolders& folders) {
    // SIGXFSZ ignored: a write beyond the limit then fails with EFBIG instead of ending the process.
    std::vector<std::string> wrapped{"-c", "ulimit -f 0; trap '' XFSZ; exec \"$0\" \"$@\"", TIDYREEL_BINARY};
    wrapped.insert(wrapped.end(), arguments.begin(), arguments.end());
    return runWithUserFolders("/bin/sh", wrapped, folders, {});
}

}  // namespace tidyreel::test
