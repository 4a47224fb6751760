#include "pipeline/export_context.h"

#include <gtest/gtest.h>

#include <ctime>

namespace tidyreel {
namespace {

TimePoint localTime(int year, int month, int day, int hour, int minute) {
    std::tm local{};
    local.tm_year = year - 1900;
    local.tm_mon = month - 1;
    local.tm_mday = day;
    local.tm_hour = hour;
    local.tm_min = minute;
    local.tm_isdst = -1;
    return Clock::from_time_t(std::mktime(&local));
}

ExportContext contextFor(ExportActionType type, const std::string& originalFileName) {
    ExportContext context;
    context.actionType = type;
    context.originalFileName = originalFileName;
    context.settings.outputDirectory = "/out";
    return context;
}

TEST(ExportActionType, RawValuesRoundTripAndNothingElseParses) {
    EXPECT_EQ(rawValue(ExportActionType::colorGrading), "colorgrading");
    EXPECT_EQ(rawValue(ExportActionType::youtube), "youtube");
    EXPECT_EQ(rawValue(ExportActionType::archiving), "archive");
    EXPECT_EQ(exportActionTypeFromRaw("archive"), ExportActionType::archiving);
    EXPECT_EQ(exportActionTypeFromRaw("archiving"), std::nullopt);
    EXPECT_EQ(exportActionTypeFromRaw("Youtube"), std::nullopt);
}

TEST(OutputFileName, DatedNamesCutTheBaseToFifteenCharacters) {
    const TimePoint at = localTime(2025, 3, 5, 14, 7);
    const ExportContext grading =
        contextFor(ExportActionType::colorGrading, "My Wedding Film Final Cut.fcpxml");
    EXPECT_EQ(grading.outputFileName(at), "250305_1407_cologr_My Wedding Film.fcpxml");
    EXPECT_EQ(grading.fcpxmlOutputURL(at), "/out/250305_1407_cologr_My Wedding Film.fcpxml");
    EXPECT_EQ(contextFor(ExportActionType::archiving, "Trip.fcpxml").outputFileName(at),
              "250305_1407_archiv_Trip.fcpxml");
    EXPECT_EQ(contextFor(ExportActionType::youtube, "Trip.fcpxmld").outputFileName(at), "youtube_Trip.txt");
}

TEST(OutputFileName, BundlesGetANewBundleHoldingInfoFcpxml) {
    const TimePoint at = localTime(2025, 3, 5, 14, 7);
    EXPECT_EQ(contextFor(ExportActionType::colorGrading, "Trip.fcpxmld").fcpxmlOutputURL(at),
              "/out/250305_1407_cologr_Trip.fcpxmld/Info.fcpxml");
    EXPECT_EQ(contextFor(ExportActionType::colorGrading, "Trip.FCPXMLD").fcpxmlOutputURL(at),
              "/out/250305_1407_cologr_Trip.FCPXMLD/Info.fcpxml");
    EXPECT_EQ(contextFor(ExportActionType::colorGrading, "Reise.2024.Teil1.fcpxml").outputFileName(at),
              "250305_1407_cologr_Reise.2024.Teil.fcpxml");  // 16 characters cut to 15
}

}  // namespace
}  // namespace tidyreel
