#include "cli/stop_signals.h"

#include <signal.h>

#include <atomic>
#include <cstdlib>
#include <mutex>
#include <thread>

namespace tidyreel::cli::StopSignals {
namespace {

std::mutex handlerLock;
std::function<bool()> stopHandler;
std::atomic<int> receivedSignal{0};

sigset_t stopSignalSet() {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGINT);
    sigaddset(&set, SIGTERM);
    return set;
}

// A signal handler may do almost nothing safely; a thread that waits for the signals may do anything.
void watch(sigset_t set) {
    while (true) {
        int signal = 0;
        if (sigwait(&set, &signal) != 0) {
            continue;
        }
        receivedSignal = signal;
        const std::lock_guard guard(handlerLock);
        if (!stopHandler || !stopHandler()) {
            std::_Exit(128 + signal);
        }
    }
}

}  // namespace

void install() {
    const sigset_t set = stopSignalSet();
    pthread_sigmask(SIG_BLOCK, &set, nullptr);
    std::thread(watch, set).detach();
}

void setStopHandler(std::function<bool()> stop) {
    const std::lock_guard guard(handlerLock);
    stopHandler = std::move(stop);
}

int received() {
    return receivedSignal;
}

}  // namespace tidyreel::cli::StopSignals
