// Runs of the real `tidyreel grade` and `tidyreel effects` on fixture projects.
#include "cli/cli_support.h"
#include "fcpxml/role_discovery.h"
#include "fcpxml/xml.h"
#include "grading/grading_support.h"
#include "test_support.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace tidyreel {
namespace {

using test::filesIn;
using test::logMessages;
using test::runTidyreel;
using ::testing::Contains;
using ::testing::HasSubstr;

// The roles of a project file with their clip counts.
std::vector<std::pair<std::string, int>> rolesOf(const std::filesystem::path& project) {
    std::vector<std::pair<std::string, int>> roles;
    for (const VideoRole& role : discoverVideoRoles(*XmlDocument::load(project))) {
        roles.emplace_back(role.name, role.clipCount);
    }
    return roles;
}

class GradeCommandTest : public ::testing::Test {
protected:
    GradeCommandTest() {
        project_ = files_ / "Travel Film.fcpxml";
        std::filesystem::copy_file(test::fixture("grading/two_roles.fcpxml"), project_);
        warm_ = test::writeMotionTemplate(test::motionEffectsFolder(files_.path()), "Looks/Warm/Warm.moef");
        soft_ = test::writePreset(files_ / "Soft.effectspreset", test::kFxPlugUid);
    }

    test::CommandResult grade(std::vector<std::string> extra) {
        for (const auto& entry : std::filesystem::directory_iterator(output_.path())) {
            std::filesystem::remove_all(entry.path());
        }
        std::vector<std::string> arguments{
            "grade", project_.string(), "-o", output_.path().string(), "--lang", "de"};
        arguments.insert(arguments.end(), extra.begin(), extra.end());
        return runTidyreel(arguments, folders_);
    }

    std::shared_ptr<XmlDocument> onlyWrittenProject() const {
        const std::vector<std::filesystem::path> written = filesIn(output_.path());
        EXPECT_EQ(written.size(), 1u);
        return written.empty() ? nullptr : XmlDocument::load(written.front());
    }

    std::filesystem::path mappingsFile() const {
        return folders_.dataHome() / "Tidyreel" / "role_effects.json";
    }

