#include "base/log_entry.h"

#include "base/language.h"

#include <gtest/gtest.h>

#include <cmath>

namespace tidyreel {
namespace {

using std::chrono::minutes;
using std::chrono::seconds;

// Every exact log line the tests collect shows the other symbols.
TEST(LogEntryType, RawValuesAreTheSymbolsBothWays) {
    EXPECT_EQ(rawValue(LogEntryType::progress), "⏳");
    EXPECT_EQ(logEntryTypeFromRaw("⚠️"), LogEntryType::warning);
    EXPECT_EQ(logEntryTypeFromRaw("⚠"), std::nullopt);  // without the variation selector
    EXPECT_EQ(logEntryTypeFromRaw("info"), std::nullopt);
}

TEST(LogEntry, EveryEntryGetsItsOwnIdAndEqualityComparesAllFields) {
    const LogEntry first = LogEntry::make(LogEntryType::info, "a");
    LogEntry copy = first;
    EXPECT_EQ(first, copy);
    copy.type = LogEntryType::error;
    EXPECT_NE(first, copy);
    EXPECT_NE(first.id, LogEntry::make(LogEntryType::info, "a").id);
}

TEST(RelativeTime, MinuteAndHourBoundaries) {
    const TimePoint now = Clock::now();
    EXPECT_EQ(relativeTime(now - seconds(59), now), "gerade eben");
    EXPECT_EQ(relativeTime(now - seconds(60), now), "vor 1 Min");
    EXPECT_EQ(relativeTime(now - minutes(59) - seconds(59), now), "vor 59 Min");
    EXPECT_EQ(relativeTime(now - minutes(60), now), "vor 1 Std");
    EXPECT_EQ(relativeTime(now - minutes(119), now), "vor 1 Std");
    EXPECT_EQ(relativeTime(now - minutes(120), now), "vor 2 Std");
    EXPECT_EQ(relativeTime(now - minutes(60 * 49 + 5), now), "vor 49 Std");
    EXPECT_EQ(relativeTime(now + minutes(5), now), "gerade eben");  // a clock set back
}

TEST(ActionStatusText, EachCaseHasItsSymbolAndLine) {
    const TimePoint now = Clock::now();
    EXPECT_EQ(statusText(ActionStatus::notExecuted(), now), "noch nicht ausgeführt");
    EXPECT_EQ(statusSymbol(ActionStatus::notExecuted()), "minus.circle");
    EXPECT_EQ(statusText(ActionStatus::success(now - minutes(3)), now), "zuletzt: vor 3 Min");
    EXPECT_EQ(statusSymbol(ActionStatus::success(now)), "checkmark.circle.fill");
    const ActionStatus noted{ActionStatus::SuccessWithNote{now - minutes(61), "note"}};
    EXPECT_EQ(statusText(noted, now), "zuletzt: vor 1 Std");
    EXPECT_EQ(statusText(ActionStatus::error("Fehler aufgetreten"), now), "Fehler aufgetreten");
    EXPECT_EQ(statusSymbol(ActionStatus::error("x")), "exclamationmark.triangle.fill");
    setPreferredLanguages({"de"});
    EXPECT_EQ(statusText(ActionStatus::cancelled(), now), "Abgebrochen");
    EXPECT_EQ(statusSymbol(ActionStatus::cancelled()), "xmark.circle.fill");
    setPreferredLanguages({"en"});
    EXPECT_EQ(statusText(ActionStatus::cancelled(), now), "Cancelled");
    setPreferredLanguages({});
}

// The trim phase counts its steps from 0: step 1 of 4 half done is three eighths of the whole.
TEST(ProgressShare, FinishedStepsPlusTheCurrentStepsFraction) {
    EXPECT_DOUBLE_EQ(completedShare({1, 4, "Trimme Video", 0.5, "A003.mov"}), 0.375);
    EXPECT_DOUBLE_EQ(completedShare({1, 4, "Trimme Video"}), 0.25);
    // ffmpeg may report a little past the planned length, and a step may report an unknown length.
    EXPECT_DOUBLE_EQ(completedShare({3, 4, "Trimme Video", 1.2}), 1.0);
    EXPECT_DOUBLE_EQ(completedShare({1, 4, "Kopiere Material", std::nan("")}), 0.25);
    EXPECT_DOUBLE_EQ(completedShare({1, 4, "Kopiere Material", -0.5}), 0.25);
    EXPECT_DOUBLE_EQ(completedShare({0, 0, "Analysiere Assets", 0.5}), 0.0);
    EXPECT_DOUBLE_EQ(completedShare({7, 4, "Kopiere Material"}), 1.0);
}

TEST(ProgressCaption, NamesTheFileWhenTheStepHasOne) {
    EXPECT_EQ(progressCaption({0, 3, "Trimme Video", 0.4, "A003.mov"}), "Trimme Video: A003.mov");
    EXPECT_EQ(progressCaption({0, 3, "Analysiere Assets"}), "Analysiere Assets");
}

TEST(CopyLog, OneLinePerEntryWithLocalTimeSymbolAndMessage) {
    EXPECT_EQ(copyLogText({}), "");
    LogEntry warning = LogEntry::make(LogEntryType::warning, "Achtung");
    LogEntry info = LogEntry::make(LogEntryType::info, "");
    std::tm local{};
    local.tm_year = 125;
    local.tm_mon = 2;
    local.tm_mday = 5;
    local.tm_hour = 14;
    local.tm_min = 7;
    local.tm_sec = 9;
    local.tm_isdst = -1;
    warning.timestamp = Clock::from_time_t(std::mktime(&local));
    info.timestamp = warning.timestamp + seconds(1);
    EXPECT_EQ(copyLogText({warning, info}), "14:07:09 ⚠️ Achtung\n14:07:10 ℹ️ ");
}

}  // namespace
}  // namespace tidyreel
