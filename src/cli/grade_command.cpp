#include "cli/cli_session.h"

#include <memory>

namespace tidyreel::cli {

void registerGradeCommand(CLI::App& app, int& exitStatus) {
    struct Options {
        CommonOptions common;
        std::string project;
        std::string outputDirectory;
    };
    auto options = std::make_shared<Options>();
    CLI::App* command =
        app.add_subcommand("grade", "Colour grading by role: write a dated copy with the effects");
    command->add_option("PROJECT", options->project, "An .fcpxml file or .fcpxmld bundle")->required();
    command->add_option("-o,--output", options->outputDirectory,
                        "Output folder (remembered; default: the remembered folder)");
    addCommonOptions(*command, options->common);
    command->callback([options, &exitStatus] {
        CliSession session(options->common);
        if (!options->outputDirectory.empty() && !session.chooseOutputFolder(options->outputDirectory)) {
            exitStatus = exitUsage;
            return;
        }
        session.controller().loadFile(options->project);
        session.controller().startColorGrading();
        exitStatus = CliSession::exitStatusOf(session.controller().colorGradingStatus());
    });
}

}  // namespace tidyreel::cli
