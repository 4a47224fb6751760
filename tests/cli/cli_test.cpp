// Runs the real `tidyreel` binary as an editor would, on fixture projects.
#include "cli/cli_support.h"
#include "test_support.h"

#include "fcpxml/xml.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace tidyreel {
namespace {

using test::runTidyreel;

class CommandLine : public ::testing::Test {
protected:
    test::IsolatedUserFolders user;
    test::TempFolder folder;
    std::filesystem::path output = folder / "Ausgabe";
};

TEST_F(CommandLine, RolesListsRolesAndCountsOfARealExport) {
    const test::CommandResult result =
        runTidyreel({"roles", test::fixture("roles_mixed.fcpxml").string(), "--lang", "en"}, user);
    EXPECT_EQ(result.exitStatus, 0) << result.standardError;
    const std::vector<std::string> lines = test::logMessages(result.standardOutput);
    const std::vector<std::string> expected = {
        "ℹ️ Tidyreel started",         "ℹ️ Selected: roles_mixed.fcpxml",
        "ℹ️ Gefunden: 5 Video-Rollen", "ℹ️   → B-Roll: 2 Clips",
        "ℹ️   → Compound: 1 Clips",  "ℹ️   → Drone: 2 Clips",
        "ℹ️   → Interview: 5 Clips", "ℹ️   → video: 3 Clips"};
    EXPECT_EQ(lines, expected);
    for (const std::string& line : test::splitLines(result.standardOutput)) {
        ASSERT_GE(line.size(), 9u);
        EXPECT_EQ(line[2], ':');
        EXPECT_EQ(line[5], ':');
        EXPECT_EQ(line[8], ' ');
    }
}

TEST_F(CommandLine, GradeWritesADatedBundleForABundleAndRemembersTheOutputFolder) {
    const std::string bundle = test::fixture("60fps-rubric-markers.fcpxmld").string();
    const std::string before = test::readTextFile(test::fixture("60fps-rubric-markers.fcpxmld/Info.fcpxml"));
    test::writeTextFile(folder / "Warm.moef", "<?xml version=\"1.0\"?><ozml version=\"5.0\"/>");
    test::CommandResult result = runTidyreel({"grade", bundle, "-o", output.string(), "--lang", "de",
                                              "--effect", "video=" + (folder / "Warm.moef").string()},
                                             user);
    ASSERT_EQ(result.exitStatus, 0) << result.standardOutput << result.standardError;
    EXPECT_EQ(test::logMessages(result.standardOutput).back(), "✅ Color-Grading erfolgreich abgeschlossen");

    const std::vector<std::filesystem::path> files = test::filesIn(output);
    ASSERT_EQ(files.size(), 2u);  // the bundle folder and its Info.fcpxml
    EXPECT_TRUE(files[0].filename().string().ends_with("_cologr_60fps-rubric-ma.fcpxmld"));
    EXPECT_EQ(files[1].filename(), "Info.fcpxml");
    const auto written = XmlDocument::load(files[1]);
    EXPECT_NE(written->first("//project").attribute("name").value_or("").find("_colorgrading_"),
              std::string::npos);
    EXPECT_EQ(written->xpath("//asset-clip/filter-video[@name='Warm']").size(), 1u);
    EXPECT_EQ(written->first("//resources/effect[@name='Warm']").attribute("uid"),
              "~/Effects.localized/Warm.moef");
    EXPECT_EQ(test::readTextFile(test::fixture("60fps-rubric-markers.fcpxmld/Info.fcpxml")), before);

    std::filesystem::remove_all(output);
    std::filesystem::create_directory(output);
    result = runTidyreel({"grade", test::fixture("roles_mixed.fcpxml").string(), "--lang", "en"}, user);
    EXPECT_EQ(result.exitStatus, 0) << result.standardOutput;
    EXPECT_NE(result.standardOutput.find("Writing new FCPXML..."), std::string::npos);
    EXPECT_EQ(test::filesIn(output).size(), 1u);
}

TEST_F(CommandLine, GradeWithoutAnyOutputFolderFailsWithTheSystemsMessage) {
    const test::CommandResult result =
        runTidyreel({"grade", test::fixture("roles_mixed.fcpxml").string()}, user);
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(test::logMessages(result.standardOutput).back(),
              "❌ Color-Grading fehlgeschlagen: Kein Zielordner ausgewählt");
}

TEST_F(CommandLine, BadProjectsFailWithAnErrorLineAndWriteNothing) {
    const std::string valid = test::readTextFile(test::fixture("roles_mixed.fcpxml"));
    // What makes a file unreadable as XML is the parser's test; here every way to fail once.
    test::writeTextFile(folder / "malformed.fcpxml", valid.substr(0, valid.size() / 2));
    std::filesystem::create_directory(folder / "folder.fcpxml");
    test::writeTextFile(folder / "unreadable.fcpxml", valid);
    std::filesystem::permissions(folder / "unreadable.fcpxml", std::filesystem::perms::none);
    const bool canStillRead = !test::readTextFile(folder / "unreadable.fcpxml").empty();  // running as root
    for (const char* name : {"malformed", "missing", "folder", "unreadable"}) {
        if (std::string(name) == "unreadable" && canStillRead) {
            continue;
        }
        const std::filesystem::path project = folder / (std::string(name) + ".fcpxml");
        const test::CommandResult result =
            runTidyreel({"grade", project.string(), "-o", output.string()}, user);
        EXPECT_EQ(result.exitStatus, 1) << name;
        const std::vector<std::string> lines = test::logMessages(result.standardOutput);
        ASSERT_FALSE(lines.empty()) << name;
        EXPECT_TRUE(lines.back().starts_with("❌ Color-Grading fehlgeschlagen: "))
            << name << ": " << lines.back();
        EXPECT_TRUE(std::any_of(lines.begin(), lines.end(), [](const std::string& line) {
            return line.starts_with("❌ Fehler beim Parsen der Rollen: ");
        })) << name;
        EXPECT_TRUE(test::filesIn(output).empty()) << name;
        const test::CommandResult roles = runTidyreel({"roles", project.string()}, user);
        EXPECT_EQ(roles.exitStatus, 1) << name;
    }
}

TEST_F(CommandLine, UsageErrorsExitWithTwo) {
    EXPECT_EQ(runTidyreel({}, user).exitStatus, 2);
    EXPECT_EQ(runTidyreel({"grade"}, user).exitStatus, 2);
    EXPECT_EQ(runTidyreel({"roles", "x.fcpxml", "--lang", "fr"}, user).exitStatus, 2);
    EXPECT_EQ(runTidyreel({"frobnicate"}, user).exitStatus, 2);
    EXPECT_EQ(runTidyreel({"--help"}, user).exitStatus, 0);
}

}  // namespace
}  // namespace tidyreel
