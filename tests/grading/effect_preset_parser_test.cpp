#include "grading/effect_preset_parser.h"

#include "grading_support.h"
#include "test_support.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <string>

namespace tidyreel {
namespace {

using test::kPresetUuid;
using test::TempFolder;
using test::writeMotionTemplate;
using test::writePreset;
using namespace std::string_literals;

// The uid read from a preset named `fileName` that holds `content` amid binary noise.
std::string presetUid(const std::string& content, const std::string& fileName = "Soft.effectspreset") {
    TempFolder folder;
    return EffectPresetParser::parse(writePreset(folder / fileName, content)).uid;
}

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

TEST(EffectPresetParserMotionTemplate, ReferencesATemplateInTheEffectsFolderByItsPlaceThere) {
    TempFolder home;
    const auto file = writeMotionTemplate(test::motionEffectsFolder(home.path()), "Looks/Warm/Warm.moef");

    const EffectReference reference = EffectPresetParser::parse(file);

    EXPECT_EQ(reference.name, "Warm");
    EXPECT_EQ(reference.uid, "~/Effects.localized/Looks/Warm/Warm.moef");
    EXPECT_EQ(reference.src,
              "file://" + home.path().string() +
                  "/Movies/Motion%20Templates.localized/Effects.localized/Looks/Warm/Warm.moef");
    EXPECT_EQ(reference.sourceType, SourceType::motionTemplate);
}

TEST(EffectPresetParserMotionTemplate, ReferencesATemplateElsewhereAsIfItLayInTheEffectsFolder) {
    TempFolder desktop;
    const auto file = writeMotionTemplate(desktop.path(), "Warm Look.moef");

    const EffectReference reference = EffectPresetParser::parse(file);

    EXPECT_EQ(reference.name, "Warm Look");
    EXPECT_EQ(reference.uid, "~/Effects.localized/Warm Look.moef");
    EXPECT_EQ(reference.src, "file://" + desktop.path().string() + "/Warm%20Look.moef");
}

TEST(EffectPresetParserMotionTemplate, AcceptsUpperCaseExtensionsAndNamesTheFallbackInLowerCase) {
    TempFolder desktop;
    const EffectReference reference =
        EffectPresetParser::parse(writeMotionTemplate(desktop.path(), "Warm.MOEF"));
    EXPECT_EQ(reference.name, "Warm");
    EXPECT_EQ(reference.uid, "~/Effects.localized/Warm.moef");
    EXPECT_EQ(reference.sourceType, SourceType::motionTemplate);
}

TEST(EffectPresetParserMotionTemplate, UsesTheFirstOfTwoEffectsFolders) {
    TempFolder home;
    const auto file = writeMotionTemplate(test::motionEffectsFolder(home.path()),
                                          "Backup/Effects.localized/Looks/Cool.moef");
    EXPECT_EQ(EffectPresetParser::parse(file).uid,
              "~/Effects.localized/Backup/Effects.localized/Looks/Cool.moef");
}

TEST(EffectPresetParserMotionTemplate, MatchesTheFolderNameCaseSensitivelyAndOnlyAsAFolder) {
    TempFolder home;
    const auto lowerCase = writeMotionTemplate(home.path(), "effects.localized/Warm.moef");
    const auto notAFolder = writeMotionTemplate(home.path(), "Effects.localized.old/Warm.moef");
    EXPECT_EQ(EffectPresetParser::parse(lowerCase).uid, "~/Effects.localized/Warm.moef");
    EXPECT_EQ(EffectPresetParser::parse(notAFolder).uid, "~/Effects.localized/Warm.moef");
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

TEST(EffectPresetParserMotionTemplate, RefusesWhatIsNotATemplateFile) {
    TempFolder folder;
    std::filesystem::create_directories(folder / "Folder.moef");
    expectReadFailure(folder / "Folder.moef", EISDIR);
    expectReadFailure(folder / "Missing.moef", ENOENT);
}

TEST(EffectPresetParserPreset, TakesTheFxPlugIdentifierAsFoundWithoutSource) {
    TempFolder folder;
    const auto file =
        writePreset(folder / "Soft Skin.effectspreset",
                    std::string("effectID 00000000-0000-0000-0000-000000000000 FxPlug:") + kPresetUuid);

    const EffectReference reference = EffectPresetParser::parse(file);

    EXPECT_EQ(reference.name, "Soft Skin");
    EXPECT_EQ(reference.uid, test::kFxPlugUid);
    EXPECT_EQ(reference.src, std::nullopt);
    EXPECT_EQ(reference.sourceType, SourceType::fxPlug);
}

TEST(EffectPresetParserPreset, AcceptsUpperCaseExtensions) {
    EXPECT_EQ(presetUid(test::kFxPlugUid, "Soft.EffectsPreset"), test::kFxPlugUid);
}

TEST(EffectPresetParserPreset, SkipsAnFxPlugPrefixWithoutAUuidAndKeepsLooking) {
    EXPECT_EQ(presetUid("FxPlug:not-a-uuid FxPlug:1A2B3C4D-1111-2222-3333-44445555 " + test::kFxPlugUid),
              test::kFxPlugUid);
}

TEST(EffectPresetParserPreset, FallsBackToTheFirstUuidAfterEffectId) {
    EXPECT_EQ(presetUid("<key>effectID</key>\x00\xff<string>{"s + kPresetUuid +
                        "}</string> 99999999-9999-9999-9999-999999999999"),
              test::kFxPlugUid);
}

TEST(EffectPresetParserPreset, FindsAUuidThatDirectlyFollowsMoreHexDigits) {
    EXPECT_EQ(presetUid(std::string("effectIDabc") + kPresetUuid), test::kFxPlugUid);
}

TEST(EffectPresetParserPreset, IgnoresAUuidThatStandsOnlyBeforeEffectId) {
    TempFolder folder;
    const auto file =
        writePreset(folder / "Soft.effectspreset", std::string(kPresetUuid) + " effectID nothing after");
    expectParseError(file, ParseError::Kind::missingData,
                     "Konnte FxPlug-UUID oder effectID nicht aus der Datei lesen");
}

TEST(EffectPresetParserPreset, FailsWithoutAnyUuid) {
    TempFolder folder;
    expectParseError(writePreset(folder / "Empty.effectspreset", "effectID"), ParseError::Kind::missingData,
                     "Konnte FxPlug-UUID oder effectID nicht aus der Datei lesen");
    test::writeTextFile(folder / "Zero.effectspreset", "");
    expectParseError(folder / "Zero.effectspreset", ParseError::Kind::missingData,
                     "Konnte FxPlug-UUID oder effectID nicht aus der Datei lesen");
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

TEST(EffectPresetParserPreset, PrefersAnFxPlugIdentifierLaterInTheFileOverEffectId) {
    TempFolder folder;
    const std::string late = "FxPlug:ABCDEF01-2345-6789-ABCD-EF0123456789";
    test::writeTextFile(folder / "Soft.effectspreset",
                        std::string("effectID ") + kPresetUuid + std::string(3 << 20, '\x01') + late);
    EXPECT_EQ(EffectPresetParser::parse(folder / "Soft.effectspreset").uid, late);
}

TEST(EffectPresetParserPreset, ReportsFilesThatCannotBeRead) {
    TempFolder folder;
    std::filesystem::create_directories(folder / "Folder.effectspreset");
    expectReadFailure(folder / "Folder.effectspreset", EISDIR);
    expectReadFailure(folder / "Missing.effectspreset", ENOENT);

    // Reading a process's memory from address 0 fails with an I/O error, whoever reads it.
    std::filesystem::create_symlink("/proc/self/mem", folder / "Memory.effectspreset");
    expectReadFailure(folder / "Memory.effectspreset", EIO);
}

TEST(EffectPresetParserPreset, ReportsFilesWithoutReadPermission) {
    TempFolder folder;
    const auto locked = writePreset(folder / "Locked.effectspreset", test::kFxPlugUid);
    std::filesystem::permissions(locked, std::filesystem::perms::none);
    if (access(locked.c_str(), R_OK) == 0) {
        GTEST_SKIP() << "running with rights that read any file";
    }
    expectReadFailure(locked, EACCES);
}

TEST(EffectPresetParserFormat, RefusesOtherExtensionsWithTheLowerCasedExtension) {
    TempFolder folder;
    test::writeTextFile(folder / "Clip.MOV", "");
    test::writeTextFile(folder / "Template.motn", "");
    test::writeTextFile(folder / "README", "");
    expectParseError(folder / "Clip.MOV", ParseError::Kind::unsupportedFormat,
                     "Nicht unterstütztes Format: .mov");
    expectParseError(folder / "Template.motn", ParseError::Kind::unsupportedFormat,
                     "Nicht unterstütztes Format: .motn");
    expectParseError(folder / "README", ParseError::Kind::unsupportedFormat, "Nicht unterstütztes Format: .");
    expectParseError(folder.path(), ParseError::Kind::unsupportedFormat, "Nicht unterstütztes Format: .");
}

TEST(ParseErrorDescription, NamesWhatFailed) {
    EXPECT_STREQ(ParseError::readError("Konnte Datei nicht lesen").what(),
                 "Lesefehler: Konnte Datei nicht lesen");
    EXPECT_EQ(ParseError::readError("x").kind(), ParseError::Kind::readError);
    EXPECT_EQ(ParseError::missingData("effectID").detail(), "effectID");
    EXPECT_EQ(ParseError::unsupportedFormat("mov").detail(), "mov");
}

}  // namespace
}  // namespace tidyreel
