#include "grading/role_effect_mapping.h"

#include "base/error.h"
#include "test_support.h"

#include "grading_support.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <string>

namespace tidyreel {
namespace {

void expectUndecodable(const std::string& json) {
    EXPECT_THROW(RoleEffectMapping::decoded(json), Error) << json;
}

TEST(RoleEffectMappingEncoding, WritesCompactJsonAndLeavesOutAnAbsentSource) {
    const std::string json =
        RoleEffectMapping{{{"GoPro", test::kWarmTemplate}, {"Interview", test::kSoftPreset}}}.encoded();

    EXPECT_EQ(json.find('\n'), std::string::npos);
    EXPECT_EQ(json.find(": "), std::string::npos);
    const nlohmann::json document = nlohmann::json::parse(json);
    EXPECT_EQ(document.size(), 1u);
    EXPECT_EQ(document["mappings"]["GoPro"], (nlohmann::json{{"name", "Warm"},
                                                             {"uid", test::kWarmTemplate.uid},
                                                             {"src", *test::kWarmTemplate.src},
                                                             {"sourceType", "motionTemplate"}}));
    EXPECT_EQ(document["mappings"]["Interview"],
              (nlohmann::json{{"name", "Soft"}, {"uid", test::kSoftPreset.uid}, {"sourceType", "fxPlug"}}));
}

TEST(RoleEffectMappingEncoding, RoundTripsRoleNamesAndReferencesUnchanged) {
    const RoleEffectMappings mappings{{"B-Roll.cam A", test::kWarmTemplate},
                                      {"Drohne", test::kSoftPreset},
                                      {"Ünterwasser \"1\"", test::kWarmTemplate}};
    EXPECT_EQ(RoleEffectMapping::decoded(RoleEffectMapping{mappings}.encoded()).mappings, mappings);
    EXPECT_EQ(RoleEffectMapping::decoded(RoleEffectMapping{{}}.encoded()).mappings, RoleEffectMappings{});
    EXPECT_EQ(RoleEffectMapping{{}}.encoded(), R"({"mappings":{}})");
}

TEST(RoleEffectMappingEncoding, FailsOnTextThatIsNotUtf8) {
    const RoleEffectMapping mapping{{{"Caf\xe9", test::kSoftPreset}}};
    EXPECT_THROW(mapping.encoded(), Error);
}

TEST(RoleEffectMappingDecoding, AcceptsAMissingOrNullSourceAndUnknownKeys) {
    const RoleEffectMappings mappings =
        RoleEffectMapping::decoded(
            R"({"mappings":{"A":{"name":"Soft","uid":"FxPlug:x","sourceType":"fxPlug"},
                        "B":{"name":"Soft","uid":"FxPlug:x","sourceType":"fxPlug","src":null,"extra":1}},
            "version":2})")
            .mappings;
    ASSERT_EQ(mappings.size(), 2u);
    EXPECT_EQ(mappings.at("A").src, std::nullopt);
    EXPECT_EQ(mappings.at("B").src, std::nullopt);
    EXPECT_EQ(mappings.at("A").sourceType, SourceType::fxPlug);
}

TEST(RoleEffectMappingDecoding, RefusesTheWholeFileWhenOneEntryDoesNotFit) {
    const std::string good = R"("Good":{"name":"Soft","uid":"FxPlug:x","sourceType":"fxPlug"})";
    for (const char* bad :
         {R"({"uid":"FxPlug:x","sourceType":"fxPlug"})", R"({"name":"Soft","sourceType":"fxPlug"})",
          R"({"name":"Soft","uid":"FxPlug:x"})", R"({"name":"Soft","uid":7,"sourceType":"fxPlug"})",
          R"({"name":"Soft","uid":"x","sourceType":"motion"})",
          R"({"name":"Soft","uid":"x","sourceType":"fxPlug","src":1})", R"("Soft")"}) {
        expectUndecodable(R"({"mappings":{)" + good + R"(,"Bad":)" + bad + "}}");
    }
}

TEST(RoleEffectMappingDecoding, RefusesFilesThatAreNotAMappingObject) {
    for (const char* json : {"", "{\"mappings\":{", "[]", "{}", R"({"mappings":[]})", R"({"mappings":null})",
                             "\xff\xfe garbage"}) {
        expectUndecodable(json);
    }
}

class RoleEffectMappingFileTest : public ::testing::Test {
protected:
    std::filesystem::path file() const { return folders_.dataHome() / "Tidyreel" / "role_effects.json"; }

    test::IsolatedUserFolders folders_;
};

TEST_F(RoleEffectMappingFileTest, SavesToAndLoadsFromTheApplicationSupportFolder) {
    RoleEffectMapping::save({{"GoPro", test::kWarmTemplate}});

    EXPECT_EQ(RoleEffectMapping::fileURL(), file());
    EXPECT_EQ(test::readTextFile(file()), (RoleEffectMapping{{{"GoPro", test::kWarmTemplate}}}.encoded()));
    EXPECT_EQ(RoleEffectMapping::load(), (RoleEffectMappings{{"GoPro", test::kWarmTemplate}}));

    RoleEffectMapping::save({{"Interview", test::kSoftPreset}});
    EXPECT_EQ(RoleEffectMapping::load(), (RoleEffectMappings{{"Interview", test::kSoftPreset}}));
}

TEST_F(RoleEffectMappingFileTest, FailsToLoadAMissingOrDamagedFile) {
    EXPECT_THROW(RoleEffectMapping::load(), Error);
    test::writeTextFile(file(), R"({"mappings":{"A":{"name":"Soft"}}})");
    EXPECT_THROW(RoleEffectMapping::load(), Error);
}

TEST_F(RoleEffectMappingFileTest, FailsToSaveWhenTheFolderCannotBeMade) {
    std::filesystem::remove_all(folders_.dataHome());
    test::writeTextFile(folders_.dataHome(), "a file where the data folder should be");
    EXPECT_THROW(RoleEffectMapping::save({{"GoPro", test::kWarmTemplate}}), Error);
}

}  // namespace
}  // namespace tidyreel
