#include "cli/cli_session.h"

#include "description/template_installer.h"
#include "grading/default_effect_installer.h"

#include <iostream>
#include <memory>

namespace tidyreel::cli {
namespace {

/// What distinguishes the two install commands.
struct Installer {
    const char* name;
    const char* help;
    TemplateFolderRule (*folderRule)();
    std::filesystem::path (*install)(const FolderChooser&, std::optional<std::filesystem::path>);
    std::optional<std::filesystem::path> archive;
    std::string (*successMessage)();
};

// The folder panel's part on the command line: the folder is given, and a wrong name is the user's
// mistake (usage), not a failed installation.
bool folderIsAccepted(const TemplateFolderRule& rule, const std::filesystem::path& folder) {
    if (std::filesystem::is_directory(folder) && rule.accepts(folder)) {
        return true;
    }
    std::cerr << "Falscher Ordner ausgewählt\n"
              << rule.wrongFolderInformation(folder.filename().string()) << '\n';
    return false;
}

void registerInstallCommand(CLI::App& app, int& exitStatus, const Installer& installer) {
    struct Options {
        CommonOptions common;
        std::string folder;
    };
    auto options = std::make_shared<Options>();
    CLI::App* command = app.add_subcommand(installer.name, installer.help);
    command->add_option("FOLDER", options->folder, "The Motion folder to install into")->required();
    addCommonOptions(*command, options->common);
    command->callback([options, &exitStatus, installer] {
        CliSession session(options->common);
        std::filesystem::path folder = std::filesystem::absolute(options->folder).lexically_normal();
        if (!folder.has_filename()) {
            folder = folder.parent_path();
        }
        if (!folderIsAccepted(installer.folderRule(), folder)) {
            exitStatus = exitUsage;
            return;
        }
        try {
            installer.install([folder] { return std::optional(folder); }, installer.archive);
            std::cout << installer.successMessage() << std::endl;
            exitStatus = exitSuccess;
        } catch (const std::exception& error) {
            std::cerr << error.what() << std::endl;
            exitStatus = exitWorkflowFailed;
        }
    });
}

}  // namespace

void registerInstallCommands(CLI::App& app, int& exitStatus) {
    registerInstallCommand(
        app, exitStatus,
        {"install-titles", "Install the QUILLT1 and QUILLT2 Motion titles into a Titles folder",
         &TemplateInstaller::folderRule, &TemplateInstaller::install, bundledResource("Templates.zip"),
         &TemplateInstaller::successMessage});
    registerInstallCommand(
        app, exitStatus,
        {"install-effect", "Install the default Motion effect into an Effects folder",
         &DefaultEffectInstaller::folderRule, &DefaultEffectInstaller::install,
         bundledResource("ClipwrightEffekt.zip"), &DefaultEffectInstaller::successMessage});
}

}  // namespace tidyreel::cli
