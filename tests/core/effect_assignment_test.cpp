// The controller's effect assignment operations and their remembering across projects and launches.
#include "core/content_view_model.h"
#include "grading/grading_support.h"
#include "grading/role_effect_mapping.h"
#include "test_support.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <string>
#include <vector>

namespace tidyreel {
namespace {

class EffectAssignmentTest : public ::testing::Test {
protected:
    EffectAssignmentTest() {
        warm_ = test::writeMotionTemplate(test::motionEffectsFolder(files_.path()), "Looks/Warm/Warm.moef");
        cool_ = test::writeMotionTemplate(test::motionEffectsFolder(files_.path()), "Looks/Cool/Cool.moef");
        soft_ = test::writePreset(files_ / "Soft.effectspreset", test::kFxPlugUid);
    }

    // Loads a project with one clip per role into the controller.
    void load(ContentViewModel& controller, const std::vector<std::string>& roles) {
        std::string clips;
        for (const std::string& role : roles) {
            clips += R"(<asset-clip name="clip" videoRole=")" + role + R"("/>)";
        }
        test::writeTextFile(files_ / "P.fcpxml",
                            R"(<fcpxml version="1.11"><resources><format id="r1"/></resources>)"
                            R"(<library><event><project name="P"><sequence><spine>)" +
                                clips + "</spine></sequence></project></event></library></fcpxml>");
        controller.loadFile(files_ / "P.fcpxml");
    }

    std::filesystem::path mappingsFile() const {
        return folders_.dataHome() / "Tidyreel" / "role_effects.json";
    }

    nlohmann::json storedMappings() const {
        return nlohmann::json::parse(test::readTextFile(mappingsFile()))["mappings"];
    }

    static std::string lastMessage(const ContentViewModel& controller) {
        return controller.logEntries().back().message;
    }

