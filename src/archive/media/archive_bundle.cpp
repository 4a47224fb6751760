#include "archive/media/archive_bundle.h"

#include "archive/media/bundled_asset_registry.h"
#include "base/language.h"
#include "platform/file_write.h"

namespace tidyreel {

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
    return context.outputDirectory / ("archiv_" + sanitisedProjectName(context.projectName) + ".fcpxmld");
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
    if (context.bundledAssets) {
        context.bundledAssets->openMediaNames(archiveBundleURL(context));
    }
}

}  // namespace tidyreel
