#include "archive/media/archive_bundle.h"

#include "archive/archive_support.h"
#include "archive/media/archive_report.h"
#include "archive/media/bundled_asset_registry.h"
#include "archive/tasks/archive_bundle_write_task.h"
#include "base/error.h"
#include "base/language.h"
#include "fcpxml/media_path.h"
#include "test_support.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tidyreel {
namespace {

using test::LogCollector;
using ::testing::Contains;
using ::testing::ElementsAre;

TEST(SanitisedProjectName, RemovesSeparatorsAndCollapsesSpaces) {
    EXPECT_EQ(sanitisedProjectName("Mein Film: Teil 2 / Schnitt"), "Mein_Film_Teil_2_Sch");
    EXPECT_EQ(sanitisedProjectName("  My  Big::Project  "), "_My_BigProject");
    EXPECT_EQ(sanitisedProjectName(std::string(70, 'a')), std::string(20, 'a'));
    EXPECT_EQ(sanitisedProjectName("a__b\\\"c'd"), "a_bcd");
    EXPECT_EQ(sanitisedProjectName("Größe über Äpfel Über Öl"), "Größe_über_Äpfel_Übe");
    EXPECT_EQ(sanitisedProjectName("Nineteen characters_ and more"), "Nineteen_characters_");
}

TEST(MediaReferences, TrimmedAssetsBecomeNewMediaCopiesKeepTheirIdentityAndProjectsAreRenamed) {
    const auto document = XmlDocument::load(test::fixture("archive/media_references.fcpxml"));
    BundledAssetRegistry registry;
    registry.registerAsset("t", {"./Media/a_trimmed.mov", "file:///a.mov", true});
    registry.registerAsset("w", {"./Media/b.mov", "file:///b.mov", false});
    registry.registerAsset("v", {"./Media/d.mov", "file:///d.mov", false});
    rewriteMediaReferences(*document, registry);
    const XmlElement trimmed = document->first("//asset[@id='t']");
    const XmlElement trimmedRep = trimmed.firstChild("media-rep");
    EXPECT_EQ(trimmedRep.attribute("src"), "./Media/a_trimmed.mov");
    EXPECT_FALSE(trimmedRep.firstChild("bookmark"));
    const std::string uid = trimmed.attribute("uid").value_or("");
    EXPECT_EQ(uid.size(), 32u);
    EXPECT_EQ(uid.find('-'), std::string::npos);
    EXPECT_EQ(trimmedRep.attribute("sig"), uid);
    EXPECT_EQ(document->first("//asset[@id='w']").attribute("uid"), "OLD2");
    EXPECT_EQ(document->first("//asset[@id='w']/media-rep").attribute("sig"), "OLD2");
    EXPECT_EQ(document->first("//asset[@id='w']/media-rep").attribute("src"), "./Media/b.mov");
    EXPECT_EQ(document->first("//asset[@id='o']/media-rep").attribute("src"), "file:///c.mov");
    EXPECT_EQ(document->first("//asset[@id='v']").attribute("src"), "./Media/d.mov");

    renameProjects(*document, "20250314_0930_archiv");
    const std::vector<XmlElement> projects = document->xpath("//project");
    EXPECT_EQ(projects[0].attribute("name"), "Trailer (20250314_0930_archiv)");
    EXPECT_EQ(projects[1].attribute("name"), "Cut 2 (20250314_0930_archiv)");
    EXPECT_FALSE(projects[2].attribute("name"));
}

class BundleWrite : public ::testing::Test {
protected:
    BundleWrite() {
        context.settings.outputDirectory = folder / "out";
        context.projectName = "Film";
        context.exportTimestamp = "20250314_0930";
        context.actionType = ExportActionType::archiving;
        context.logger = log.logger();
        context.bundledAssets = std::make_shared<BundledAssetRegistry>();
        context.xmlDocument = test::projectWith("", "");
    }

