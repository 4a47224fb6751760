#include "notification_server_support.h"

#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QThread>
#include <QVariantMap>

#include <unistd.h>
#include <algorithm>
#include <chrono>
#include <csignal>

namespace tidyreel::test {
namespace {

const QString kConnectionName = "tidyreel-test-notification-server";
const QString kService = "org.freedesktop.Notifications";
const QString kPath = "/org/freedesktop/Notifications";
// dunst's own control interface: closing shown notifications and listing the closed ones.
const QString kDunstControl = "org.dunstproject.cmd0";

QDBusMessage callDunst(const QDBusConnection& connection, const QString& method) {
    return connection.call(QDBusMessage::createMethodCall(kService, kPath, kDunstControl, method));
}

}  // namespace

NotificationServer::NotificationServer() : connection_(kConnectionName) {
    startBus();
}

NotificationServer::~NotificationServer() {
    if (daemon_.state() != QProcess::NotRunning) {
        // The daemon runs inside xvfb-run in a process group of its own: X server, wrapper and daemon go
        // together.
        ::kill(-static_cast<pid_t>(daemon_.processId()), SIGTERM);
        daemon_.waitForFinished(5000);
    }
    QDBusConnection::disconnectFromBus(kConnectionName);
    if (bus_.state() != QProcess::NotRunning) {
        bus_.terminate();
        bus_.waitForFinished(5000);
    }
}

void NotificationServer::startBus() {
    bus_.start("dbus-daemon", {"--session", "--nofork", "--print-address=1"});
    if (!bus_.waitForStarted(10000)) {
        busFailure_ = "dbus-daemon: " + bus_.errorString().toStdString();
        return;
    }
    while (bus_.state() == QProcess::Running && !bus_.canReadLine()) {
        bus_.waitForReadyRead(10000);
    }
    busAddress_ = bus_.readLine().trimmed().toStdString();
    if (busAddress_.empty()) {
        busFailure_ = "dbus-daemon gave no address: " + bus_.readAllStandardError().toStdString();
        return;
    }
    connection_ = QDBusConnection::connectToBus(QString::fromStdString(busAddress_), kConnectionName);
    if (!connection_.isConnected()) {
        busFailure_ =
            "cannot connect to " + busAddress_ + ": " + connection_.lastError().message().toStdString();
    }
}

bool NotificationServer::startDaemon() {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("DBUS_SESSION_BUS_ADDRESS", QString::fromStdString(busAddress_));
    daemon_.setProcessEnvironment(environment);
    daemon_.setProcessChannelMode(QProcess::MergedChannels);
    daemon_.setChildProcessModifier([] { ::setpgid(0, 0); });
    daemon_.start("xvfb-run", {"-a", "-s", "-screen 0 640x480x24", "dunst"});
    const auto giveUp = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (daemon_.waitForStarted(10000) && daemon_.state() == QProcess::Running &&
           std::chrono::steady_clock::now() < giveUp) {
        if (connection_.interface()->isServiceRegistered(kService)) {
            return true;
        }
        QThread::msleep(50);
    }
    return false;
}

std::string NotificationServer::daemonOutput() {
    return "dunst (" + daemon_.errorString().toStdString() + "): " + daemon_.readAll().toStdString();
}

std::vector<ReceivedNotification> NotificationServer::received() const {
    callDunst(connection_, "NotificationCloseAll");
    const QDBusMessage reply = callDunst(connection_, "NotificationListHistory");
    std::vector<ReceivedNotification> notifications;
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty()) {
        return notifications;
    }
    const QDBusArgument history = reply.arguments().front().value<QDBusArgument>();
    history.beginArray();
    while (!history.atEnd()) {
        QVariantMap entry;
        history >> entry;
        notifications.push_back({entry["appname"].toString().toStdString(),
                                 entry["summary"].toString().toStdString(),
                                 entry["body"].toString().toStdString()});
    }
    history.endArray();
    // The history lists the newest first.
    std::reverse(notifications.begin(), notifications.end());
    return notifications;
}

}  // namespace tidyreel::test
