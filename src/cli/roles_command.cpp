#include "cli/cli_session.h"

#include <memory>

namespace tidyreel::cli {

void registerRolesCommand(CLI::App& app, int& exitStatus) {
    struct Options {
        CommonOptions common;
        std::string project;
    };
    auto options = std::make_shared<Options>();
    CLI::App* command =
        app.add_subcommand("roles", "List the video roles of a project and their clip counts");
    command->add_option("PROJECT", options->project, "An .fcpxml file or .fcpxmld bundle")->required();
    addCommonOptions(*command, options->common);
    command->callback([options, &exitStatus] {
        CliSession session(options->common);
        session.controller().loadFile(options->project);
        exitStatus = session.controller().xmlDocument() ? exitSuccess : exitWorkflowFailed;
    });
}

}  // namespace tidyreel::cli