    test::IsolatedUserFolders folders_;
    test::TempFolder files_;
    test::TempFolder output_;
    std::filesystem::path project_, warm_, soft_;
};

TEST_F(GradeCommandTest, GivesEveryClipOfTwoRolesItsEffect) {
    const std::string original = test::readTextFile(project_);

    const test::CommandResult result =
        grade({"--effect", "GoPro=" + warm_.string(), "--effect", "Interview=" + soft_.string()});

    ASSERT_EQ(result.exitStatus, 0) << result.standardOutput << result.standardError;
    const std::vector<std::string> messages = logMessages(result.standardOutput);
    EXPECT_THAT(messages, Contains("✅ Effekt zugewiesen: GoPro → Warm"));
    EXPECT_THAT(messages, Contains("✅ Effekt zugewiesen: Interview → Soft"));
    EXPECT_THAT(messages, Contains("✅ ✓ 2 Effekt(e) hinzugefügt, 11 Clip(s) modifiziert"));
    EXPECT_EQ(messages.back(), "✅ Color-Grading erfolgreich abgeschlossen");

    const auto written = onlyWrittenProject();
    ASSERT_TRUE(written);
    const XmlElement warm = written->first("/fcpxml/resources/effect[@id='r8']");
    EXPECT_EQ(warm.attribute("name"), "Warm");
    EXPECT_EQ(warm.attribute("uid"), "~/Effects.localized/Looks/Warm/Warm.moef");
    EXPECT_EQ(warm.attribute("src").value_or("").rfind("file://", 0), 0u);
    EXPECT_EQ(written->first("/fcpxml/resources/effect[@id='r9']").attribute("uid"), test::kFxPlugUid);
    EXPECT_EQ(written->xpath("//filter-video[@ref='r8'][@name='Warm']").size(), 5u);
    EXPECT_EQ(written->xpath("//filter-video[@ref='r9'][@name='Soft']").size(), 6u);

    EXPECT_EQ(test::readTextFile(project_), original);
    EXPECT_EQ(rolesOf(filesIn(output_.path()).front()), rolesOf(project_));
}

TEST_F(GradeCommandTest, RemembersAssignmentsForTheNextRunUntilTheyAreCleared) {
    ASSERT_EQ(
        grade({"--effect", "GoPro=" + warm_.string(), "--effect", "Interview=" + soft_.string()}).exitStatus,
        0);

    const test::CommandResult listing = runTidyreel({"effects", "--lang", "de"}, folders_);
    EXPECT_EQ(listing.exitStatus, 0);
    EXPECT_THAT(listing.standardOutput,
                HasSubstr("GoPro → Warm (Motion-Vorlage): ~/Effects.localized/Looks/Warm/Warm.moef"));
    EXPECT_THAT(listing.standardOutput,
                HasSubstr(std::string("Interview → Soft (FxPlug): FxPlug:") + test::kPresetUuid));

    const test::CommandResult again = grade({});
    ASSERT_EQ(again.exitStatus, 0) << again.standardOutput;
    EXPECT_THAT(logMessages(again.standardOutput), Contains("ℹ️   ↳ Auto-Effekt: GoPro → Warm"));
    EXPECT_THAT(logMessages(again.standardOutput), Contains("ℹ️   ↳ Auto-Effekt: Interview → Soft"));
    EXPECT_EQ(onlyWrittenProject()->xpath("//filter-video[@ref='r8']").size(), 5u);

    const test::CommandResult cleared = runTidyreel({"effects", "--clear"}, folders_);
    EXPECT_EQ(cleared.exitStatus, 0);
    EXPECT_EQ(logMessages(cleared.standardOutput).back(), "ℹ️ Alle Effektzuordnungen gelöscht");
    EXPECT_EQ(test::readTextFile(mappingsFile()), R"({"mappings":{}})");
    EXPECT_THAT(runTidyreel({"effects", "--lang", "en"}, folders_).standardOutput,
                HasSubstr("No effect assignments remembered"));
}

TEST_F(GradeCommandTest, StopsWithAClearLineWhenAnEffectFileCannotBeRead) {
    std::filesystem::create_directories(files_ / "Folder.effectspreset");

    const test::CommandResult result =
        grade({"--effect", "GoPro=" + (files_ / "Folder.effectspreset").string()});

    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(logMessages(result.standardOutput).back(),
              "❌ Effekt konnte nicht gelesen werden: Datei konnte nicht gelesen werden: " +
                  (files_ / "Folder.effectspreset").string() + " (Is a directory)");
    EXPECT_TRUE(filesIn(output_.path()).empty());
    EXPECT_FALSE(std::filesystem::exists(mappingsFile()));
}

TEST_F(GradeCommandTest, RefusesUnknownRolesAndMalformedEffectOptionsBeforeAnyWork) {
    const test::CommandResult unknown =
        runTidyreel({"grade", project_.string(), "-o", output_.path().string(), "--lang", "en", "--effect",
                     "Drone=" + warm_.string()},
                    folders_);
    EXPECT_EQ(unknown.exitStatus, 2);
    EXPECT_THAT(unknown.standardError,
                HasSubstr("Unknown role: Drone (roles in the project: GoPro, Interview, video)"));
    for (const std::string& option : std::vector<std::string>{"GoPro", "=" + warm_.string(), "GoPro="}) {
        const test::CommandResult result = grade({"--effect", option});
        EXPECT_EQ(result.exitStatus, 2) << option;
        EXPECT_THAT(result.standardError, HasSubstr("ROLE=FILE")) << option;
    }
    EXPECT_TRUE(filesIn(output_.path()).empty());
    EXPECT_FALSE(std::filesystem::exists(mappingsFile()));
}

}  // namespace
}  // namespace tidyreel
