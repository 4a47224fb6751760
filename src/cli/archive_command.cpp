#include "cli/cli_session.h"

#include "archive/media/archive_report.h"
#include "archive/media/encoder_profile.h"
#include "archive/planning/archive_planning.h"
#include "archive/planning/plan_table.h"
#include "base/language.h"
#include "platform/settings_store.h"

#include <fmt/format.h>

#include <iostream>
#include <memory>
#include <sstream>

namespace tidyreel::cli {
namespace {

struct ArchiveOptions {
    WorkflowOptions workflow;
    std::string roles;
    std::optional<double> buffer;
    std::optional<double> minSegment;
    std::string encoder;
    bool dryRun = false;
    bool allowOffline = false;
};

std::set<std::string> splitRoles(const std::string& text) {
    std::set<std::string> roles;
    std::istringstream stream(text);
    std::string role;
    while (std::getline(stream, role, ',')) {
        if (!role.empty()) {
            roles.insert(role);
        }
    }
    return roles;
}

void applySettings(ContentViewModel& controller, const ArchiveOptions& options) {
    if (options.buffer) {
        controller.setBuffer(*options.buffer);
    }
    if (options.minSegment) {
        controller.setMinSegment(*options.minSegment);
    }
    if (!options.roles.empty()) {
        controller.setIncludedRoles(splitRoles(options.roles));
    }
    if (!options.encoder.empty()) {
        SettingsStore::setString("encoder", options.encoder);
    }
}

// The planning half on a fresh copy of the project, logged through the controller; nothing is written.
int dryRun(ContentViewModel& controller) {
    const std::optional<ArchivePlanning> planning = controller.planArchiving();
    if (!planning) {
        return exitWorkflowFailed;
    }
    std::cout << '\n' << formatPlanTable(*planning);
    for (const AssetDecision* decision : unavailableSources(*planning)) {
        controller.addLog(LogEntryType::warning,
                          "⚠️ Quelle " + sourceStateText(decision->source) + ": " + decision->path);
    }
    return exitSuccess;
}

}  // namespace

void registerArchiveCommand(CLI::App& app, int& exitStatus) {
    auto options = std::make_shared<ArchiveOptions>();
    CLI::App* command = app.add_subcommand(
        "archive", "Trim the used media into a self-contained archive bundle (or plan it with --dry-run)");
    addWorkflowOptions(*command, options->workflow);
    command->add_option("--roles", options->roles, "Included video roles, comma-separated (default: all)");
    command->add_option("--buffer", options->buffer, "Trim handle in seconds (remembered)")
        ->check(CLI::PositiveNumber);
    command->add_option("--min-segment", options->minSegment, "Minimum media length in seconds (remembered)")
        ->check(CLI::PositiveNumber);
    command
        ->add_option("--encoder", options->encoder,
                     fmt::format("Encoder profile (remembered; default: {})",
                                 encoderProfileName(defaultEncoderProfile())))
        ->check(CLI::IsMember({std::string(encoderProfileName(EncoderProfile::libx265)),
                               std::string(encoderProfileName(EncoderProfile::hevcVideoToolbox))}));
    command->add_flag("--dry-run", options->dryRun, "Analyse and plan only; create and write nothing");
    command->add_flag("--allow-offline", options->allowOffline,
                      "Archive without missing sources (each is named in a warning) instead of failing");
    command->callback([options, &exitStatus] {
        CliSession session(options->workflow.common);
        ContentViewModel& controller = session.controller();
        controller.loadFile(options->workflow.project);
        if (!controller.xmlDocument()) {
            exitStatus = exitWorkflowFailed;
            return;
        }
        applySettings(controller, *options);
        controller.setAllowOffline(options->allowOffline);
        if (options->dryRun) {
            exitStatus = dryRun(controller);
            return;
        }
        if (!session.applyOutputOption(options->workflow.outputDirectory)) {
            exitStatus = exitUsage;
            return;
        }
        controller.startArchiving();
        exitStatus = CliSession::exitStatusOf(controller.archivingStatus());
        if (exitStatus == exitSuccess && controller.lastArchiveReport()) {
            std::cout << archiveReportLine(*controller.lastArchiveReport()) << std::endl;
        }
    });
}

}  // namespace tidyreel::cli
