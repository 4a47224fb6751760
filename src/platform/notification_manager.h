#pragma once

#include <string>

namespace tidyreel {

/// Posts desktop notifications (freedesktop notifications over the session D-Bus). Answers and failures go
/// to the developer console (standard error), never to the processing log.
class NotificationManager {
public:
    /// The one instance, made on first use.
    static NotificationManager& shared();

    /// Checks once that notifications can be posted and says so on the console.
    void requestAuthorization();
    /// Posts a notification at once: the default sound for a success, the critical one otherwise.
    void sendNotification(const std::string& title, const std::string& body, bool success);

private:
    NotificationManager() = default;
};

}  // namespace tidyreel
