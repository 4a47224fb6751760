#include "core/core_support.h"

#include "base/language.h"
#include "fcpxml/media_path.h"

#include <gtest/gtest.h>
#include <QSettings>

#include <chrono>
#include <cstdlib>
#include <stdexcept>
#include <thread>

namespace tidyreel::test {
namespace {

// The settings of the whole test program live here; removed with the program's end.
IsolatedUserFolders& programUserFolders() {
    static IsolatedUserFolders folders;
    return folders;
}

}  // namespace

CoreTest::CoreTest() {
    programUserFolders();
    QSettings(QSettings::NativeFormat, QSettings::UserScope, "Tidyreel", "Tidyreel").clear();
    setPreferredLanguages({"de-DE"});
}

CoreTest::~CoreTest() {
    QSettings(QSettings::NativeFormat, QSettings::UserScope, "Tidyreel", "Tidyreel").clear();
    setPreferredLanguages({});
}

std::vector<std::string> messagesOf(const std::vector<LogEntry>& entries) {
    std::vector<std::string> messages;
    for (const LogEntry& entry : entries) {
        messages.push_back(entry.message);
    }
    return messages;
}

std::string minimalProject(const std::string& projectName) {
    std::string project = readTextFile(fixture("core/minimal_project.fcpxml"));
    return project.replace(project.find("\"Film\""), 6, "\"" + projectName + "\"");
}

std::filesystem::path soundProject(const std::filesystem::path& folder) {
    // Real sound: the archive checks every file it wrote before it reports success.
    const std::string made = "ffmpeg -nostdin -v error -y -f lavfi -i anullsrc=r=48000:cl=stereo -t 3 '" +
                             (folder / "Ton.wav").string() + "'";
    if (std::system(made.c_str()) != 0) {
        throw std::runtime_error("cannot make test sound: " + made);
    }
    std::string project = readTextFile(fixture("core/sound_project.fcpxml"));
    project.replace(project.find("SOUND"), 5, MediaPath::url((folder / "Ton.wav").string()));
    writeTextFile(folder / "p.fcpxml", project);
    return folder / "p.fcpxml";
}

std::unique_ptr<QCoreApplication> makeApplication() {
    static int argc = 1;
    static char name[] = "test";
    static char* argv[] = {name, nullptr};
    return QCoreApplication::instance() ? nullptr : std::make_unique<QCoreApplication>(argc, argv);
}

void waitWhileProcessing(const ContentViewModel& controller) {
    // A guard against hanging, not a timing assertion.
    const auto giveUp = std::chrono::steady_clock::now() + std::chrono::minutes(2);
    while (controller.isProcessing() && std::chrono::steady_clock::now() < giveUp) {
        QCoreApplication::processEvents(QEventLoop::AllEvents);
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    ASSERT_FALSE(controller.isProcessing());
}

}  // namespace tidyreel::test
