// Archives real FCPXML exports from public projects, with stand-in media made for each of them, through
// the real `tidyreel` binary.
#include "archive/media/archive_bundle.h"
#include "archive/planning/clip_usage_analysis.h"
#include "cli/archive_media_support.h"
#include "cli/cli_support.h"
#include "cli/stand_in_media_support.h"
#include "fcpxml/fcpxml_time.h"
#include "fcpxml/media_path.h"
#include "fcpxml/resource_index.h"
#include "fcpxml/xml.h"
#include "test_support.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <map>

namespace tidyreel::test {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

// Every real export among the fixtures: those beside the hand-written ones and those in samples/.
std::vector<std::filesystem::path> realExports() {
    std::vector<std::filesystem::path> exports;
    for (const std::filesystem::path& file : filesIn(fixture("samples"))) {
        exports.push_back(file);
    }
    for (const auto& entry : std::filesystem::directory_iterator(fixture(""))) {
        if (entry.path().extension() == ".fcpxml" &&
            entry.path().filename().string().find("__") != std::string::npos) {
            exports.push_back(entry.path());
        }
    }
    exports.push_back(fixture("60fps-rubric-markers.fcpxmld/Info.fcpxml"));
    std::sort(exports.begin(), exports.end());
    return exports;
}

// The name a sample is archived under: a bundle's Info.fcpxml goes back into a bundle.
std::string projectName(const std::filesystem::path& sample) {
    std::string name = sample.filename().string();
    if (const std::size_t at = name.find(".fcpxmld__Info"); at != std::string::npos) {
        return name.substr(0, at) + ".fcpxmld/Info.fcpxml";
    }
    if (sample.filename() == "Info.fcpxml") {
        return sample.parent_path().filename().string() + "/Info.fcpxml";
    }
    return name;
}

// What the archive is given: the bundle for a bundle's Info.fcpxml, else the file.
std::filesystem::path archiveInput(const StandInProject& made) {
    return made.project.filename() == "Info.fcpxml" ? made.project.parent_path() : made.project;
}

// The file an asset's original media reference names; relative references start at `folder`.
std::filesystem::path mediaFile(XmlElement asset, const std::filesystem::path& folder) {
    const std::filesystem::path file(MediaPath::path(assetMediaSource(asset).value_or("")));
    return file.is_relative() ? folder / file : file;
}

class ArchiveOfRealExports : public ::testing::Test {
protected:
    CommandResult archive(const StandInProject& made, std::vector<std::string> extra = {}) const {
        std::vector<std::string> arguments{
            "archive", archiveInput(made).string(), "-o", output.string(), "--lang", "en"};
        arguments.insert(arguments.end(), extra.begin(), extra.end());
        return runTidyreel(arguments, user);
    }

    // The one archive the run wrote: a bundle, or a folder with a plain project for an old document.
    std::filesystem::path bundle() const {
        const std::vector<std::filesystem::path> written = filesIn(output);
        return written.empty() ? std::filesystem::path() : written.front();
    }

    // The grey level of every frame of a file, decoded once per file.
    const std::vector<int>& levels(const std::filesystem::path& file) {
        const auto [entry, isNew] = levelsByFile_.try_emplace(file);
        if (isNew) {
            entry->second = frameGreyLevels(file);
        }
        return entry->second;
    }

    // Every clip that shows an asset's picture shows in the archive, at its in-point, the frame the
    // original showed there, and not one of that frame's neighbours; in-points on trimmed media are counted.
    void expectSameFrameAtEveryInPoint(const StandInProject& made) {
        const std::shared_ptr<XmlDocument> original = XmlDocument::load(made.project);
        const std::shared_ptr<XmlDocument> archived = XmlDocument::load(archiveDocumentURL(bundle()));
        const ResourceIndex before(*original), after(*archived);
        const std::vector<AnalysedClip> oldClips = collectAnalysedClips(*original, before);
        const std::vector<AnalysedClip> newClips = collectAnalysedClips(*archived, after);
        ASSERT_EQ(oldClips.size(), newClips.size());
        for (std::size_t i = 0; i < oldClips.size(); ++i) {
            const XmlElement oldAsset = before.asset(oldClips[i].ref);
            const XmlElement newAsset = after.asset(newClips[i].ref);
            if (!oldAsset || oldAsset.attribute("hasVideo") != "1" || !oldClips[i].unfollowable.empty()) {
                continue;
            }
            const Rational frame = frameDuration(oldClips[i].ref, before).value_or(Rational(1, 25));
            const auto frameIndex = [&](const AnalysedClip& clip, XmlElement asset) {
                const Rational in = clipMediaRange(clip).video.start - FCPXMLTime::time(asset, "start");
                return static_cast<std::size_t>(std::lround((in / frame).doubleValue()));
            };
            const std::filesystem::path sourceFile = mediaFile(oldAsset, made.project.parent_path());
            const std::filesystem::path archivedFile = mediaFile(newAsset, bundle());
            const std::size_t was = frameIndex(oldClips[i], oldAsset);
            const std::size_t now = frameIndex(newClips[i], newAsset);
            const std::string what = std::string(oldClips[i].element.name()) + " '" +
                                     oldClips[i].name.value_or("") + "' of " + oldClips[i].ref;
            // The same bytes show the same pictures: a whole copy keeps its in-points.
            if (fileChecksum(sourceFile) == fileChecksum(archivedFile)) {
                EXPECT_EQ(now, was) << what;
                continue;
            }
            const std::vector<int>& source = levels(sourceFile);
            const std::vector<int>& copy = levels(archivedFile);
            ASSERT_LT(was, source.size()) << what;
            ASSERT_LT(now, copy.size()) << what;
            EXPECT_NEAR(copy[now], source[was], 6) << what;
            for (const std::size_t neighbour : {was - 1, was + 1}) {
                if (neighbour < source.size()) {
                    EXPECT_GT(std::abs(copy[now] - source[neighbour]), 15)
                        << what << ": neighbour " << neighbour;
                }
            }
            ++comparedTrimmedInPoints;
        }
    }

