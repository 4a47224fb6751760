#include "cli/cli_session.h"

#include "base/error.h"
#include "base/language.h"
#include "cli/stop_signals.h"
#include "platform/system_paths.h"

#include <fmt/format.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <iostream>

namespace tidyreel::cli {

CliSession::CliSession(const CommonOptions& options)
    : controller_([&] {
          setPreferredLanguages(options.language.empty() ? systemPreferredLanguages()
                                                         : std::vector<std::string>{options.language});
          return RunMode::blocking;
      }()) {
    // Lines logged while the controller was being built (start line, bookmark problems) come first.
    for (const LogEntry& entry : controller_.logEntries()) {
        printLogLine(entry);
    }
    ContentViewModel::Observer observer;
    observer.logAdded = [this](const LogEntry& entry) {
        endProgressLine();
        printLogLine(entry);
    };
    observer.progressChanged = [this](const ProcessingProgress& progress) { printProgress(progress); };
    controller_.setObserver(std::move(observer));
    controller_.setDebugMode(options.verbose);
    StopSignals::setStopHandler([this] { return controller_.cancelRun(); });
}

CliSession::~CliSession() {
    StopSignals::setStopHandler({});
}

bool CliSession::chooseOutputFolder(const std::filesystem::path& folder) {
    if (const std::optional<std::filesystem::path>& source = controller_.selectedFileURL()) {
        try {
            refuseOutputInsideSourceBundle(*source, std::filesystem::absolute(folder));
        } catch (const std::exception& error) {
            std::cerr << error.what() << '\n';
            return false;
        }
    }
    std::error_code status;
    std::filesystem::create_directories(folder, status);
    if (status || !std::filesystem::is_directory(folder)) {
        std::cerr << localized("Zielordner kann nicht angelegt werden: ", "Cannot create output folder: ")
                  << folder.string() << (status ? " (" + status.message() + ")" : "") << '\n';
        return false;
    }
    controller_.chooseOutputFolder(std::filesystem::absolute(folder).lexically_normal());
    return true;
}

int CliSession::runExitStatus() const {
    const std::optional<Error>& failure = controller_.lastRunError();
    if (!failure) {
        return exitSuccess;
    }
    if (isCancellation(*failure)) {
        // A run stopped by a signal ends the way the shell expects of a program the signal ended; only a
        // signal stops a run of the command line, SIGINT stands in should none be recorded.
        const int signal = StopSignals::received();
        return 128 + (signal != 0 ? signal : SIGINT);
    }
    return exitWorkflowFailed;
}

void CliSession::printLogLine(const LogEntry& entry) {
    std::cout << copyLogLine(entry) << std::endl;
}

void CliSession::printProgress(const ProcessingProgress& progress) {
    if (!isatty(STDERR_FILENO) || progress.total <= 0) {
        return;
    }
    constexpr int width = 30;
    const double share = completedShare(progress);
    const int filled = static_cast<int>(share * width);
    std::cerr << fmt::format("\r\033[K[{}{}] {:3}% {}", std::string(static_cast<std::size_t>(filled), '#'),
                             std::string(static_cast<std::size_t>(width - filled), ' '),
                             static_cast<int>(share * 100), progressCaption(progress))
              << std::flush;
    progressLineOpen_ = true;
}

void CliSession::endProgressLine() {
    if (progressLineOpen_) {
        std::cerr << "\r\033[K" << std::flush;
        progressLineOpen_ = false;
    }
}

void addCommonOptions(CLI::App& command, CommonOptions& options) {
    command.add_option("--lang", options.language, "Language of the texts (default: the system's)")
        ->check(CLI::IsMember({"de", "en"}));
    command.add_flag("--verbose", options.verbose, "Also print the developer's DEBUG: lines of a run");
}

void addWorkflowOptions(CLI::App& command, WorkflowOptions& options) {
    command.add_option("PROJECT", options.project, "An .fcpxml file or .fcpxmld bundle")->required();
    command.add_option("-o,--output", options.outputDirectory,
                       "Output folder (remembered; default: the remembered folder)");
    addCommonOptions(command, options.common);
}

}  // namespace tidyreel::cli
