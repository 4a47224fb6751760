#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace tidyreel {

using Clock = std::chrono::system_clock;
using TimePoint = Clock::time_point;

/// The kind of a log line; its raw value is the symbol shown in front of the line.
enum class LogEntryType { info, success, warning, error, progress };

/// The symbol of a log line type ("ℹ️", "✅", "⚠️", "❌", "⏳").
std::string_view rawValue(LogEntryType type);
/// The type whose symbol is `raw`; no value for any other text.
std::optional<LogEntryType> logEntryTypeFromRaw(std::string_view raw);

/// Appends one line to the processing log: type first, then the message.
using Logger = std::function<void(LogEntryType, const std::string&)>;

/// One line of the processing log.
struct LogEntry {
    std::string id;       ///< new random UUID per entry
    TimePoint timestamp;  ///< when the entry was made
    std::string message;  ///< the line as the reporter wrote it
    LogEntryType type{};  ///< its kind

    /// Creates an entry stamped now with a fresh id.
    static LogEntry make(LogEntryType type, std::string message);

    bool operator==(const LogEntry&) const = default;
};

/// Progress of a running task: its step exactly as the task reported it, and, inside a step that takes
/// long (an encode, a copy), how far that step has got and which file it works on.
struct ProcessingProgress {
    ProcessingProgress() = default;
    ProcessingProgress(int current, int total, std::string taskName, double stepFraction = 0,
                       std::string itemName = {})
        : current(current),
          total(total),
          taskName(std::move(taskName)),
          stepFraction(stepFraction),
          itemName(std::move(itemName)) {}

    int current = 0;          ///< the step being worked on
    int total = 0;            ///< the number of steps
    std::string taskName;     ///< the reporting task
    double stepFraction = 0;  ///< how much of the current step is done, 0…1
    std::string itemName;     ///< the file the step works on; empty when it names none

    bool operator==(const ProcessingProgress&) const = default;
};

/// Reports progress of the running task.
using ProgressUpdater = std::function<void(const ProcessingProgress&)>;

/// How much of the whole task is done, 0…1: the steps before the current one plus the current
/// step's fraction.
double completedShare(const ProcessingProgress& progress);
/// What the task is doing, as shown beside the bar: the task name, then ": " and the file it works on
/// when it names one ("Trimme Video: A003.mov").
std::string progressCaption(const ProcessingProgress& progress);

/// The last outcome of one workflow.
struct ActionStatus {
    struct NotExecuted {
        bool operator==(const NotExecuted&) const = default;
    };
    struct Success {
        TimePoint at;
        bool operator==(const Success&) const = default;
    };
    struct SuccessWithNote {
        TimePoint at;
        std::string note;
        bool operator==(const SuccessWithNote&) const = default;
    };
    struct Failure {
        std::string message;
        bool operator==(const Failure&) const = default;
    };
    /// Stopped on request (Ctrl-C, SIGTERM, Cancel, quitting): no failure of the workflow.
    struct Cancelled {
        bool operator==(const Cancelled&) const = default;
    };

    std::variant<NotExecuted, Success, SuccessWithNote, Failure, Cancelled> value;

    static ActionStatus notExecuted() { return {NotExecuted{}}; }
    static ActionStatus success(TimePoint at) { return {Success{at}}; }
    static ActionStatus successWithNote(TimePoint at, std::string note) {
        return {SuccessWithNote{at, std::move(note)}};
    }
    static ActionStatus error(std::string message) { return {Failure{std::move(message)}}; }
    static ActionStatus cancelled() { return {Cancelled{}}; }

    bool operator==(const ActionStatus&) const = default;
};

/// The symbol name shown in front of a status line.
std::string statusSymbol(const ActionStatus& status);
/// The status line under a workflow's start button, e.g. "zuletzt: vor 3 Min".
std::string statusText(const ActionStatus& status, TimePoint now);
/// How long ago `date` was, in the short German form ("gerade eben", "vor 5 Min", "vor 2 Std").
std::string relativeTime(TimePoint date, TimePoint now);

/// A time point in local time as "HH:mm:ss".
std::string localClockTime(TimePoint time);
/// A time point in local time formatted with strftime-style `format`.
std::string formatLocalTime(TimePoint time, const char* format);

/// The message as shown after the entry's symbol: a warning that begins with the warning symbol itself
/// (and the like for the other types) does not show it twice.
std::string displayedMessage(const LogEntry& entry);
/// One log line in its copied form: "HH:mm:ss <symbol> <message>".
std::string copyLogLine(const LogEntry& entry);
/// The whole log as copied to the clipboard: one line per entry, joined by line feeds.
std::string copyLogText(const std::vector<LogEntry>& entries);

}  // namespace tidyreel