    // Archives a sample as an editor would and checks what the editor relies on.
    void expectSoundArchive(const std::string& sample) {
        const StandInProject made = makeStandInProject(fixture(sample), folder.path(), projectName(sample));
        std::map<std::filesystem::path, std::size_t> checksums;
        for (const std::filesystem::path& file : made.media) {
            checksums[file] = fileChecksum(file);
        }
        const CommandResult result = archive(made);
        ASSERT_EQ(result.exitStatus, 0) << result.standardOutput << result.standardError;
        EXPECT_THAT(result.standardOutput, HasSubstr("✓ Archive checked"));
        const CommandResult verified = runTidyreel({"verify", bundle().string(), "--lang", "en"}, user);
        EXPECT_EQ(verified.exitStatus, 0) << verified.standardOutput;
        EXPECT_EQ(splitLines(verified.standardOutput).back(), "✓ Archive is sound");
        for (const auto& [file, checksum] : checksums) {
            EXPECT_EQ(fileChecksum(file), checksum) << file;
        }
        expectSameFrameAtEveryInPoint(made);
    }

    IsolatedUserFolders user;
    TempFolder folder;
    std::filesystem::path output = folder / "Archiv";
    int comparedTrimmedInPoints = 0;

private:
    std::map<std::filesystem::path, std::vector<int>> levelsByFile_;
};

TEST_F(ArchiveOfRealExports, DryRunPlansEveryExportWithItsMediaFound) {
    int planned = 0;
    for (const std::filesystem::path& sample : realExports()) {
        const TempFolder projectFolder;
        const StandInProject made = makeStandInProject(sample, projectFolder.path(), projectName(sample));
        const CommandResult result = archive(made, {"--dry-run"});
        EXPECT_EQ(result.exitStatus, 0) << sample << '\n' << result.standardOutput << result.standardError;
        EXPECT_THAT(result.standardOutput, HasSubstr("Decision")) << sample;
        EXPECT_THAT(result.standardOutput, HasSubstr("Total")) << sample;
        EXPECT_THAT(result.standardOutput, Not(HasSubstr("⚠️ missing"))) << sample;
        EXPECT_FALSE(std::filesystem::exists(output)) << sample;
        ++planned;
    }
    EXPECT_GE(planned, 24);
}

TEST_F(ArchiveOfRealExports, MulticamKeepsEveryAngleCutOnItsFrame) {
    // Each angle holds its camera file whole, so the archive keeps the files whole and every in-point.
    expectSoundArchive("TheAcharya__OpenFCPXMLKit__MulticamSampleWithCuts.fcpxml");
}

TEST_F(ArchiveOfRealExports, CompoundClipsKeepEveryCutOnItsFrame) {
    // Its pictures are used nearly whole, or by a J/L cut at a transition or a speed ramp: they are copied
    // whole, and only its music is trimmed.
    expectSoundArchive("TheAcharya__OpenFCPXMLKit__CompoundClipSample.fcpxml");
}

TEST_F(ArchiveOfRealExports, SyncClipKeepsItsCutsOnTheirFrames) {
    // Its clip uses its picture whole: copied, with the in-point unchanged.
    expectSoundArchive("orchetect__DAWFileKit__SyncClip.fcpxml");
}

TEST_F(ArchiveOfRealExports, SyncClipsOnTimecodedMediaKeepTheirCutsOnTheirFrames) {
    // Sync clips show a second and a half of a camera file that starts at 12:29:30:06.
    expectSoundArchive("orchetect__DAWFileKit__SyncClipRoles2.fcpxml");
    EXPECT_GT(comparedTrimmedInPoints, 0);
}

TEST_F(ArchiveOfRealExports, OldDocumentBecomesAPlainProjectBesideItsMedia) {
    expectSoundArchive("AcademySoftwareFoundation__OpenTimelineIO__fcpx_example.fcpxml");
    EXPECT_GT(comparedTrimmedInPoints, 0);
    EXPECT_EQ(bundle().extension(), "");
    const std::shared_ptr<XmlDocument> archived = XmlDocument::load(archiveDocumentURL(bundle()));
    EXPECT_EQ(archived->root().attribute("version"), "1.8");
    for (XmlElement asset : archived->xpath("//asset")) {
        EXPECT_THAT(asset.attribute("src").value_or(""), ::testing::StartsWith("./Media/"));
    }
}

}  // namespace
}  // namespace tidyreel::test
