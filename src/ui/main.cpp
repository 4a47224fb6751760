#include "base/language.h"
#include "core/content_view_model.h"
#include "platform/system_paths.h"
#include "ui/content_view.h"

#include <QApplication>
#include <QIcon>

// TidyreelApp: one window bound to the one controller; `tidyreel-desktop PROJECT` opens with it loaded.
int main(int argc, char** argv) {
    QApplication::setOrganizationName("Tidyreel");
    QApplication::setApplicationName("Tidyreel");
    QApplication::setDesktopFileName("tidyreel");
    QApplication application(argc, argv);
    application.setWindowIcon(QIcon(QApplication::applicationDirPath() + "/resources/tidyreel.svg"));
    tidyreel::setPreferredLanguages(tidyreel::systemPreferredLanguages());

    tidyreel::ContentViewModel viewModel;
    tidyreel::ui::ContentView window(viewModel);
    const QStringList arguments = QApplication::arguments();
    if (arguments.size() > 1) {
        viewModel.loadFile(arguments.at(1).toStdString());
    }
    window.show();
    return QApplication::exec();
}
