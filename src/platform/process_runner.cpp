#include "platform/process_runner.h"

#include "base/error.h"
#include "base/error_codes.h"
#include "base/language.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>
#ifdef __linux__
#include <sys/prctl.h>
#endif

#include <array>
#include <cerrno>
#include <cstring>

namespace tidyreel {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr int kPollMilliseconds = 100;
constexpr milliseconds kGracePeriod{3000};
constexpr std::size_t kStandardOutputLimit = 64 * 1024 * 1024;

// A pipe whose ends close with the object; both ends close on exec, the child dups what it needs.
class Pipe {
public:
    Pipe() {
        if (::pipe2(ends_.data(), O_CLOEXEC) != 0) {
            throw Error(ProcessError::domain, errno, std::strerror(errno));
        }
    }
    ~Pipe() {
        closeRead();
        closeWrite();
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;

    int read() const { return ends_[0]; }
    int write() const { return ends_[1]; }
    void closeRead() { closeEnd(ends_[0]); }
    void closeWrite() { closeEnd(ends_[1]); }

private:
    static void closeEnd(int& end) {
        if (end >= 0) {
            ::close(end);
            end = -1;
        }
    }
    std::array<int, 2> ends_{-1, -1};
};

// The argument vector execv needs, built before fork: the child may only call async-signal-safe functions.
std::vector<char*> argumentVector(const ProcessRequest& request, std::vector<std::string>& storage) {
    storage.clear();
    storage.push_back(request.executable.string());
    storage.insert(storage.end(), request.arguments.begin(), request.arguments.end());
    std::vector<char*> vector;
    for (std::string& argument : storage) {
        vector.push_back(argument.data());
    }
    vector.push_back(nullptr);
    return vector;
}

// In the child between fork and exec: only async-signal-safe calls. A failure is reported through
// `errorPipe` as the errno value.
[[noreturn]] void execChild(char* const* argv, const char* workingDirectory, int standardOutput,
                            int standardError, int errorPipe, pid_t parent) {
    ::setpgid(0, 0);
#ifdef __linux__
    // The tool must not outlive Tidyreel, even when Tidyreel is killed without a chance to stop it.
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (::getppid() != parent) {
        ::_exit(127);
    }
#else
    (void)parent;
#endif
    sigset_t none;
    sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
    for (const int signal : {SIGINT, SIGTERM, SIGPIPE}) {
        ::signal(signal, SIG_DFL);
    }
    const int nullDevice = ::open("/dev/null", O_RDWR);
    const bool redirected = nullDevice >= 0 && ::dup2(nullDevice, STDIN_FILENO) >= 0 &&
                            ::dup2(standardOutput >= 0 ? standardOutput : nullDevice, STDOUT_FILENO) >= 0 &&
                            ::dup2(standardError, STDERR_FILENO) >= 0;
    if (redirected && (!workingDirectory || ::chdir(workingDirectory) == 0)) {
        ::execv(argv[0], argv);
    }
    const int code = errno;
    [[maybe_unused]] const ssize_t written = ::write(errorPipe, &code, sizeof code);
    ::_exit(127);
}

// Reads what is available without blocking; false at the end of the stream.
bool drain(int fd, const std::function<void(std::string_view)>& sink) {
    std::array<char, 65536> buffer{};
    while (true) {
        const ssize_t count = ::read(fd, buffer.data(), buffer.size());
        if (count > 0) {
            sink(std::string_view(buffer.data(), static_cast<std::size_t>(count)));
            continue;
        }
        if (count < 0 && errno == EINTR) {
            continue;
        }
        return count < 0 && (errno == EAGAIN || errno == EWOULDBLOCK);
    }
}

void keepTail(std::string& tail, std::string_view chunk) {
    tail.append(chunk);
    if (tail.size() > kStandardErrorTailBytes) {
        tail.erase(0, tail.size() - kStandardErrorTailBytes);
    }
}

// Stops a process group step by step: a polite SIGINT, then SIGTERM, then SIGKILL.
class Stopper {
public:
    explicit Stopper(pid_t group) : group_(group) {}
    bool started() const { return stage_ > 0; }
    void advance() {
        const Clock::time_point now = Clock::now();
        if (stage_ > 0 && now - since_ < kGracePeriod) {
            return;
        }
        static constexpr std::array<int, 3> kSignals{SIGINT, SIGTERM, SIGKILL};
        ::kill(-group_, kSignals[static_cast<std::size_t>(std::min(stage_, 2))]);
        stage_ = std::min(stage_ + 1, 3);
        since_ = now;
    }

private:
    pid_t group_;
    int stage_ = 0;
    Clock::time_point since_;
};

// Whether the child has ended (and is reaped); `status` then holds how.
bool hasEnded(pid_t child, int& status) {
    pid_t reaped = 0;
    do {
        reaped = ::waitpid(child, &status, WNOHANG);
    } while (reaped < 0 && errno == EINTR);
    return reaped != 0;
}

pid_t startChild(const ProcessRequest& request, Pipe* standardOutput, Pipe& standardError) {
    std::vector<std::string> storage;
    const std::vector<char*> argv = argumentVector(request, storage);
    const std::string workingDirectory = request.workingDirectory ? request.workingDirectory->string() : "";
    Pipe errorPipe;
    const pid_t parent = ::getpid();
    const pid_t child = ::fork();
    if (child < 0) {
        throw Error(ProcessError::domain, errno, std::strerror(errno));
    }
    if (child == 0) {
        execChild(argv.data(), request.workingDirectory ? workingDirectory.c_str() : nullptr,
                  standardOutput ? standardOutput->write() : -1, standardError.write(), errorPipe.write(),
                  parent);
    }
    // Also set here, so that a stop sent before the child got to it still reaches the whole group.
    ::setpgid(child, child);
    errorPipe.closeWrite();
    int code = 0;
    ssize_t count = 0;
    do {
        count = ::read(errorPipe.read(), &code, sizeof code);
    } while (count < 0 && errno == EINTR);
    if (count == static_cast<ssize_t>(sizeof code)) {
        ::waitpid(child, nullptr, 0);
        throw Error(ProcessError::domain, code,
                    localized("Programm konnte nicht gestartet werden: ", "Could not start program: ") +
                        request.executable.string() + " (" + std::strerror(code) + ")");
    }
    return child;
}

}  // namespace

ProcessResult runProcess(const ProcessRequest& request) {
    Pipe standardError;
    std::optional<Pipe> standardOutput;
    if (request.captureStandardOutput) {
        standardOutput.emplace();
    }
    const pid_t child = startChild(request, standardOutput ? &*standardOutput : nullptr, standardError);
    standardError.closeWrite();
    if (standardOutput) {
        standardOutput->closeWrite();
        ::fcntl(standardOutput->read(), F_SETFL, O_NONBLOCK);
    }
    ::fcntl(standardError.read(), F_SETFL, O_NONBLOCK);

    ProcessResult result;
    std::size_t standardErrorBytes = 0;
    const auto onStandardError = [&](std::string_view chunk) {
        standardErrorBytes += chunk.size();
        keepTail(result.standardErrorTail, chunk);
        if (request.standardErrorChunk) {
            request.standardErrorChunk(chunk);
        }
    };
    const auto onStandardOutput = [&](std::string_view chunk) {
        if (result.standardOutput.size() < kStandardOutputLimit) {
            result.standardOutput.append(
                chunk.substr(0, kStandardOutputLimit - result.standardOutput.size()));
        }
    };
    const Clock::time_point started = Clock::now();
    Clock::time_point lastHeard = started;
    Stopper stopper(child);
    bool stoppedOnRequest = false;
    int waitStatus = 0;
    while (!hasEnded(child, waitStatus)) {
        std::array<pollfd, 2> fds{pollfd{standardError.read(), POLLIN, 0},
                                  pollfd{standardOutput ? standardOutput->read() : -1, POLLIN, 0}};
        ::poll(fds.data(), fds.size(), kPollMilliseconds);
        const std::size_t before = standardErrorBytes;
        drain(standardError.read(), onStandardError);
        if (standardErrorBytes != before) {
            lastHeard = Clock::now();
        }
        if (standardOutput) {
            drain(standardOutput->read(), onStandardOutput);
        }
        if (request.whileRunning) {
            request.whileRunning();
        }
        const Clock::time_point now = Clock::now();
        if (!stopper.started()) {
            if (request.stopToken.stop_requested()) {
                stoppedOnRequest = true;
            } else if (request.timeLimit && now - started > *request.timeLimit) {
                result.ending = ProcessResult::Ending::timeLimit;
            } else if (request.silenceLimit && now - lastHeard > *request.silenceLimit) {
                result.ending = ProcessResult::Ending::silenceLimit;
            } else {
                continue;
            }
        }
        stopper.advance();
    }
    // No grandchild that kept the pipes open lives on (and none keeps filling them); then whatever the
    // tools left in the pipes.
    ::kill(-child, SIGKILL);
    drain(standardError.read(), onStandardError);
    if (standardOutput) {
        drain(standardOutput->read(), onStandardOutput);
    }
    if (stoppedOnRequest) {
        throw RunCancelled();
    }
    const bool exited = WIFEXITED(waitStatus) && result.ending == ProcessResult::Ending::exited;
    result.exitStatus = exited ? WEXITSTATUS(waitStatus) : 255;
    return result;
}

}  // namespace tidyreel
