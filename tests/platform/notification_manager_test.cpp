#include "platform/notification_manager.h"

#include "test_support.h"

#include <gtest/gtest.h>

#include <iostream>
#include <sstream>

namespace tidyreel {
namespace {

// Without a session bus (a server, a container, ssh) a notification becomes one line on the developer
// console, and nothing fails.
TEST(NotificationFallback, WithoutASessionBusEachRequestIsOneConsoleLine) {
    const test::ScopedEnvironment noBus("DBUS_SESSION_BUS_ADDRESS", "");
    std::ostringstream console;
    std::streambuf* const previous = std::cerr.rdbuf(console.rdbuf());
    NotificationManager::shared().requestAuthorization();
    NotificationManager::shared().sendNotification("Archivierung abgeschlossen", "10 GB → 4 GB", true);
    NotificationManager::shared().sendNotification("Archivierung fehlgeschlagen", "", false);
    std::cerr.rdbuf(previous);
    EXPECT_EQ(console.str(),
              "❌ Notification authorization error: no D-Bus session bus\n"
              "❌ Failed to send notification: no D-Bus session bus\n"
              "❌ Failed to send notification: no D-Bus session bus\n");
}

}  // namespace
}  // namespace tidyreel
