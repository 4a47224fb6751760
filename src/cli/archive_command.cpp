#include "cli/cli_session.h"

#include "archive/media/archive_report.h"
#include "archive/media/encoder_profile.h"
#include "archive/media/planned_cuts.h"
#include "archive/planning/archive_planning.h"
#include "archive/planning/plan_table.h"
#include "base/language.h"
#include "platform/settings_store.h"

#include <fmt/format.h>

#include <charconv>
#include <cmath>
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
        try {
            SettingsStore::setString("encoder", options.encoder);
        } catch (const std::exception& error) {
            controller.addLog(LogEntryType::error, error.what());
        }
    }
}

// The planning half on a fresh copy of the project, logged through the controller; nothing is written.
int dryRun(ContentViewModel& controller) {
    const std::optional<ArchivePlanning> planning = controller.planArchiving();
    if (!planning) {
        return exitWorkflowFailed;
    }
    std::cout << '\n' << formatPlanTable(*planning, planCuts(*planning, controller.runSettings()));
    for (const AssetDecision* decision : unavailableSources(*planning)) {
        controller.addLog(LogEntryType::warning, "⚠️ " + localized("Quelle", "Source") + " " +
                                                     sourceStateText(decision->source) + ": " +
                                                     decision->path);
    }
    return exitSuccess;
}

// "nan" and "inf" pass CLI11's own positive-number check; a trim handle must be a real length.
CLI::Validator finitePositiveNumber() {
    return CLI::Validator(
        [](std::string& text) -> std::string {
            double value = 0;
            const char* end = text.data() + text.size();
            const auto parsed = std::from_chars(text.data(), end, value);
            if (parsed.ec != std::errc{} || parsed.ptr != end || !std::isfinite(value) || value <= 0) {
                return "Value " + text + " is not a positive number of seconds";
            }
            return {};
        },
        "POSITIVE");
}

// Only the encoders this platform has: a profile that fails every cut must not be chosen, let alone
// remembered.
std::vector<std::string> availableEncoderNames() {
    std::vector<std::string> names;
    for (const EncoderProfile profile : kEncoderProfiles) {
        if (isEncoderProfileAvailable(profile)) {
            names.emplace_back(encoderProfileName(profile));
        }
    }
    return names;
}

}  // namespace

void registerArchiveCommand(CLI::App& app, int& exitStatus) {
    auto options = std::make_shared<ArchiveOptions>();
    CLI::App* command = app.add_subcommand(
        "archive", "Trim the used media into a self-contained archive bundle (or plan it with --dry-run)");
    addWorkflowOptions(*command, options->workflow);
    command->add_option("--roles", options->roles, "Included video roles, comma-separated (default: all)");
    command->add_option("--buffer", options->buffer, "Trim handle in seconds (remembered)")
        ->check(finitePositiveNumber());
    command->add_option("--min-segment", options->minSegment, "Minimum media length in seconds (remembered)")
        ->check(finitePositiveNumber());
    command
        ->add_option("--encoder", options->encoder,
                     fmt::format("Encoder profile (remembered; default: {})",
                                 encoderProfileName(defaultEncoderProfile())))
        ->check(CLI::IsMember(availableEncoderNames()));
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
        exitStatus = session.runExitStatus();
        if (exitStatus == exitSuccess && controller.lastArchiveReport()) {
            std::cout << archiveReportLine(*controller.lastArchiveReport()) << std::endl;
        }
    });
}

}  // namespace tidyreel::cli