    test::IsolatedUserFolders folders_;
    test::TempFolder files_;
    std::filesystem::path warm_, cool_, soft_;
};

TEST_F(EffectAssignmentTest, StartsWithNothingRememberedWithoutAFileOrFromADamagedOne) {
    {
        ContentViewModel controller(RunMode::blocking);
        EXPECT_TRUE(controller.persistentEffectMappings().empty());
        EXPECT_EQ(lastMessage(controller), "Tidyreel started");
        EXPECT_FALSE(std::filesystem::exists(mappingsFile()));
    }
    // A damaged file is kept aside, not overwritten by the next save, and reported once.
    const std::string damaged = R"({"mappings":{"GoPro":{"name":1,"uid":"u","sourceType":"fxPlug"}}})";
    test::writeTextFile(mappingsFile(), damaged);
    {
        ContentViewModel controller(RunMode::blocking);
        EXPECT_TRUE(controller.persistentEffectMappings().empty());
        EXPECT_EQ(controller.logEntries().size(), 2u);
        const LogEntry& warning = controller.logEntries().front();
        EXPECT_EQ(warning.type, LogEntryType::warning);
        EXPECT_TRUE(
            warning.message.starts_with("⚠️ Remembered effect assignments damaged, kept aside as " +
                                        mappingsFile().string() + ".damaged"))
            << warning.message;
    }
    EXPECT_EQ(test::readTextFile(mappingsFile().string() + ".damaged"), damaged);
    EXPECT_FALSE(std::filesystem::exists(mappingsFile()));
    EXPECT_EQ(ContentViewModel(RunMode::blocking).logEntries().size(), 1u);
}

TEST_F(EffectAssignmentTest, AssignsRemembersAndReplacesAnEffect) {
    ContentViewModel controller(RunMode::blocking);
    load(controller, {"GoPro"});

    EXPECT_TRUE(controller.assignEffect("GoPro", warm_));
    EXPECT_EQ(lastMessage(controller), "Effekt zugewiesen: GoPro → Warm");
    EXPECT_EQ(controller.logEntries().back().type, LogEntryType::success);
    EXPECT_EQ(storedMappings()["GoPro"]["uid"], "~/Effects.localized/Looks/Warm/Warm.moef");

    EXPECT_TRUE(controller.assignEffect("GoPro", cool_));
    EXPECT_EQ(storedMappings().size(), 1u);
    EXPECT_EQ(storedMappings()["GoPro"]["name"], "Cool");
    EXPECT_EQ(controller.roleEffectMappings().at("GoPro").name, "Cool");
    EXPECT_EQ(controller.persistentEffectMappings(), controller.roleEffectMappings());
}

TEST_F(EffectAssignmentTest, KeepsTheAssignmentAndTheFileWhenAnEffectFileCannotBeRead) {
    ContentViewModel controller(RunMode::blocking);
    load(controller, {"GoPro"});
    controller.assignEffect("GoPro", warm_);
    const std::string stored = test::readTextFile(mappingsFile());
    test::writeTextFile(files_ / "Clip.mov", "");

    EXPECT_FALSE(controller.assignEffect("GoPro", files_ / "Clip.mov"));
    EXPECT_EQ(lastMessage(controller),
              "Effekt konnte nicht gelesen werden: Nicht unterstütztes Format: .mov");
    EXPECT_EQ(controller.logEntries().back().type, LogEntryType::error);

    EXPECT_FALSE(controller.assignEffect("GoPro", files_ / "gone.effectspreset"));
    EXPECT_EQ(controller.roleEffectMappings().at("GoPro").name, "Warm");
    EXPECT_EQ(test::readTextFile(mappingsFile()), stored);
}

TEST_F(EffectAssignmentTest, RemovesAnEffectAndRewritesTheFileEvenWithoutOne) {
    ContentViewModel controller(RunMode::blocking);
    load(controller, {"GoPro", "Interview"});
    controller.assignEffect("GoPro", warm_);
    controller.assignEffect("Interview", soft_);

    controller.removeEffect("GoPro");
    EXPECT_EQ(lastMessage(controller), "Effekt entfernt von: GoPro");
    EXPECT_EQ(storedMappings().size(), 1u);
    EXPECT_FALSE(storedMappings()["Interview"].contains("src"));

    std::filesystem::remove(mappingsFile());
    controller.removeEffect("GoPro");
    EXPECT_EQ(lastMessage(controller), "Effekt entfernt von: GoPro");
    EXPECT_EQ(storedMappings().size(), 1u);
}

TEST_F(EffectAssignmentTest, AppliesRememberedEffectsToTheNextProjectAndForgetsOthersOnItsFirstChange) {
    {
        ContentViewModel controller(RunMode::blocking);
        load(controller, {"GoPro", "Drone"});
        controller.assignEffect("GoPro", warm_);
        controller.assignEffect("Drone", soft_);
    }
    ContentViewModel controller(RunMode::blocking);
    load(controller, {"GoPro", "Interview"});

    EXPECT_EQ(lastMessage(controller), "  ↳ Auto-Effekt: GoPro → Warm");
    EXPECT_EQ(controller.roleEffectMappings().size(), 1u);
    EXPECT_TRUE(storedMappings().contains("Drone"));

    controller.assignEffect("Interview", soft_);
    EXPECT_FALSE(storedMappings().contains("Drone"));
    EXPECT_EQ(storedMappings().size(), 2u);
    EXPECT_EQ(controller.persistentEffectMappings().count("Drone"), 0u);
}

TEST_F(EffectAssignmentTest, ClearingTheFileKeepsWhatIsRememberedDeletingAllForgetsIt) {
    ContentViewModel controller(RunMode::blocking);
    load(controller, {"GoPro"});
    controller.assignEffect("GoPro", warm_);
    controller.clearFile();
    EXPECT_TRUE(controller.roleEffectMappings().empty());
    EXPECT_EQ(controller.persistentEffectMappings().size(), 1u);

    load(controller, {"GoPro"});
    controller.deleteAllEffectMappings();
    EXPECT_EQ(lastMessage(controller), "Alle Effektzuordnungen gelöscht");
    EXPECT_TRUE(controller.roleEffectMappings().empty());
    EXPECT_TRUE(controller.persistentEffectMappings().empty());
    EXPECT_EQ(test::readTextFile(mappingsFile()), R"({"mappings":{}})");
    load(controller, {"GoPro"});
    EXPECT_TRUE(controller.roleEffectMappings().empty());
}

TEST_F(EffectAssignmentTest, KeepsWorkingWhenTheApplicationSupportFolderCannotBeWritten) {
    std::filesystem::remove_all(folders_.dataHome());
    test::writeTextFile(folders_.dataHome(), "not a folder");
    ContentViewModel controller(RunMode::blocking);
    load(controller, {"GoPro"});

    testing::internal::CaptureStderr();
    EXPECT_TRUE(controller.assignEffect("GoPro", warm_));
    const std::string diagnostics = testing::internal::GetCapturedStderr();

    EXPECT_EQ(lastMessage(controller), "Effekt zugewiesen: GoPro → Warm");
    EXPECT_EQ(controller.persistentEffectMappings().size(), 1u);
    EXPECT_NE(diagnostics.find("role_effects.json"), std::string::npos) << diagnostics;
}

}  // namespace
}  // namespace tidyreel
