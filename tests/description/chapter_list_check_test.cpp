#include "description/chapter_list_check.h"

#include "base/language.h"
#include "description/description_test_support.h"
#include "fcpxml/xml.h"

#include <gtest/gtest.h>

namespace tidyreel {
namespace {

class ChapterListCheck : public testing::Test {
protected:
    void SetUp() override { setPreferredLanguages({"en-GB"}); }
};

const std::string prefix = "⚠️ YouTube will not recognise the chapters: ";

TEST_F(ChapterListCheck, AcceptsAListThePlatformTakes) {
    const std::vector<ChapterMarker> markers = {
        {"Intro", Fraction(999, 1000)}, {"Teil 1", Fraction(10)}, {"Teil 2", Fraction(20)}};
    EXPECT_TRUE(chapterListWarnings(markers, Fraction(30)).empty());
    EXPECT_TRUE(chapterListWarnings(markers, std::nullopt).empty());
    EXPECT_TRUE(chapterListWarnings({}, Fraction(30)).empty());
}

TEST_F(ChapterListCheck, NamesALateFirstChapterAndTheChaptersOfATooShortList) {
    EXPECT_EQ(chapterListWarnings(
                  {{"Intro", Fraction(1)}, {"Teil 1", Fraction(20)}, {"Teil 2", Fraction(40)}}, Fraction(60)),
              std::vector<std::string>{
                  prefix + "the first chapter must start at 00:00, \"00:00:01 Intro\" starts later"});
    EXPECT_EQ(chapterListWarnings({{"Intro", Fraction(0)}, {"Ende", Fraction(60)}}, Fraction(120)),
              std::vector<std::string>{prefix + "at least 3 chapters are needed, the list has only 2: "
                                                "\"00:00:00 Intro\", \"00:01:00 Ende\""});
}

TEST_F(ChapterListCheck, MeasuresChapterLengthsBetweenTheWrittenSeconds) {
    // Written as 00:00:00, 00:00:10 and 00:00:19: the platform sees 10 s and 9 s, then 11 s to the end.
    const std::vector<ChapterMarker> markers = {
        {"A", Fraction(99, 100)}, {"B", Fraction(1099, 100)}, {"C", Fraction(19)}};
    EXPECT_EQ(chapterListWarnings(markers, Fraction(30)),
              std::vector<std::string>{
                  prefix + "every chapter must last at least 10 seconds, too short: \"00:00:10 B\" (9 s)"});
    // The last chapter ends with the video: 28.99 s leaves it 9.99 s.
    EXPECT_EQ(chapterListWarnings(markers, Fraction(2899, 100)),
              std::vector<std::string>{
                  prefix + "every chapter must last at least 10 seconds, too short: \"00:00:10 B\" (9 s), "
                           "\"00:00:19 C\" (9 s)"});
    EXPECT_EQ(chapterListWarnings(markers, std::nullopt).size(), 1u);
}

TEST_F(ChapterListCheck, NamesTheFirstFiveTooShortChaptersAndCountsTheRest) {
    std::vector<ChapterMarker> markers;
    for (int i = 0; i < 8; ++i) {
        markers.push_back({std::string(1, static_cast<char>('A' + i)), Fraction(i)});
    }
    EXPECT_EQ(chapterListWarnings(markers, Fraction(100)),
              std::vector<std::string>{
                  prefix + "every chapter must last at least 10 seconds, too short: \"00:00:00 A\" (1 s), "
                           "\"00:00:01 B\" (1 s), \"00:00:02 C\" (1 s), \"00:00:03 D\" (1 s), "
                           "\"00:00:04 E\" (1 s) and 2 more"});
}

TEST_F(ChapterListCheck, GivesOneLinePerBrokenRuleInGermanToo) {
    setPreferredLanguages({"de-AT"});
    const std::vector<ChapterMarker> markers = {{"Start", Fraction(5)}, {"Start", Fraction(5)}};
    EXPECT_EQ(
        chapterListWarnings(markers, Fraction(9)),
        (std::vector<std::string>{
            "⚠️ YouTube erkennt die Kapitel nicht: Das erste Kapitel muss bei 00:00 beginnen, "
            "„00:00:05 Start“ beginnt später",
            "⚠️ YouTube erkennt die Kapitel nicht: Es sind mindestens 3 Kapitel nötig, die Liste hat "
            "nur "
            "2: "
            "„00:00:05 Start“, „00:00:05 Start“",
            "⚠️ YouTube erkennt die Kapitel nicht: Jedes Kapitel muss mindestens 10 Sekunden dauern, zu "
            "kurz: „00:00:05 Start“ (0 s), „00:00:05 Start“ (4 s)"}));
}

TEST_F(ChapterListCheck, ReadsTheVideoLengthFromTheProjectsSequence) {
    EXPECT_EQ(
        projectTimelineDuration(*XmlDocument::parse(test::projectXml("", "", R"(duration="1001/30s")"))),
        Fraction(1001, 30));
    EXPECT_EQ(projectTimelineDuration(*XmlDocument::parse(test::projectXml("", "", R"(tcStart="0s")"))),
              std::nullopt);
    EXPECT_EQ(projectTimelineDuration(*XmlDocument::parse("<fcpxml><resources/></fcpxml>")), std::nullopt);
}

}  // namespace
}  // namespace tidyreel
