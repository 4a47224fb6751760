#include "window_test_support.h"

#include "base/language.h"

#include <QDragEnterEvent>
#include <QDropEvent>
#include <QMimeData>
#include <QSettings>
#include <QTimer>
#include <QUrl>

#include <chrono>
#include <cstdlib>
#include <thread>

namespace tidyreel::test {
namespace {

// One application for the whole program, made before the first window; without a display (a plain
// ctest run) the window draws off screen, under xvfb-run on the X server.
void ensureApplication() {
    static IsolatedUserFolders folders;
    if (QApplication::instance()) {
        return;
    }
    if (qEnvironmentVariableIsEmpty("DISPLAY") && qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    static int argc = 1;
    static char name[] = "test_ui";
    static char* argv[] = {name, nullptr};
    QApplication::setOrganizationName("Tidyreel");
    QApplication::setApplicationName("Tidyreel");
    new QApplication(argc, argv);
}

}  // namespace

WindowTest::WindowTest() {
    ensureApplication();
    QSettings().clear();
    setPreferredLanguages({"de-DE"});
    viewModel_ = std::make_unique<ContentViewModel>();
    window_ = std::make_unique<ui::ContentView>(*viewModel_);
    window_->show();
    // Without a window manager nothing activates the window, and keys go to the active window only.
    QApplication::setActiveWindow(window_.get());
    settle();
}

WindowTest::~WindowTest() {
    waitFor([this] { return !viewModel_->isProcessing(); });
    for (QWidget* top : QApplication::topLevelWidgets()) {
        if (top != window_.get() && top->isVisible()) {
            top->close();
        }
    }
    window_.reset();
    viewModel_.reset();
    QSettings().clear();
    setPreferredLanguages({});
}

void WindowTest::settle() const {
    for (int round = 0; round < 3; ++round) {
        QApplication::processEvents(QEventLoop::AllEvents);
    }
}

bool WindowTest::waitFor(const std::function<bool()>& done) const {
    const auto giveUp = std::chrono::steady_clock::now() + std::chrono::minutes(3);
    while (!done()) {
        if (std::chrono::steady_clock::now() > giveUp) {
            return false;
        }
        QApplication::processEvents(QEventLoop::AllEvents, 20);
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    settle();
    return true;
}

void WindowTest::screenshot(QWidget* widget, const std::string& name) const {
    settle();
    const std::filesystem::path folder = TIDYREEL_SCREENSHOTS;
    std::filesystem::create_directories(folder);
    widget->grab().save(QString::fromStdString((folder / (name + ".png")).string()));
}

void WindowTest::drop(QWidget* target, const std::filesystem::path& file) const {
    QMimeData data;
    data.setUrls({QUrl::fromLocalFile(QString::fromStdString(file.string()))});
    const QPoint centre = target->rect().center();
    QDragEnterEvent enter(centre, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(target, &enter);
    if (enter.isAccepted()) {
        QDropEvent dropped(QPointF(centre), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(target, &dropped);
    }
    settle();
}

void WindowTest::switchLanguage(const std::string& language) {
    setPreferredLanguages({language});
    window_->refresh();
    settle();
}

void WindowTest::whenModalWindow(std::function<bool(QWidget*)> matches,
                                 std::function<void(QWidget*)> step) const {
    auto* poll = new QTimer;
    QObject::connect(poll, &QTimer::timeout, [poll, matches, step] {
        if (QWidget* modal = QApplication::activeModalWidget();
            modal && modal->isVisible() && matches(modal)) {
            poll->stop();
            poll->deleteLater();
            step(modal);
        }
    });
    poll->start(20);
}

std::filesystem::path WindowTest::twoRolesProject(const std::filesystem::path& media, int seconds,
                                                  const std::string& size) const {
    std::filesystem::create_directories(media);
    for (const char* name : {"Interview", "Drohne"}) {
        const std::string line = "ffmpeg -nostdin -v error -y -f lavfi -i testsrc=s=" + size +
                                 ":r=25:d=" + std::to_string(seconds) +
                                 " -f lavfi -i sine=duration=" + std::to_string(seconds) +
                                 " -c:v libx264 -g 250 -pix_fmt yuv420p -shortest '" +
                                 (media / (std::string(name) + ".mov")).string() + "'";
        if (std::system(line.c_str()) != 0) {
            throw std::runtime_error("cannot make test media: " + line);
        }
    }
    std::string project = readTextFile(fixture("ui/two_roles.fcpxml"));
    for (std::size_t at = project.find("MEDIA"); at != std::string::npos; at = project.find("MEDIA", at)) {
        project.replace(at, 5, media.string());
    }
    const std::filesystem::path file = folder_ / "Fenstertest.fcpxml";
    writeTextFile(file, project);
    return file;
}

}  // namespace tidyreel::test
