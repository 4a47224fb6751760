#include "archive/media/archive_bundle.h"

#include "archive/media/bundled_asset_registry.h"
#include "base/language.h"
#include "base/utf8.h"
#include "fcpxml/xml.h"
#include "platform/file_write.h"

#include <fmt/format.h>

#include <cstdio>
#include <fstream>
#include <iterator>

namespace tidyreel {
namespace {

// Which project a bundle archives, so that a second project of the same name never writes into it.
constexpr const char* kSourceRecordName = ".tidyreel-source";

std::optional<std::string> recordedSource(const std::filesystem::path& bundle) {
    std::ifstream stream(bundle / kSourceRecordName, std::ios::binary);
    if (!stream) {
        return std::nullopt;
    }
    return std::string(std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>());
}

// The project's absolute path: what tells two projects of the same name apart.
std::string projectIdentity(const std::filesystem::path& sourceURL) {
    std::error_code status;
    return std::filesystem::absolute(sourceURL, status).lexically_normal().string();
}

// The first bundle-capable version.
constexpr int kFirstBundleMinorVersion = 10;

std::string archiveExtension(const ArchiveExportContext& context) {
    return !context.xmlDocument || archivesAsBundle(*context.xmlDocument) ? ".fcpxmld" : "";
}

}  // namespace

bool archivesAsBundle(const XmlDocument& document) {
    const XmlElement root = document.root();
    const std::string version = root ? root.attribute("version").value_or("") : "";
    int major = 0;
    int minor = 0;
    if (std::sscanf(version.c_str(), "%d.%d", &major, &minor) != 2) {
        return true;
    }
    return major > 1 || minor >= kFirstBundleMinorVersion;
}

std::filesystem::path archiveDocumentURL(const std::filesystem::path& archive) {
    if (archive.extension() == ".fcpxmld") {
        return archive / "Info.fcpxml";
    }
    return archive / (archive.filename().string() + ".fcpxml");
}

std::string sanitisedProjectName(const std::string& projectName) {
    std::string name;
    for (const char c : projectName) {
        if (c == ':' || c == '/' || c == '\\' || c == '"' || c == '\'') {
            continue;
        }
        const char kept = c == ' ' ? '_' : c;
        // Runs of "_" collapse to one, whether written or made from spaces.
        if (kept != '_' || name.empty() || name.back() != '_') {
            name += kept;
        }
    }
    name = prefixCharacters(name, 60);
    if (!name.empty() && name.back() == '_') {
        name.pop_back();
    }
    return prefixCharacters(name, 20);
}

std::filesystem::path archiveBundleURL(const ArchiveExportContext& context) {
    if (!context.bundleURL.empty()) {
        return context.bundleURL;
    }
    return context.settings.outputDirectory /
           ("archiv_" + sanitisedProjectName(context.projectName) + archiveExtension(context));
}

std::filesystem::path chooseArchiveBundle(const ArchiveExportContext& context) {
    const std::string name = "archiv_" + sanitisedProjectName(context.projectName);
    const std::string source = projectIdentity(context.sourceURL);
    std::error_code status;
    for (int number = 1;; ++number) {
        const std::string numbered = number == 1 ? name : name + " " + std::to_string(number);
        const std::filesystem::path bundle =
            context.settings.outputDirectory / (numbered + archiveExtension(context));
        const bool holdsSource = std::filesystem::equivalent(bundle, context.sourceURL.parent_path(), status);
        if (!std::filesystem::exists(std::filesystem::symlink_status(bundle, status))) {
            return bundle;
        }
        if (!holdsSource && recordedSource(bundle) == source) {
            return bundle;
        }
    }
}

std::filesystem::path archiveMediaFolder(const ArchiveExportContext& context) {
    return archiveBundleURL(context) / "Media";
}

void prepareArchiveFolder(ArchiveExportContext& context) {
    const std::filesystem::path media = archiveMediaFolder(context);
    if (!pathExists(media)) {
        std::error_code status;
        std::filesystem::create_directories(media, status);
        if (status) {
            throw fileSystemError(localized("Ordner konnte nicht angelegt werden", "Could not create folder"),
                                  media, status);
        }
        context.log(LogEntryType::info, "Projektordner angelegt: " + media.filename().string());
    }
    const std::filesystem::path bundle = archiveBundleURL(context);
    if (!recordedSource(bundle)) {
        writeFileAtomically(bundle / kSourceRecordName, projectIdentity(context.sourceURL));
    }
    const int leftovers = removeTemporaryLeftovers(media) + removeTemporaryLeftovers(bundle);
    if (leftovers > 0) {
        context.log(
            LogEntryType::info,
            fmt::format("  ↳ {} unvollständige Datei(en) eines abgebrochenen Laufs entfernt", leftovers));
    }
    if (context.bundledAssets) {
        context.bundledAssets->openMediaNames(archiveBundleURL(context));
    }
}

}  // namespace tidyreel
