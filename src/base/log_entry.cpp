#include "base/log_entry.h"

#include "base/language.h"
#include "base/raw_value_table.h"
#include "base/uuid.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <ctime>

namespace tidyreel {
namespace {

constexpr RawValueTable<LogEntryType, 5> logSymbols{{"ℹ️", "✅", "⚠️", "❌", "⏳"}};

template <class... Ts>
struct Overloaded : Ts... {
    using Ts::operator()...;
};
// clang before 17 deduces no aggregate's template arguments by itself (the fuzz build uses clang).
template <class... Ts>
Overloaded(Ts...) -> Overloaded<Ts...>;

}  // namespace

std::string_view rawValue(LogEntryType type) {
    return logSymbols.rawValue(type);
}

std::optional<LogEntryType> logEntryTypeFromRaw(std::string_view raw) {
    return logSymbols.fromRaw(raw);
}

LogEntry LogEntry::make(LogEntryType type, std::string message) {
    return LogEntry{newUuid(), Clock::now(), std::move(message), type};
}

double completedShare(const ProcessingProgress& progress) {
    if (progress.total <= 0) {
        return 0;
    }
    // A step of unknown length may report a fraction that is no number at all; it counts as not begun.
    const double fraction =
        std::isfinite(progress.stepFraction) ? std::clamp(progress.stepFraction, 0.0, 1.0) : 0.0;
    const double done = progress.current + fraction;
    return std::clamp(done / progress.total, 0.0, 1.0);
}

std::string progressCaption(const ProcessingProgress& progress) {
    return progress.itemName.empty() ? progress.taskName : progress.taskName + ": " + progress.itemName;
}

std::string statusSymbol(const ActionStatus& status) {
    return std::visit(Overloaded{[](const ActionStatus::NotExecuted&) { return "minus.circle"; },
                                 [](const ActionStatus::Success&) { return "checkmark.circle.fill"; },
                                 [](const ActionStatus::SuccessWithNote&) { return "checkmark.circle.fill"; },
                                 [](const ActionStatus::Failure&) { return "exclamationmark.triangle.fill"; },
                                 [](const ActionStatus::Cancelled&) { return "xmark.circle.fill"; }},
                      status.value);
}

std::string statusText(const ActionStatus& status, TimePoint now) {
    return std::visit(
        Overloaded{
            [](const ActionStatus::NotExecuted&) { return std::string("noch nicht ausgeführt"); },
            [&](const ActionStatus::Success& s) { return "zuletzt: " + relativeTime(s.at, now); },
            [&](const ActionStatus::SuccessWithNote& s) { return "zuletzt: " + relativeTime(s.at, now); },
            [](const ActionStatus::Failure& f) { return f.message; },
            [](const ActionStatus::Cancelled&) { return localized("Abgebrochen", "Cancelled"); }},
        status.value);
}

std::string relativeTime(TimePoint date, TimePoint now) {
    const auto minutes = std::chrono::duration_cast<std::chrono::minutes>(now - date).count();
    if (minutes < 1) {
        return "gerade eben";
    }
    if (minutes < 60) {
        return fmt::format("vor {} Min", minutes);
    }
    return fmt::format("vor {} Std", minutes / 60);
}

std::string formatLocalTime(TimePoint time, const char* format) {
    const std::time_t seconds = Clock::to_time_t(time);
    std::tm local{};
    localtime_r(&seconds, &local);
    std::array<char, 64> buffer{};
    const std::size_t length = std::strftime(buffer.data(), buffer.size(), format, &local);
    return std::string(buffer.data(), length);
}

std::string localClockTime(TimePoint time) {
    return formatLocalTime(time, "%H:%M:%S");
}

std::string displayedMessage(const LogEntry& entry) {
    const std::string_view symbol = rawValue(entry.type);
    const std::size_t text = entry.message.find_first_not_of(' ');
    if (text == std::string::npos || entry.message.compare(text, symbol.size(), symbol) != 0) {
        return entry.message;
    }
    std::string message = entry.message;
    const std::size_t end = text + symbol.size();
    message.erase(text, end < message.size() && message[end] == ' ' ? symbol.size() + 1 : symbol.size());
    return message;
}

std::string copyLogLine(const LogEntry& entry) {
    return fmt::format("{} {} {}", localClockTime(entry.timestamp), rawValue(entry.type),
                       displayedMessage(entry));
}

std::string copyLogText(const std::vector<LogEntry>& entries) {
    std::string text;
    for (const LogEntry& entry : entries) {
        if (!text.empty()) {
            text += '\n';
        }
        text += copyLogLine(entry);
    }
    return text;
}

}  // namespace tidyreel