    test::TempFolder folder;
    LogCollector log;
    ArchiveExportContext context;
};

TEST_F(BundleWrite, WritesInfoAndCopiesTheSourceBundlesContents) {
    context.sourceURL = folder / "Source.FCPXMLD" / "Info.fcpxml";
    test::writeTextFile(folder / "Source.FCPXMLD" / "Contents" / "tracking.dat", "data");
    ArchiveBundleWriteTask("Bundle schreiben", true).execute(context);
    const std::filesystem::path bundle = folder / "out" / "archiv_Film.fcpxmld";
    EXPECT_EQ(test::readTextFile(bundle / "Contents" / "tracking.dat"), "data");
    EXPECT_THAT(test::readTextFile(bundle / "Info.fcpxml"), ::testing::HasSubstr("P (20250314_0930_archiv)"));
    EXPECT_THAT(log.lines(), ElementsAre("ℹ️ Schreibe Archiv-Bundle...",
                                         "ℹ️   → Bundle-Verzeichnis angelegt: archiv_Film.fcpxmld",
                                         "ℹ️   → Media-Ordner angelegt: Media",
                                         "✅   ✓ Contents/-Sidecar übernommen (Object-Tracking-Daten)",
                                         "✅   ✓ Bundle geschrieben: archiv_Film.fcpxmld",
                                         "ℹ️   → Info.fcpxml: " + (bundle / "Info.fcpxml").string()));
    LogCollector again;
    context.logger = again.logger();
    ArchiveBundleWriteTask("Bundle schreiben", true).execute(context);
    EXPECT_THAT(again.lines(), Contains("ℹ️   → Contents/ existiert bereits, übersprungen"));
}

TEST_F(BundleWrite, PlainFilesHaveNoContents) {
    context.sourceURL = folder / "Project.fcpxml";
    std::filesystem::create_directories(folder / "Contents");
    ArchiveBundleWriteTask("Bundle schreiben", true).execute(context);
    EXPECT_FALSE(std::filesystem::exists(folder / "out" / "archiv_Film.fcpxmld" / "Contents"));
    EXPECT_EQ(log.lines().size(), 5u);
}

TEST_F(BundleWrite, UnwritableOutputFolderFails) {
    // A file where the output folder should be cannot hold a bundle, whatever the user's rights.
    test::writeTextFile(folder / "out", "not a folder");
    EXPECT_THROW(ArchiveBundleWriteTask("Bundle schreiben", true).execute(context), Error);
    EXPECT_EQ(log.lines(), std::vector<std::string>{"ℹ️ Schreibe Archiv-Bundle..."});
}

TEST_F(BundleWrite, ABundleOfTheSameNameFromAnotherProjectIsLeftAlone) {
    context.sourceURL = folder / "a" / "Film.fcpxml";
    const std::filesystem::path own = folder / "out" / "archiv_Film.fcpxmld";
    EXPECT_EQ(chooseArchiveBundle(context), own);
    prepareArchiveFolder(context);
    EXPECT_EQ(chooseArchiveBundle(context), own) << "a later run of the same project goes on in its bundle";

    ArchiveExportContext other = context;
    other.sourceURL = folder / "b" / "Film.fcpxml";
    EXPECT_EQ(chooseArchiveBundle(other), folder / "out" / "archiv_Film 2.fcpxmld");
    // Nor is the project's own bundle ever the target, even when it holds no record of a source.
    other.sourceURL = folder / "out" / "archiv_Film 2.fcpxmld" / "Info.fcpxml";
    std::filesystem::create_directories(other.sourceURL.parent_path());
    EXPECT_EQ(chooseArchiveBundle(other), folder / "out" / "archiv_Film 3.fcpxmld");
}

TEST_F(BundleWrite, DocumentsOlderThanBundlesBecomeAPlainProjectBesideTheirMedia) {
    context.sourceURL = folder / "Alt.fcpxml";
    context.xmlDocument = XmlDocument::parse("<fcpxml version=\"1.9\"><resources/></fcpxml>");
    context.bundleURL = chooseArchiveBundle(context);
    const std::filesystem::path archive = folder / "out" / "archiv_Film";
    EXPECT_EQ(context.bundleURL, archive);
    ArchiveBundleWriteTask("Bundle schreiben", true).execute(context);
    EXPECT_THAT(test::filesIn(folder / "out"),
                ElementsAre(archive, archive / "Media", archive / "archiv_Film.fcpxml"));
    EXPECT_EQ(XmlDocument::load(archiveDocumentURL(archive))->root().attribute("version"), "1.9");
    EXPECT_THAT(log.lines(),
                Contains("ℹ️   → archiv_Film.fcpxml: " + (archive / "archiv_Film.fcpxml").string()));

    EXPECT_FALSE(archivesAsBundle(*XmlDocument::parse("<fcpxml version=\"1.3\"/>")));
    for (const char* version : {"1.10", "1.13", "2.0", "unreadable"}) {
        EXPECT_TRUE(
            archivesAsBundle(*XmlDocument::parse("<fcpxml version=\"" + std::string(version) + "\"/>")))
            << version;
    }
    EXPECT_EQ(archiveDocumentURL("/a/archiv_X.fcpxmld"), "/a/archiv_X.fcpxmld/Info.fcpxml");
}

TEST_F(BundleWrite, APreparedBundleHasNoLeftoversOfAnInterruptedRun) {
    const std::filesystem::path media = folder / "out" / "archiv_Film.fcpxmld" / "Media";
    test::writeTextFile(media / ".A_trimmed.tidyreel-partial-1234.mov", "13 of 23 seconds");
    test::writeTextFile(media / "A_trimmed.mov", "an earlier, whole file");
    prepareArchiveFolder(context);
    EXPECT_THAT(test::filesIn(media), ElementsAre(media / "A_trimmed.mov"));
    EXPECT_THAT(log.lines(),
                Contains("ℹ️   ↳ 1 unvollständige Datei(en) eines abgebrochenen Laufs entfernt"));
}

TEST_F(BundleWrite, ReportMeasuresSourcesAndBundleMedia) {
    setPreferredLanguages({"de"});
    test::writeTextFile(folder / "src" / "a b.mov", std::string(1'500'000, 'x'));
    test::writeTextFile(archiveMediaFolder(context) / "a b_trimmed.mov", std::string(500'000, 'x'));
    test::writeTextFile(archiveMediaFolder(context) / "sub" / "extra", std::string(100'000, 'x'));
    context.bundledAssets->registerAsset(
        "r1", {"./Media/a b_trimmed.mov", MediaPath::url((folder / "src" / "a b.mov").string()), true});
    context.bundledAssets->registerAsset("r2", {"./Media/x.mov", "file:///nowhere/x.mov", false});
    context.bundledAssets->registerAsset(
        "r3", {"./Media/c_trimmed.mov", MediaPath::url((folder / "src" / "a b.mov").string()), true,
               CutMethod::streamCopy});
    const ArchiveReport report = computeArchiveReport(context);
    EXPECT_EQ(report.originalSize, 3'000'000);
    EXPECT_EQ(report.archiveSize, 600'000);
    // Each trimmed file says how it was cut; a file copied whole was not cut.
    EXPECT_THAT(log.lines(), ElementsAre("ℹ️   → a b_trimmed.mov: Re-Encode",
                                         "ℹ️   → c_trimmed.mov: Stream-Copy",
                                         "⚠️ Größe für Asset r2 nicht ermittelbar",
                                         "✅ Report: Original 3 MB → Archiv 0,6 MB (\u221280.0%)"));
    EXPECT_EQ(archiveReportLine(report), "Original 3 MB → Archiv 0,6 MB → Ersparnis 80.0%");
    setPreferredLanguages({});
}

TEST(ArchiveReportText, ByteCountsAndNotificationBodies) {
    setPreferredLanguages({"en"});
    EXPECT_EQ(formatFileByteCount(500'000'000), "500 MB");
    EXPECT_EQ(formatFileByteCount(1'234'567'890), "1.23 GB");
    EXPECT_EQ(formatFileByteCount(2'000'000'000), "2 GB");
    EXPECT_EQ(formatFileByteCount(999'960'000), "1 GB");
    EXPECT_EQ(formatFileByteCount(0), "0 MB");
    const ArchiveReport report{{}, 10'000'000'000, 4'000'000'000};
    EXPECT_EQ(archiveNotificationBody(report), "10 GB → 4 GB (\u221260.0%)");
    EXPECT_EQ(archiveNotificationBody(ArchiveReport{{}, 1'000'000, 2'000'000}), "1 MB → 2 MB");
    EXPECT_EQ(archiveNotificationBody(std::nullopt), "Project was successfully archived");
    EXPECT_EQ(archiveSavingPercent(ArchiveReport{{}, 2'000'000'000, 500'000'000}), 75.0);
    EXPECT_EQ(archiveSavingPercent(ArchiveReport{{}, 0, 5}), 0.0);
    setPreferredLanguages({"de-DE"});
    EXPECT_EQ(archiveNotificationBody(std::nullopt), "Projekt wurde erfolgreich archiviert");
    setPreferredLanguages({});
}

}  // namespace
}  // namespace tidyreel
