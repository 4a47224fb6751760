#include "grading/effect_preset_parser.h"

#include "grading_support.h"
#include "test_support.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

namespace tidyreel {
namespace {

using test::kPresetUuid;
using test::TempFolder;
using test::writeMotionTemplate;
using test::writePreset;
using namespace std::string_literals;

const std::string kNoUuid = "Konnte FxPlug-UUID oder effectID nicht aus der Datei lesen";

// The parse must fail with exactly this kind of `ParseError` and description.
void expectParseError(const std::filesystem::path& file, ParseError::Kind kind,
                      const std::string& description) {
    try {
        EffectPresetParser::parse(file);
        ADD_FAILURE() << "parsed " << file;
    } catch (const ParseError& error) {
        EXPECT_EQ(error.kind(), kind);
        EXPECT_EQ(error.what(), description);
    }
}

// The parse must fail with the file system's read error for `code`, naming the file.
void expectReadFailure(const std::filesystem::path& file, int code) {
    try {
        EffectPresetParser::parse(file);
        ADD_FAILURE() << "parsed " << file;
    } catch (const ParseError& error) {
        ADD_FAILURE() << "a file system error was expected, got: " << error.what();
    } catch (const Error& error) {
        EXPECT_EQ(error.domain(), "FileSystem");
        EXPECT_EQ(error.code(), code);
        EXPECT_NE(std::string(error.what()).find(file.string()), std::string::npos) << error.what();
    }
}

// A template elsewhere is referenced as if it lay in the effects folder.
TEST(EffectPresetParserMotionTemplate, ReferencesATemplateByItsPlaceInTheEffectsFolder) {
    TempFolder home;
    const EffectReference reference = EffectPresetParser::parse(
        writeMotionTemplate(test::motionEffectsFolder(home.path()), "Looks/Warm/Warm.moef"));
    EXPECT_EQ(reference.name, "Warm");
    EXPECT_EQ(reference.uid, "~/Effects.localized/Looks/Warm/Warm.moef");
    EXPECT_EQ(reference.src,
              "file://" + home.path().string() +
                  "/Movies/Motion%20Templates.localized/Effects.localized/Looks/Warm/Warm.moef");
    EXPECT_EQ(reference.sourceType, SourceType::motionTemplate);

    const EffectReference elsewhere =
        EffectPresetParser::parse(writeMotionTemplate(home.path(), "Warm Look.moef"));
    EXPECT_EQ(elsewhere.name, "Warm Look");
    EXPECT_EQ(elsewhere.uid, "~/Effects.localized/Warm Look.moef");
    EXPECT_EQ(elsewhere.src, "file://" + home.path().string() + "/Warm%20Look.moef");
}

TEST(EffectPresetParserMotionTemplate, TakesThePlaceBelowTheFirstFolderNamedExactlyEffectsLocalized) {
    const std::string effects = "Movies/Motion Templates.localized/Effects.localized/";
    for (const auto& [place, uid] : std::vector<std::pair<std::string, std::string>>{
             {effects + "Backup/Effects.localized/Looks/Cool.moef",
              "~/Effects.localized/Backup/Effects.localized/Looks/Cool.moef"},
             {"effects.localized/Warm.moef", "~/Effects.localized/Warm.moef"},
             {"Effects.localized.old/Warm.moef", "~/Effects.localized/Warm.moef"},
             {"Desktop/Warm.MOEF", "~/Effects.localized/Warm.moef"}}) {
        TempFolder home;
        const EffectReference reference = EffectPresetParser::parse(writeMotionTemplate(home.path(), place));
        EXPECT_EQ(reference.uid, uid) << place;
        EXPECT_EQ(reference.sourceType, SourceType::motionTemplate) << place;
    }
}

TEST(EffectPresetParserMotionTemplate, ResolvesRelativePathsFromTheWorkingFolder) {
    TempFolder home;
    writeMotionTemplate(test::motionEffectsFolder(home.path()), "Looks/Warm.moef");
    const std::filesystem::path previous = std::filesystem::current_path();
    std::filesystem::current_path(test::motionEffectsFolder(home.path()) / "Looks");

    const EffectReference reference = EffectPresetParser::parse("../Looks/./Warm.moef");

    std::filesystem::current_path(previous);
    EXPECT_EQ(reference.uid, "~/Effects.localized/Looks/Warm.moef");
    EXPECT_EQ(reference.src.value_or("").rfind("file:///", 0), 0u);
}

TEST(EffectPresetParserPreset, TakesTheFxPlugIdentifierAsFoundOrTheFirstUuidAfterEffectId) {
    const std::vector<std::pair<std::string, std::string>> presets{
        {"Soft Skin.effectspreset",
         std::string("effectID 00000000-0000-0000-0000-000000000000 FxPlug:") + kPresetUuid},
        {"Soft.EffectsPreset", test::kFxPlugUid},
        // An FxPlug prefix without a UUID is skipped.
        {"Soft.effectspreset",
         "FxPlug:not-a-uuid FxPlug:1A2B3C4D-1111-2222-3333-44445555 " + test::kFxPlugUid},
        {"Soft.effectspreset", "<key>effectID</key>\x00\xff<string>{"s + kPresetUuid +
                                   "}</string> 99999999-9999-9999-9999-999999999999"},
        {"Soft.effectspreset", std::string("effectIDabc") + kPresetUuid}};
    for (const auto& [name, content] : presets) {
        TempFolder folder;
        const EffectReference reference = EffectPresetParser::parse(writePreset(folder / name, content));
        EXPECT_EQ(reference.name, std::filesystem::path(name).stem()) << content;
        EXPECT_EQ(reference.uid, test::kFxPlugUid) << content;
        EXPECT_EQ(reference.src, std::nullopt);
        EXPECT_EQ(reference.sourceType, SourceType::fxPlug);
    }
}

TEST(EffectPresetParserPreset, FailsWithoutAUuidAfterEffectId) {
    TempFolder folder;
    expectParseError(
        writePreset(folder / "Before.effectspreset", std::string(kPresetUuid) + " effectID nothing"),
        ParseError::Kind::missingData, kNoUuid);
    expectParseError(writePreset(folder / "Empty.effectspreset", "effectID"), ParseError::Kind::missingData,
                     kNoUuid);
    test::writeTextFile(folder / "Zero.effectspreset", "");
    expectParseError(folder / "Zero.effectspreset", ParseError::Kind::missingData, kNoUuid);
}

// The file is read in pieces of one megabyte; matches that straddle a piece's end must still count.
TEST(EffectPresetParserPreset, FindsMatchesAcrossTheEndOfAReadPiece) {
    constexpr std::size_t piece = std::size_t{1} << 20;
    TempFolder folder;
    for (const std::size_t before : {piece - 20, piece - 7, piece - 1, piece, 2 * piece - 43}) {
        test::writeTextFile(folder / "Split.effectspreset",
                            std::string(before, '\xee') + "FxPlug:" + kPresetUuid + std::string(100, '\0'));
        EXPECT_EQ(EffectPresetParser::parse(folder / "Split.effectspreset").uid, test::kFxPlugUid) << before;
        test::writeTextFile(folder / "Split.effectspreset", std::string(before, '-') + "effectID" +
                                                                std::string(piece - 30, '-') + kPresetUuid);
        EXPECT_EQ(EffectPresetParser::parse(folder / "Split.effectspreset").uid, test::kFxPlugUid) << before;
    }
}

// A sparse file of 300 MB costs no disk space but is read whole: an FxPlug identifier at its end wins
// over the UUID after effectID at its start.
TEST(EffectPresetParserPreset, ReadsAPresetOfSeveralHundredMegabytesToItsEnd) {
    TempFolder folder;
    const std::string late = "FxPlug:ABCDEF01-2345-6789-ABCD-EF0123456789";
    {
        std::ofstream stream(folder / "Large.effectspreset", std::ios::binary);
        stream << "effectID " << kPresetUuid;
        stream.seekp(300 * 1000 * 1000);
        stream << late;
    }
    EXPECT_EQ(EffectPresetParser::parse(folder / "Large.effectspreset").uid, late);
}

TEST(EffectPresetParserFiles, ReportsFilesThatCannotBeRead) {
    TempFolder folder;
    for (const std::string extension : {".moef", ".effectspreset"}) {
        std::filesystem::create_directories(folder / ("Folder" + extension));
        expectReadFailure(folder / ("Folder" + extension), EISDIR);
        expectReadFailure(folder / ("Missing" + extension), ENOENT);
    }
    // Reading a process's memory from address 0 fails with an I/O error, whoever reads it.
    std::filesystem::create_symlink("/proc/self/mem", folder / "Memory.effectspreset");
    expectReadFailure(folder / "Memory.effectspreset", EIO);
}

TEST(EffectPresetParserFiles, ReportsFilesWithoutReadPermission) {
    TempFolder folder;
    const auto locked = writePreset(folder / "Locked.effectspreset", test::kFxPlugUid);
    std::filesystem::permissions(locked, std::filesystem::perms::none);
    if (access(locked.c_str(), R_OK) == 0) {
        GTEST_SKIP() << "running with rights that read any file";
    }
    expectReadFailure(locked, EACCES);
}

TEST(EffectPresetParserFiles, RefusesOtherExtensionsWithTheLowerCasedExtension) {
    TempFolder folder;
    for (const auto& [name, extension] : std::vector<std::pair<std::string, std::string>>{
             {"Clip.MOV", ".mov"}, {"Template.motn", ".motn"}, {"README", "."}}) {
        test::writeTextFile(folder / name, "");
        expectParseError(folder / name, ParseError::Kind::unsupportedFormat,
                         "Nicht unterstütztes Format: " + extension);
    }
    expectParseError(folder.path(), ParseError::Kind::unsupportedFormat, "Nicht unterstütztes Format: .");
    EXPECT_STREQ(ParseError::readError("Konnte Datei nicht lesen").what(),
                 "Lesefehler: Konnte Datei nicht lesen");
}

}  // namespace
}  // namespace tidyreel
