#include "archive/tasks/archive_bundle_write_task.h"

#include "base/file_names.h"
#include "base/utf8.h"

#include "archive/media/archive_bundle.h"
#include "archive/media/tool_runner.h"
#include "base/language.h"
#include "base/uuid.h"
#include "fcpxml/media_path.h"
#include "fcpxml/resource_index.h"
#include "platform/file_write.h"
#include "platform/process_runner.h"

#include <algorithm>
#include <cctype>

namespace tidyreel {
namespace {

void createFolder(const std::filesystem::path& folder, const ExportContext& context, const char* line) {
    if (pathExists(folder)) {
        return;
    }
    std::error_code status;
    std::filesystem::create_directories(folder, status);
    if (status) {
        throw fileSystemError(localized("Ordner konnte nicht angelegt werden", "Could not create folder"),
                              folder, status);
    }
    context.log(LogEntryType::info, line + folder.filename().string());
}

bool isInsideBundle(const std::filesystem::path& sourceURL) {
    return lowercasedExtension(sourceURL.parent_path()) == ".fcpxmld";
}

std::string actionWord(ExportActionType type) {
    switch (type) {
        case ExportActionType::colorGrading:
            return "colorgr";
        case ExportActionType::youtube:
            return "youtube";
        case ExportActionType::archiving:
            break;
    }
    return "archiv";
}

std::string uuidWithoutHyphens() {
    std::string uuid = newUuid();
    std::erase(uuid, '-');
    return uuid;
}

}  // namespace

void ArchiveBundleWriteTask::execute(ArchiveExportContext& context) const {
    context.log(LogEntryType::info, "Schreibe Archiv-Bundle...");
    const std::filesystem::path bundle = archiveBundleURL(context);
    createFolder(bundle, context, "  → Bundle-Verzeichnis angelegt: ");
    createFolder(bundle / "Media", context, "  → Media-Ordner angelegt: ");
    copyContentsSidecar(context, bundle);
    if (context.bundledAssets) {
        for (const std::string& id : rewriteMediaReferences(*context.xmlDocument, *context.bundledAssets)) {
            context.log(LogEntryType::info,
                        "  ↳ Proxy-Medien von Asset " + id + " entfernt (lagen außerhalb des Bundles)");
        }
    }
    renameProjects(*context.xmlDocument, context.exportTimestamp + "_" + actionWord(context.actionType));
    const std::filesystem::path info = archiveDocumentURL(bundle);
    writeFileAtomically(info, context.xmlDocument->serialize(true));
    context.log(LogEntryType::success, "  ✓ Bundle geschrieben: " + bundle.filename().string());
    context.log(LogEntryType::info, "  → " + info.filename().string() + ": " + info.string());
}

void copyContentsSidecar(const ArchiveExportContext& context, const std::filesystem::path& bundle) {
    if (!isInsideBundle(context.sourceURL)) {
        return;
    }
    const std::filesystem::path source = context.sourceURL.parent_path() / "Contents";
    if (!pathExists(source)) {
        return;
    }
    const std::filesystem::path target = bundle / "Contents";
    if (pathExists(target)) {
        context.log(LogEntryType::info, "  → Contents/ existiert bereits, übersprungen");
        return;
    }
    ProcessRequest request;
    request.executable = "/bin/cp";
#ifdef __APPLE__
    request.arguments = {"-R", "-X", "--", source.string(), target.string()};
#else
    request.arguments = {"-R", "--", source.string(), target.string()};
#endif
    request.stopToken = context.stopToken;
    const ProcessResult result = runProcess(request);
    const std::string& standardError = result.standardErrorTail;
    if (result.exitStatus == 0) {
        context.log(LogEntryType::success, "  ✓ Contents/-Sidecar übernommen (Object-Tracking-Daten)");
    } else {
        context.log(LogEntryType::warning,
                    "  ⚠️ Contents/-Sidecar nicht kopiert: " +
                        (isValidUTF8(standardError) ? standardError : std::string("unbekannt")));
    }
}

std::vector<std::string> rewriteMediaReferences(XmlDocument& document, const BundledAssetRegistry& registry) {
    const ResourceIndex resources(document);
    std::vector<std::string> droppedProxies;
    for (const auto& [id, registration] : registry.snapshot()) {
        for (XmlElement asset : resources.assets(id)) {
            bool hasMediaRep = false;
            std::vector<XmlElement> proxies;
            for (XmlElement rep : asset.children()) {
                if (rep.name() != "media-rep") {
                    continue;
                }
                hasMediaRep = true;
                if (rep.attribute("kind") != "original-media") {
                    proxies.push_back(rep);
                    continue;
                }
                rep.setAttribute("src", MediaPath::relativeURL(registration.relativePath));
                rep.removeChildren("bookmark");
                if (registration.isTrimmed) {
                    const std::string uid = uuidWithoutHyphens();
                    asset.setAttribute("uid", uid);
                    rep.setAttribute("sig", uid);
                }
            }
            // A proxy lies outside the bundle and no longer matches a trimmed original.
            for (XmlElement proxy : proxies) {
                proxy.remove();
            }
            if (!proxies.empty()) {
                droppedProxies.push_back(id);
            }
            // FCPXML before 1.9 keeps the reference on the asset itself.
            if (!hasMediaRep && asset.hasAttribute("src")) {
                asset.setAttribute("src", MediaPath::relativeURL(registration.relativePath));
                if (registration.isTrimmed) {
                    asset.setAttribute("uid", uuidWithoutHyphens());
                }
            }
        }
    }
    return droppedProxies;
}

void renameProjects(XmlDocument& document, const std::string& suffix) {
    for (XmlElement project : document.xpath("//project")) {
        if (const std::optional<std::string> name = project.attribute("name")) {
            project.setAttribute("name", *name + " (" + suffix + ")");
        }
    }
}

}  // namespace tidyreel
