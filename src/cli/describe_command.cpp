#include "cli/cli_session.h"

#include "base/language.h"

#include <iostream>
#include <memory>

namespace tidyreel::cli {
namespace {

struct DescribeOptions {
    WorkflowOptions workflow;
    bool chapters = false;
    bool descriptions = false;
    std::string description1;
    std::string description2;
    const CLI::Option* description1Option = nullptr;
    const CLI::Option* description2Option = nullptr;
};

// The two switches are the window's two check boxes: given, they set both (and are remembered);
// without either the remembered choice applies, as in the window.
void applySwitches(ContentViewModel& controller, const DescribeOptions& options) {
    if (options.chapters || options.descriptions) {
        controller.setExportChapterMarkers(options.chapters);
        controller.setExportVideoDescription(options.descriptions);
    }
    if (!controller.exportChapterMarkers() && !controller.exportVideoDescription()) {
        std::cerr << localized(
                         "Hinweis: Weder --chapters noch --descriptions ist gewählt, es wird keine Datei "
                         "geschrieben.",
                         "Note: neither --chapters nor --descriptions is chosen, no file will be written.")
                  << '\n';
    }
}

// Given texts replace the saved ones and are saved, as the settings sheet's Save does.
void applyDescriptionTexts(ContentViewModel& controller, const DescribeOptions& options) {
    const bool first = options.description1Option->count() > 0;
    const bool second = options.description2Option->count() > 0;
    if (first) {
        controller.setYoutubeDescription1(options.description1);
    }
    if (second) {
        controller.setYoutubeDescription2(options.description2);
    }
    if (first || second) {
        controller.saveVideoDescriptions();
    }
}

}  // namespace

void registerDescribeCommand(CLI::App& app, int& exitStatus) {
    auto options = std::make_shared<DescribeOptions>();
    CLI::App* command = app.add_subcommand(
        "describe", "Video description: write the chapter list and description texts for the upload");
    addWorkflowOptions(*command, options->workflow);
    command->add_flag("--chapters", options->chapters,
                      "Write the chapter list (with --descriptions: around the texts); remembered");
    command->add_flag("--descriptions", options->descriptions,
                      "Write the description texts; remembered. Without either switch the remembered "
                      "choice applies");
    options->description1Option = command->add_option(
        "--description1", options->description1, "First description text (saved; default: the saved text)");
    options->description2Option = command->add_option(
        "--description2", options->description2, "Second description text (saved; default: the saved text)");
    command->callback([options, &exitStatus] {
        CliSession session(options->workflow.common);
        if (!session.applyOutputOption(options->workflow.outputDirectory)) {
            exitStatus = exitUsage;
            return;
        }
        ContentViewModel& controller = session.controller();
        applySwitches(controller, *options);
        applyDescriptionTexts(controller, *options);
        controller.loadFile(options->workflow.project);
        controller.startVideoDescription();
        exitStatus = session.runExitStatus();
    });
}

}  // namespace tidyreel::cli
