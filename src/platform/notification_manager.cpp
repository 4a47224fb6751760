#include "platform/notification_manager.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QStringList>
#include <QVariantMap>

#include <iostream>
#include <optional>

namespace tidyreel {
namespace {

const char* const kService = "org.freedesktop.Notifications";
const char* const kPath = "/org/freedesktop/Notifications";

// The session bus with a notification service on it, or the reason why there is none.
std::optional<std::string> missingNotificationService() {
    if (qEnvironmentVariableIsEmpty("DBUS_SESSION_BUS_ADDRESS")) {
        return "no D-Bus session bus";
    }
    const QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        return bus.lastError().message().toStdString();
    }
    if (!bus.interface()->isServiceRegistered(kService)) {
        return std::string(kService) + " is not running";
    }
    return std::nullopt;
}

}  // namespace

NotificationManager& NotificationManager::shared() {
    static NotificationManager manager;
    return manager;
}

void NotificationManager::requestAuthorization() {
    if (const std::optional<std::string> missing = missingNotificationService()) {
        std::cerr << "❌ Notification authorization error: " << *missing << std::endl;
        return;
    }
    std::cerr << "✅ Notification authorization granted" << std::endl;
}

void NotificationManager::sendNotification(const std::string& title, const std::string& body, bool success) {
    if (const std::optional<std::string> missing = missingNotificationService()) {
        std::cerr << "❌ Failed to send notification: " << *missing << std::endl;
        return;
    }
    QDBusMessage message = QDBusMessage::createMethodCall(kService, kPath, kService, "Notify");
    QVariantMap hints;
    hints["urgency"] = QVariant::fromValue<uchar>(success ? 1 : 2);
    hints["sound-name"] = success ? "message-new-instant" : "dialog-warning";
    message << QString("Tidyreel") << 0u << QString() << QString::fromStdString(title)
            << QString::fromStdString(body) << QStringList() << hints << -1;
    const QDBusMessage reply = QDBusConnection::sessionBus().call(message);
    if (reply.type() == QDBusMessage::ErrorMessage) {
        std::cerr << "❌ Failed to send notification: " << reply.errorMessage().toStdString() << std::endl;
    }
}

}  // namespace tidyreel
