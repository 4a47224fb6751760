#pragma once

#include "core/content_view_model.h"

#include <CLI/CLI.hpp>

#include <filesystem>
#include <optional>
#include <string>

namespace tidyreel::cli {

/// Exit statuses of the command line.
enum ExitStatus { exitSuccess = 0, exitWorkflowFailed = 1, exitUsage = 2 };

/// Options every command shares.
struct CommonOptions {
    std::string language;  ///< "de" or "en"; empty: the system's preferred languages
    bool verbose = false;  ///< also print the runs' "DEBUG: " lines
};

/// A controller that runs in the foreground and prints every log line as it arrives.
class CliSession {
public:
    explicit CliSession(const CommonOptions& options);
    ~CliSession();
    CliSession(const CliSession&) = delete;
    CliSession& operator=(const CliSession&) = delete;

    /// The controller the command drives.
    ContentViewModel& controller() { return controller_; }
    /// Makes `folder` the output folder as the folder panel would (creating it when missing);
    /// false, with a message on standard error, when that is impossible.
    bool chooseOutputFolder(const std::filesystem::path& folder);
    /// Applies the `-o` option: chooses `folder` when one is given; false when it cannot be made.
    bool applyOutputOption(const std::string& folder) { return folder.empty() || chooseOutputFolder(folder); }
    /// The exit status of the last run, from the error the controller kept: 0 without one, 128 + the
    /// signal when a signal stopped the run, 1 for any other failure.
    int runExitStatus() const;

private:
    static void printLogLine(const LogEntry& entry);
    void printProgress(const ProcessingProgress& progress);
    void endProgressLine();

    ContentViewModel controller_;
    bool progressLineOpen_ = false;
};

/// What every workflow command takes: the project, the output folder and the common options.
struct WorkflowOptions {
    CommonOptions common;         ///< `--lang`
    std::string project;          ///< PROJECT: an .fcpxml file or .fcpxmld bundle
    std::string outputDirectory;  ///< `-o`; empty: the remembered folder
};

/// Adds the `--lang` and `--verbose` options to a command.
void addCommonOptions(CLI::App& command, CommonOptions& options);
/// Adds PROJECT, `-o,--output` and the common options to a workflow command.
void addWorkflowOptions(CLI::App& command, WorkflowOptions& options);

/// `tidyreel roles PROJECT`: lists the roles and their clip counts.
void registerRolesCommand(CLI::App& app, int& exitStatus);
/// `tidyreel grade PROJECT [-o DIR] [--effect ROLE=FILE]...`: the colour grading workflow.
void registerGradeCommand(CLI::App& app, int& exitStatus);
/// `tidyreel effects [--clear]`: lists (or deletes) the remembered role effect assignments.
void registerEffectsCommand(CLI::App& app, int& exitStatus);
/// `tidyreel describe PROJECT [-o DIR] [--chapters] [--descriptions] [--description1/2 TEXT]`: descriptions.
void registerDescribeCommand(CLI::App& app, int& exitStatus);
/// `tidyreel archive PROJECT [-o DIR] [--dry-run]`: the archive workflow and its report, or its plan only.
void registerArchiveCommand(CLI::App& app, int& exitStatus);
/// `tidyreel install-titles FOLDER` and `tidyreel install-effect FOLDER`: the template installers.
void registerInstallCommands(CLI::App& app, int& exitStatus);
/// `verify BUNDLE`: the archive's self-check on a bundle, one line per problem.
void registerVerifyCommand(CLI::App& app, int& exitStatus);

}  // namespace tidyreel::cli
