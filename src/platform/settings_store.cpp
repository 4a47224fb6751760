#include "platform/settings_store.h"

#include "base/error.h"
#include "base/language.h"

#include <QByteArray>
#include <QSettings>

namespace tidyreel::SettingsStore {
namespace {

QSettings settings() {
    return QSettings(QSettings::NativeFormat, QSettings::UserScope, "Tidyreel", "Tidyreel");
}

std::optional<QVariant> stored(const std::string& key) {
    const QVariant value = settings().value(QString::fromStdString(key));
    if (!value.isValid()) {
        return std::nullopt;
    }
    return value;
}

// QSettings writes its file through a temporary file renamed into place; `sync` reports whether that
// worked, so a full disk never goes unnoticed.
void store(const std::string& key, const QVariant& value) {
    QSettings stored = settings();
    if (value.isValid()) {
        stored.setValue(QString::fromStdString(key), value);
    } else {
        stored.remove(QString::fromStdString(key));
    }
    stored.sync();
    if (stored.status() != QSettings::NoError) {
        throw Error(
            SettingsError::domain, static_cast<int>(stored.status()),
            localized("Einstellungen konnten nicht gespeichert werden: ", "Could not save the settings: ") +
                stored.fileName().toStdString());
    }
}

}  // namespace

std::optional<double> doubleValue(const std::string& key) {
    const std::optional<QVariant> value = stored(key);
    if (!value) {
        return std::nullopt;
    }
    bool ok = false;
    const double number = value->toDouble(&ok);
    return ok ? std::optional<double>(number) : std::nullopt;
}

std::optional<bool> boolValue(const std::string& key) {
    const std::optional<QVariant> value = stored(key);
    return value ? std::optional<bool>(value->toBool()) : std::nullopt;
}

std::optional<std::string> stringValue(const std::string& key) {
    const std::optional<QVariant> value = stored(key);
    return value ? std::optional<std::string>(value->toString().toStdString()) : std::nullopt;
}

std::optional<std::string> bytesValue(const std::string& key) {
    const std::optional<QVariant> value = stored(key);
    return value ? std::optional<std::string>(value->toByteArray().toStdString()) : std::nullopt;
}

void setDouble(const std::string& key, double value) {
    store(key, value);
}

void setBool(const std::string& key, bool value) {
    store(key, value);
}

void setString(const std::string& key, const std::string& value) {
    store(key, QString::fromStdString(value));
}

void setBytes(const std::string& key, const std::string& value) {
    store(key, QByteArray::fromStdString(value));
}

void remove(const std::string& key) {
    store(key, QVariant());
}

}  // namespace tidyreel::SettingsStore
