#include "cli/cli_session.h"
#include "cli/stop_signals.h"

#include <QCoreApplication>

int main(int argc, char** argv) {
    tidyreel::cli::StopSignals::install();
    QCoreApplication::setOrganizationName("Tidyreel");
    QCoreApplication::setApplicationName("Tidyreel");
    QCoreApplication application(argc, argv);

    CLI::App app{"Tidyreel: colour grading by role, video descriptions and archiving for FCPXML projects"};
    app.require_subcommand(1);
    int exitStatus = tidyreel::cli::exitSuccess;
    tidyreel::cli::registerRolesCommand(app, exitStatus);
    tidyreel::cli::registerGradeCommand(app, exitStatus);
    tidyreel::cli::registerEffectsCommand(app, exitStatus);
    tidyreel::cli::registerDescribeCommand(app, exitStatus);
    tidyreel::cli::registerArchiveCommand(app, exitStatus);
    tidyreel::cli::registerInstallCommands(app, exitStatus);
    tidyreel::cli::registerVerifyCommand(app, exitStatus);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        const int status = app.exit(error);
        return status == 0 ? 0 : tidyreel::cli::exitUsage;
    }
    return exitStatus;
}
