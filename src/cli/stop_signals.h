#pragma once

#include <functional>

namespace tidyreel::cli::StopSignals {

/// Turns SIGINT and SIGTERM into a stop request: they are blocked in every thread and received by one
/// watcher thread. Call first in `main`, before any other thread starts.
void install();

/// Sets what a signal does while a workflow may run: `stop` asks the run to end and returns whether one
/// was busy. Without a busy run the process ends at once with 128 + the signal's number.
void setStopHandler(std::function<bool()> stop);

/// The signal that asked the run to stop, 0 when none did.
int received();

}  // namespace tidyreel::cli::StopSignals
