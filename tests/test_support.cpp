#include "test_support.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <random>
#include <sstream>
#include <stdexcept>

extern char** environ;

namespace tidyreel::test {
namespace {

std::string environmentValue(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : "";
}

void restoreEnvironment(const char* name, const std::string& value) {
    if (value.empty()) {
        unsetenv(name);
    } else {
        setenv(name, value.c_str(), 1);
    }
}

}  // namespace

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
    : previousConfig_(environmentValue("XDG_CONFIG_HOME")), previousData_(environmentValue("XDG_DATA_HOME")) {
    std::filesystem::create_directories(configHome());
    std::filesystem::create_directories(dataHome());
    setenv("XDG_CONFIG_HOME", configHome().c_str(), 1);
    setenv("XDG_DATA_HOME", dataHome().c_str(), 1);
}

IsolatedUserFolders::~IsolatedUserFolders() {
    restoreEnvironment("XDG_CONFIG_HOME", previousConfig_);
    restoreEnvironment("XDG_DATA_HOME", previousData_);
}

CommandResult runTidyreel(const std::vector<std::string>& arguments, const IsolatedUserFolders& folders) {
    TempFolder capture;
    const std::string outPath = (capture / "stdout").string();
    const std::string errPath = (capture / "stderr").string();
    std::vector<std::string> words{TIDYREEL_BINARY};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<char*> argv;
    for (std::string& word : words) {
        argv.push_back(word.data());
    }
    argv.push_back(nullptr);

    std::vector<std::string> environment{"XDG_CONFIG_HOME=" + folders.configHome().string(),
                                         "XDG_DATA_HOME=" + folders.dataHome().string()};
    for (char** entry = environ; *entry; ++entry) {
        const std::string text = *entry;
        if (!text.starts_with("XDG_CONFIG_HOME=") && !text.starts_with("XDG_DATA_HOME=")) {
            environment.push_back(text);
        }
    }
    std::vector<char*> envp;
    for (std::string& entry : environment) {
        envp.push_back(entry.data());
    }
    envp.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC,
                                     0600);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC,
                                     0600);
    pid_t child = 0;
    const int spawned = posix_spawn(&child, argv[0], &actions, nullptr, argv.data(), envp.data());
    posix_spawn_file_actions_destroy(&actions);
    if (spawned != 0) {
        throw std::runtime_error("cannot start " + words.front());
    }
    int status = 0;
    waitpid(child, &status, 0);
    CommandResult result;
    result.exitStatus = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    result.standardOutput = readTextFile(outPath);
    result.standardError = readTextFile(errPath);
    return result;
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

}  // namespace tidyreel::test
