// The archive's completion notification, posted to a real notification daemon on a private session
// bus, and the console lines when there is no bus at all.
#include "core/content_view_model.h"
#include "core/core_support.h"
#include "notification_server_support.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <iostream>
#include <sstream>

namespace tidyreel {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

// What the program writes to the developer console (standard error) while the object lives.
class ConsoleCapture {
public:
    ConsoleCapture() : previous_(std::cerr.rdbuf(text_.rdbuf())) {}
    ~ConsoleCapture() { std::cerr.rdbuf(previous_); }
    ConsoleCapture(const ConsoleCapture&) = delete;
    ConsoleCapture& operator=(const ConsoleCapture&) = delete;

    std::string text() const { return text_.str(); }

private:
    std::ostringstream text_;
    std::streambuf* previous_;
};

class CompletionNotification : public test::CoreTest {
protected:
    // Archives the 3 s sound project through a window's controller and returns the run's log.
    std::vector<std::string> archiveSoundProject() {
        const auto application = test::makeApplication();
        ContentViewModel controller(RunMode::background);
        controller.loadFile(test::soundProject(folder_.path()));
        std::filesystem::create_directories(folder_ / "out");
        controller.chooseOutputFolder(folder_ / "out");
        controller.startArchiving();
        test::waitWhileProcessing(controller);
        EXPECT_TRUE(std::holds_alternative<ActionStatus::Success>(controller.archivingStatus().value));
        return test::messagesOf(controller.logEntries());
    }

    test::TempFolder folder_;
};

TEST_F(CompletionNotification, ArchiveSuccessReachesTheNotificationDaemonWithTitleAndSizes) {
    test::NotificationServer server;
    if (!server.busFailure().empty()) {
        GTEST_SKIP() << "no private D-Bus session bus could be started: " << server.busFailure();
    }
    ASSERT_TRUE(server.startDaemon()) << server.daemonOutput();
    const test::ScopedEnvironment bus("DBUS_SESSION_BUS_ADDRESS", server.busAddress());
    const ConsoleCapture console;
    archiveSoundProject();
    // The copy is as large as its source: both sizes and a saving of nothing.
    EXPECT_EQ(server.received(),
              (std::vector<test::ReceivedNotification>{
                  {"Tidyreel", "Archivierung abgeschlossen", "0,6 MB → 0,6 MB (\u22120.0%)"}}));
    EXPECT_THAT(console.text(), HasSubstr("✅ Notification authorization granted\n"));
    EXPECT_THAT(console.text(), Not(HasSubstr("❌")));
}

// Without a session bus the window works as before: only the console says that nothing was posted.
TEST_F(CompletionNotification, WithoutABusOnlyTheConsoleSaysSo) {
    const test::ScopedEnvironment noBus("DBUS_SESSION_BUS_ADDRESS", "");
    const ConsoleCapture console;
    const std::vector<std::string> log = archiveSoundProject();
    EXPECT_THAT(console.text(), HasSubstr("❌ Notification authorization error: no D-Bus session bus\n"));
    EXPECT_THAT(console.text(), HasSubstr("❌ Failed to send notification: no D-Bus session bus\n"));
    for (const std::string& line : log) {
        EXPECT_THAT(line, Not(HasSubstr("otification"))) << "the log never mentions notifications";
    }
}

}  // namespace
}  // namespace tidyreel
