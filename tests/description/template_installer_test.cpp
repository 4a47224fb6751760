#include "description/template_installer.h"

#include "base/language.h"
#include "platform/settings_store.h"
#include "test_support.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tidyreel::test {
namespace {

using ::testing::HasSubstr;

class TemplateInstallerTest : public ::testing::Test {
protected:
    TemplateInstallerTest() {
        // Settings are read from one place per process: set it before anything touches them.
        static IsolatedUserFolders user;
        SettingsStore::remove("quilltTemplatesInstalled");
        setPreferredLanguages({"de"});
    }
    ~TemplateInstallerTest() override { setPreferredLanguages({}); }

    void install(const std::filesystem::path& chosen,
                 std::optional<std::filesystem::path> archive = bundledResource("Templates.zip")) {
        ::testing::internal::CaptureStdout();
        try {
            TemplateInstaller::install([chosen] { return std::optional(chosen); }, std::move(archive));
        } catch (...) {
            printed_ = ::testing::internal::GetCapturedStdout();
            throw;
        }
        printed_ = ::testing::internal::GetCapturedStdout();
    }

    std::filesystem::path archiveWith(const std::vector<std::string>& files) {
        const std::filesystem::path content = folder_ / "content";
        std::filesystem::remove_all(content);
        for (const std::string& file : files) {
            writeTextFile(content / file, "<ozml/>\n");
        }
        const std::filesystem::path archive = folder_ / "Custom.zip";
        std::filesystem::remove(archive);
        zipFolderContents(content, archive);
        return archive;
    }

    InstallationError::Kind failureOf(const std::function<void()>& run) {
        try {
            run();
        } catch (const InstallationError& error) {
            description_ = error.what();
            return error.kind();
        }
        ADD_FAILURE() << "no failure";
        return InstallationError::Kind::copyFailed;
    }

    TempFolder folder_;
    std::filesystem::path titles_ = folder_ / "Movies/Motion Templates.localized/Titles.localized";
    std::string printed_;
    std::string description_;
};

TEST_F(TemplateInstallerTest, InstallsBothTitlesAndRemembersIt) {
    install(titles_);
    EXPECT_TRUE(std::filesystem::is_regular_file(titles_ / "Clipwright/QUILLT1/QUILLT1.moti"));
    EXPECT_TRUE(std::filesystem::is_regular_file(titles_ / "Clipwright/QUILLT2/QUILLT2.moti"));
    EXPECT_EQ(SettingsStore::boolValue("quilltTemplatesInstalled"), true);
    EXPECT_THAT(printed_, HasSubstr("📂 Inhalt nach Entpacken:\n  - Templates\n"));
    EXPECT_THAT(printed_, HasSubstr("✅ Templates-Ordner gefunden: "));

    // Installing again replaces each template completely.
    writeTextFile(titles_ / "Clipwright/QUILLT1/old.txt", "old");
    install(titles_);
    EXPECT_FALSE(std::filesystem::exists(titles_ / "Clipwright/QUILLT1/old.txt"));
    EXPECT_EQ(filesIn(titles_ / "Clipwright").size(), 4u);
}

TEST_F(TemplateInstallerTest, FindsTheTitlesFolderFromWhatWasChosen) {
    install(folder_ / "Titel");
    EXPECT_TRUE(std::filesystem::exists(folder_ / "Titel/Clipwright/QUILLT2"));
    // Any other folder gets the Titles.localized folder appended.
    install(folder_ / "Motion Templates.localized");
    EXPECT_TRUE(
        std::filesystem::exists(folder_ / "Motion Templates.localized/Titles.localized/Clipwright/QUILLT1"));

    install(folder_ / "Root/Titles", archiveWith({"QUILLT1/QUILLT1.moti", "QUILLT2/QUILLT2.moti"}));
    EXPECT_THAT(printed_,
                HasSubstr("⚠️ Templates direkt im ZIP-Root gefunden (kein Templates-Wrapper)\n"));
    EXPECT_TRUE(std::filesystem::exists(folder_ / "Root/Titles/Clipwright/QUILLT2/QUILLT2.moti"));

    const TemplateFolderRule rule = TemplateInstaller::folderRule();
    EXPECT_EQ(rule.panelTitle, "Titles-Ordner auswählen");
    ::testing::internal::CaptureStdout();
    EXPECT_TRUE(rule.accepts(folder_ / "Titel"));
    EXPECT_FALSE(rule.accepts(folder_ / "Motion Templates.localized"));
    EXPECT_EQ(::testing::internal::GetCapturedStdout(),
              "TemplateInstaller: ✅ Korrekter Ordner gewählt: " + (folder_ / "Titel").string() + "\n");
}

TEST_F(TemplateInstallerTest, FailuresKeepTheSettingAndSayWhyInTheUsersLanguage) {
    EXPECT_EQ(failureOf([&] { install(titles_, archiveWith({"Other/Other.moti"})); }),
              InstallationError::Kind::invalidZipStructure);
    EXPECT_EQ(description_, "Ungültige ZIP-Struktur");
    EXPECT_THAT(printed_, HasSubstr("❌ Weder 'Templates/' noch 'QUILLT1' gefunden\n"));
    EXPECT_FALSE(std::filesystem::exists(titles_ / "Clipwright"));

    writeTextFile(folder_ / "broken.zip", "not a zip");
    EXPECT_EQ(failureOf([&] { install(titles_, folder_ / "broken.zip"); }),
              InstallationError::Kind::unzipFailed);
    EXPECT_EQ(description_, "Fehler beim Entpacken des ZIP-Archivs");
    EXPECT_EQ(failureOf([&] { install(titles_, std::nullopt); }), InstallationError::Kind::templatesNotFound);
    EXPECT_EQ(description_, "Templates.zip nicht im App-Bundle gefunden");
    EXPECT_FALSE(SettingsStore::boolValue("quilltTemplatesInstalled").has_value());

    setPreferredLanguages({"en-GB"});
    EXPECT_EQ(
        failureOf([] { TemplateInstaller::install([] { return std::optional<std::filesystem::path>(); }); }),
        InstallationError::Kind::userCancelled);
    EXPECT_EQ(description_, "Installation cancelled");
}

}  // namespace
}  // namespace tidyreel::test
