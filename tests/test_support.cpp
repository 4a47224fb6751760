#include "test_support.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <random>
#include <sstream>
#include <stdexcept>

namespace tidyreel::test {

TempFolder::TempFolder() {
    std::random_device random;
    path_ = std::filesystem::temp_directory_path() /
            ("tidyreel-test-" + std::to_string(random()) + "-" + std::to_string(random()));
    std::filesystem::create_directories(path_);
}

TempFolder::~TempFolder() {
    std::error_code ignored;
    // Folders made read-only by a test must become writable again to be removed.
    for (auto it = std::filesystem::recursive_directory_iterator(path_, ignored);
         it != std::filesystem::recursive_directory_iterator(); it.increment(ignored)) {
        std::filesystem::permissions(it->path(), std::filesystem::perms::owner_all,
                                     std::filesystem::perm_options::add, ignored);
    }
    std::filesystem::permissions(path_, std::filesystem::perms::owner_all, std::filesystem::perm_options::add,
                                 ignored);
    std::filesystem::remove_all(path_, ignored);
}

IsolatedUserFolders::IsolatedUserFolders()
    : config_("XDG_CONFIG_HOME", configHome().string()), data_("XDG_DATA_HOME", dataHome().string()) {
    std::filesystem::create_directories(configHome());
    std::filesystem::create_directories(dataHome());
}

std::filesystem::path writeScript(const std::filesystem::path& file, const std::string& body) {
    writeTextFile(file, "#!/bin/sh\n" + body + "\n");
    std::filesystem::permissions(file, std::filesystem::perms::owner_all, std::filesystem::perm_options::add);
    return file;
}

ScopedEnvironment::ScopedEnvironment(std::string name, const std::string& value) : name_(std::move(name)) {
    if (const char* old = std::getenv(name_.c_str())) {
        previous_ = old;
    }
    setenv(name_.c_str(), value.c_str(), 1);
}

ScopedEnvironment::~ScopedEnvironment() {
    if (previous_) {
        setenv(name_.c_str(), previous_->c_str(), 1);
    } else {
        unsetenv(name_.c_str());
    }
}

void writeTextFile(const std::filesystem::path& file, const std::string& text) {
    if (file.has_parent_path()) {
        std::filesystem::create_directories(file.parent_path());
    }
    std::ofstream stream(file, std::ios::binary | std::ios::trunc);
    stream << text;
    if (!stream) {
        throw std::runtime_error("cannot write " + file.string());
    }
}

std::string readTextFile(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    std::ostringstream text;
    text << stream.rdbuf();
    return text.str();
}

std::filesystem::path fixture(const std::string& name) {
    return std::filesystem::path(TIDYREEL_FIXTURES) / name;
}

std::vector<std::string> splitLines(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    std::string line;
    while (std::getline(stream, line)) {
        lines.push_back(line);
    }
    return lines;
}

std::vector<std::string> logMessages(const std::string& printedLog) {
    std::vector<std::string> messages;
    for (const std::string& line : splitLines(printedLog)) {
        messages.push_back(line.size() > 9 ? line.substr(9) : line);
    }
    return messages;
}

std::vector<std::filesystem::path> filesIn(const std::filesystem::path& folder) {
    std::vector<std::filesystem::path> files;
    std::error_code status;
    for (auto it = std::filesystem::recursive_directory_iterator(folder, status);
         it != std::filesystem::recursive_directory_iterator(); it.increment(status)) {
        files.push_back(it->path());
    }
    std::sort(files.begin(), files.end());
    return files;
}

::testing::AssertionResult isError(const Error& error, std::string_view domain, int code,
                                   std::string_view description) {
    if (error.domain() == domain && error.code() == code && error.what() == description) {
        return ::testing::AssertionSuccess();
    }
    return ::testing::AssertionFailure()
           << "got " << error.domain() << " " << error.code() << " \"" << error.what() << "\", expected "
           << domain << " " << code << " \"" << description << "\"";
}

Logger LogCollector::logger() {
    return [this](LogEntryType type, const std::string& message) {
        lines_.push_back(std::string(rawValue(type)) + " " + message);
    };
}

bool LogCollector::contains(const std::string& line) const {
    return std::find(lines_.begin(), lines_.end(), line) != lines_.end();
}

}  // namespace tidyreel::test
