#pragma once

#include <QDBusConnection>
#include <QProcess>

#include <string>
#include <vector>

namespace tidyreel::test {

/// One notification as the notification daemon received it.
struct ReceivedNotification {
    std::string application;
    std::string title;
    std::string body;

    bool operator==(const ReceivedNotification&) const = default;
};

/// A private D-Bus session bus with a real freedesktop notification daemon (dunst, on an X server of
/// its own) on it, for one test. The user's own bus and daemon are never touched; both processes stop
/// with the object.
class NotificationServer {
public:
    NotificationServer();
    ~NotificationServer();
    NotificationServer(const NotificationServer&) = delete;
    NotificationServer& operator=(const NotificationServer&) = delete;

    /// Why the bus could not be started; empty when it runs.
    const std::string& busFailure() const { return busFailure_; }
    /// The bus's address, for `DBUS_SESSION_BUS_ADDRESS`.
    const std::string& busAddress() const { return busAddress_; }

    /// Starts the daemon and waits until it owns the notification service on the bus; false when it
    /// never does (a guard against hanging, not a timing assertion).
    bool startDaemon();
    /// What the daemon wrote to its standard output and error, for a failure message.
    std::string daemonOutput();

    /// Every notification the daemon received, oldest first. Shown ones are closed first, since the
    /// daemon lists closed ones only.
    std::vector<ReceivedNotification> received() const;

private:
    void startBus();

    QProcess bus_;
    QProcess daemon_;
    std::string busFailure_;
    std::string busAddress_;
    QDBusConnection connection_;
};

}  // namespace tidyreel::test
