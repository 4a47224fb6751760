#pragma once

#include <optional>
#include <string>

namespace tidyreel {

/// The application's persistent user settings (organisation and application "Tidyreel").
namespace SettingsStore {

/// The stored number under `key`, if one is stored.
std::optional<double> doubleValue(const std::string& key);
/// The stored flag under `key`, if one is stored.
std::optional<bool> boolValue(const std::string& key);
/// The stored text under `key`, if one is stored.
std::optional<std::string> stringValue(const std::string& key);
/// The stored bytes under `key`, if any are stored.
std::optional<std::string> bytesValue(const std::string& key);

/// Each setter writes the settings file at once; throws `Error` ("Settings") when it cannot be written.
/// Stores a number.
void setDouble(const std::string& key, double value);
/// Stores a flag.
void setBool(const std::string& key, bool value);
/// Stores a text.
void setString(const std::string& key, const std::string& value);
/// Stores bytes.
void setBytes(const std::string& key, const std::string& value);
/// Removes the key.
void remove(const std::string& key);

}  // namespace SettingsStore

}  // namespace tidyreel
