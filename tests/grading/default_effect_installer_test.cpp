#include "grading/default_effect_installer.h"

#include "grading/effect_preset_parser.h"
#include "test_support.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tidyreel::test {
namespace {

using ::testing::HasSubstr;

class DefaultEffectInstallerTest : public ::testing::Test {
protected:
    /// Installs into `target` from `archive` and returns what the installer printed.
    std::string install(const std::filesystem::path& target, std::optional<std::filesystem::path> archive =
                                                                 bundledResource("ClipwrightEffekt.zip")) {
        ::testing::internal::CaptureStdout();
        try {
            DefaultEffectInstaller::install([target] { return std::optional(target); }, std::move(archive));
        } catch (...) {
            ::testing::internal::GetCapturedStdout();
            throw;
        }
        return ::testing::internal::GetCapturedStdout();
    }

    /// An archive holding `files` (relative paths, each with a line of text).
    std::filesystem::path archiveWith(const std::vector<std::string>& files) {
        const std::filesystem::path content = folder_ / "content";
        for (const std::string& file : files) {
            writeTextFile(content / file, "<ozml/>\n");
        }
        const std::filesystem::path archive = folder_ / "Custom.zip";
        zipFolderContents(content, archive);
        return archive;
    }

    void expectFailure(const std::function<void()>& run, InstallError::Kind kind,
                       const std::string& description) {
        try {
            run();
            ADD_FAILURE() << "no failure";
        } catch (const InstallError& error) {
            EXPECT_EQ(error.kind(), kind);
            EXPECT_EQ(std::string(error.what()), description);
        }
    }

    TempFolder folder_;
    std::filesystem::path effects_ = folder_ / "Movies/Motion Templates.localized/Effects.localized";
};

TEST_F(DefaultEffectInstallerTest, InstallsTheShippedEffectAndReplacesAnOlderCopy) {
    std::filesystem::create_directories(effects_);
    const std::string first = install(effects_);
    const std::filesystem::path installed = effects_ / "Clipwright/ClipwrightEffekt/ClipwrightEffekt.moef";
    ASSERT_TRUE(std::filesystem::is_regular_file(installed));
    EXPECT_THAT(first, HasSubstr("DefaultEffectInstaller: ✅ ZIP im Bundle gefunden: "));
    EXPECT_THAT(first, HasSubstr("DefaultEffectInstaller: Ziel: " +
                                 (effects_ / "Clipwright/ClipwrightEffekt").string() + "\n"));
    EXPECT_THAT(first, HasSubstr("DefaultEffectInstaller: ✅ Erfolgreich installiert\n"));
    EXPECT_THAT(first, ::testing::Not(HasSubstr("Alte Version gelöscht")));

    writeTextFile(effects_ / "Clipwright/ClipwrightEffekt/stale.txt", "old");
    EXPECT_THAT(install(effects_), HasSubstr("DefaultEffectInstaller: Alte Version gelöscht\n"));
    EXPECT_EQ(
        filesIn(effects_ / "Clipwright"),
        (std::vector<std::filesystem::path>{effects_ / "Clipwright/ClipwrightEffekt",
                                            effects_ / "Clipwright/ClipwrightEffekt/ClipwrightEffekt.moef"}));

    // The installed template is what a drop on a role reads.
    const EffectReference reference = EffectPresetParser::parse(installed);
    EXPECT_EQ(reference.name, "ClipwrightEffekt");
    EXPECT_EQ(reference.uid, "~/Effects.localized/Clipwright/ClipwrightEffekt/ClipwrightEffekt.moef");
}

TEST_F(DefaultEffectInstallerTest, FailuresSayWhatWentWrongAndLeaveNoScratchFolder) {
    std::filesystem::create_directories(effects_);
    std::filesystem::create_directories(folder_ / "tmp");
    const ScopedEnvironment scratchHome("TMPDIR", (folder_ / "tmp").string());
    expectFailure([&] { install(effects_, std::nullopt); }, InstallError::Kind::notFoundInBundle,
                  "ClipwrightEffekt.moef nicht im App-Bundle gefunden");
    expectFailure(
        [&] {
            ::testing::internal::CaptureStdout();
            try {
                DefaultEffectInstaller::install([] { return std::optional<std::filesystem::path>(); });
            } catch (...) {
                EXPECT_THAT(::testing::internal::GetCapturedStdout(),
                            HasSubstr("DefaultEffectInstaller: ❌ User hat abgebrochen\n"));
                throw;
            }
        },
        InstallError::Kind::userCancelled, "Installation abgebrochen");
    expectFailure([&] { install(effects_, archiveWith({"Other/Other.moef"})); },
                  InstallError::Kind::copyFailed,
                  "Fehler beim Kopieren: Ordner 'ClipwrightEffekt' nicht im ZIP gefunden");
    std::filesystem::remove_all(folder_ / "content");
    std::filesystem::remove(folder_ / "Custom.zip");
    expectFailure([&] { install(effects_, archiveWith({"ClipwrightEffekt/readme.txt"})); },
                  InstallError::Kind::copyFailed,
                  "Fehler beim Kopieren: ClipwrightEffekt.moef nicht im Ordner gefunden");
    writeTextFile(folder_ / "broken.zip", "not a zip");
    expectFailure([&] { install(effects_, folder_ / "broken.zip"); }, InstallError::Kind::copyFailed,
                  "Fehler beim Kopieren: ZIP entpacken fehlgeschlagen");
    EXPECT_FALSE(std::filesystem::exists(effects_ / "Clipwright/ClipwrightEffekt"));
    EXPECT_EQ(filesIn(folder_ / "tmp"), std::vector<std::filesystem::path>{});
}

TEST_F(DefaultEffectInstallerTest, AcceptsOnlyTheEffectsFolderNames) {
    const TemplateFolderRule rule = DefaultEffectInstaller::folderRule();
    ::testing::internal::CaptureStdout();
    EXPECT_TRUE(rule.accepts(folder_ / "Effekte"));
    EXPECT_TRUE(rule.accepts(folder_ / "Effects/"));
    EXPECT_FALSE(rule.accepts(folder_ / "Titles.localized"));
    EXPECT_EQ(::testing::internal::GetCapturedStdout(),
              "DefaultEffectInstaller: ✅ Korrekter Ordner gewählt: " + (folder_ / "Effekte").string() +
                  "\nDefaultEffectInstaller: ✅ Korrekter Ordner gewählt: " + (folder_ / "Effects/").string() +
                  "\n");
    EXPECT_EQ(
        rule.wrongFolderInformation("Titles.localized"),
        "Bitte wähle den Ordner 'Effects.localized' (oder 'Effects' / 'Effekte') aus.\n\nDu hast gewählt: "
        "Titles.localized");
    EXPECT_TRUE(rule.panelTitle.empty());
}

}  // namespace
}  // namespace tidyreel::test
