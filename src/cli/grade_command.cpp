#include "cli/cli_session.h"

#include "base/language.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <iostream>
#include <memory>
#include <utility>
#include <vector>

namespace tidyreel::cli {
namespace {

/// One `--effect ROLE=FILE`: the role is everything before the first "=", so a file may contain one.
std::pair<std::string, std::string> splitAssignment(const std::string& text) {
    const std::size_t equals = text.find('=');
    return {text.substr(0, equals), text.substr(equals + 1)};
}

std::string validateAssignment(const std::string& text) {
    const std::size_t equals = text.find('=');
    if (equals == std::string::npos || equals == 0 || equals + 1 == text.size()) {
        return localized("erwartet ROLLE=DATEI, erhalten: ", "expected ROLE=FILE, got: ") + text;
    }
    return {};
}

bool hasRole(const ContentViewModel& controller, const std::string& role) {
    return std::any_of(controller.videoRoles().begin(), controller.videoRoles().end(),
                       [&](const VideoRole& candidate) { return candidate.name == role; });
}

// A drop can only land on a role the project has; a typed role name is checked the same way, so that
// a typo neither runs without the effect nor replaces the remembered assignments.
bool rolesExist(const ContentViewModel& controller, const std::vector<std::string>& assignments) {
    for (const std::string& assignment : assignments) {
        const std::string role = splitAssignment(assignment).first;
        if (!hasRole(controller, role)) {
            std::vector<std::string> names;
            for (const VideoRole& known : controller.videoRoles()) {
                names.push_back(known.name);
            }
            std::cerr << fmt::format(
                "{}: {} ({}: {})\n", localized("Unbekannte Rolle", "Unknown role"), role,
                localized("Rollen im Projekt", "roles in the project"),
                names.empty() ? localized("keine", "none") : fmt::format("{}", fmt::join(names, ", ")));
            return false;
        }
    }
    return true;
}

}  // namespace

void registerGradeCommand(CLI::App& app, int& exitStatus) {
    struct Options {
        WorkflowOptions workflow;
        std::vector<std::string> effects;
    };
    auto options = std::make_shared<Options>();
    CLI::App* command =
        app.add_subcommand("grade", "Colour grading by role: write a dated copy with the effects");
    addWorkflowOptions(*command, options->workflow);
    command
        ->add_option("--effect", options->effects,
                     "Assign an effect (.moef or .effectspreset) to a role, remembered for later projects")
        ->type_name("ROLE=FILE")
        ->check(CLI::Validator(validateAssignment, ""));
    command->callback([options, &exitStatus] {
        CliSession session(options->workflow.common);
        if (!session.applyOutputOption(options->workflow.outputDirectory)) {
            exitStatus = exitUsage;
            return;
        }
        ContentViewModel& controller = session.controller();
        controller.loadFile(options->workflow.project);
        if (controller.xmlDocument() && !options->effects.empty()) {
            if (!rolesExist(controller, options->effects)) {
                exitStatus = exitUsage;
                return;
            }
            for (const std::string& assignment : options->effects) {
                const auto [role, file] = splitAssignment(assignment);
                if (!controller.assignEffect(role, file)) {
                    exitStatus = exitWorkflowFailed;
                    return;
                }
            }
        }
        controller.startColorGrading();
        exitStatus = session.runExitStatus();
    });
}

}  // namespace tidyreel::cli
