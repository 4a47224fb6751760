#pragma once

#include "base/error.h"
#include "base/log_entry.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tidyreel::test {

/// A fresh temporary folder, removed with everything in it when the object goes away.
class TempFolder {
public:
    TempFolder();
    ~TempFolder();
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    /// The folder.
    const std::filesystem::path& path() const { return path_; }
    /// `path() / name`.
    std::filesystem::path operator/(const std::string& name) const { return path_ / name; }

private:
    std::filesystem::path path_;
};

/// Sets an environment variable for the life of the object, restoring the old value afterwards.
class ScopedEnvironment {
public:
    ScopedEnvironment(std::string name, const std::string& value);
    ~ScopedEnvironment();
    ScopedEnvironment(const ScopedEnvironment&) = delete;
    ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;

private:
    std::string name_;
    std::optional<std::string> previous_;
};

/// Points settings and application data at private temporary folders for the life of the object,
/// so that tests never read or write the user's real settings.
class IsolatedUserFolders {
public:
    IsolatedUserFolders();

    /// The folder that stands in for the user's configuration home.
    std::filesystem::path configHome() const { return folder_ / "config"; }
    /// The folder that stands in for the user's data home.
    std::filesystem::path dataHome() const { return folder_ / "data"; }

private:
    TempFolder folder_;
    ScopedEnvironment config_;
    ScopedEnvironment data_;
};

/// Writes an executable shell script (a stand-in for a tool) and returns its path.
std::filesystem::path writeScript(const std::filesystem::path& file, const std::string& body);

/// Writes text to a file, creating its folder.
void writeTextFile(const std::filesystem::path& file, const std::string& text);
/// Reads a whole file.
std::string readTextFile(const std::filesystem::path& file);
/// A fixture file under tests/fixtures.
std::filesystem::path fixture(const std::string& name);
/// The lines of a text, without their line feeds.
std::vector<std::string> splitLines(const std::string& text);
/// The log messages of printed log lines ("HH:mm:ss <symbol> <message>" → "<symbol> <message>").
std::vector<std::string> logMessages(const std::string& printedLog);
/// Every file and folder below `folder`, sorted; empty when the folder does not exist.
std::vector<std::filesystem::path> filesIn(const std::filesystem::path& folder);

/// Whether `error` has exactly this domain, code and description; the failure text shows all three.
::testing::AssertionResult isError(const Error& error, std::string_view domain, int code,
                                   std::string_view description);

/// Whether `action` throws an `Error` with exactly this domain, code and description.
template <class Action>
::testing::AssertionResult throwsError(Action&& action, std::string_view domain, int code,
                                       std::string_view description) {
    try {
        action();
    } catch (const Error& error) {
        return isError(error, domain, code, description);
    } catch (const std::exception& other) {
        return ::testing::AssertionFailure() << "threw another exception: " << other.what();
    }
    return ::testing::AssertionFailure() << "threw nothing";
}

/// Collects log lines as "<symbol> <message>" for exact comparisons.
class LogCollector {
public:
    /// A logger that appends to this collector.
    Logger logger();
    /// Every line so far.
    const std::vector<std::string>& lines() const { return lines_; }
    /// Whether one line equals `line` exactly.
    bool contains(const std::string& line) const;

private:
    std::vector<std::string> lines_;
};

}  // namespace tidyreel::test
