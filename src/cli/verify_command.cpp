#include "archive/media/media_probe.h"
#include "archive/tasks/archive_verification.h"
#include "base/language.h"
#include "cli/cli_session.h"

#include <fmt/format.h>

#include <iostream>
#include <memory>

namespace tidyreel::cli {

void registerVerifyCommand(CLI::App& app, int& exitStatus) {
    struct Options {
        CommonOptions common;
        std::string bundle;
    };
    auto options = std::make_shared<Options>();
    CLI::App* command = app.add_subcommand(
        "verify",
        "Check an archive bundle: media inside it and readable to the end, every clip inside its media");
    command
        ->add_option("BUNDLE", options->bundle,
                     "An archive: a .fcpxmld bundle, or the folder of a plain archived project")
        ->required();
    addCommonOptions(*command, options->common);
    command->callback([options, &exitStatus] {
        CliSession session(options->common);
        const std::vector<std::string> problems =
            verifyArchiveBundle(options->bundle, probeSetupOf(session.controller().runSettings()));
        for (const std::string& problem : problems) {
            std::cout << "✗ " << problem << '\n';
        }
        if (problems.empty()) {
            std::cout << localized("✓ Archiv in Ordnung", "✓ Archive is sound") << std::endl;
        } else {
            std::cout << fmt::format("{} {}", problems.size(), localized("Problem(e)", "problem(s)"))
                      << std::endl;
        }
        exitStatus = problems.empty() ? exitSuccess : exitWorkflowFailed;
    });
}

}  // namespace tidyreel::cli
