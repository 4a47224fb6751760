#include "archive/media/media_copy.h"

#include "archive/media/archive_bundle.h"
#include "archive/media/bundled_asset_registry.h"
#include "archive/media/tool_runner.h"
#include "base/language.h"
#include "base/uuid.h"
#include "fcpxml/media_path.h"
#include "fcpxml/resource_index.h"
#include "platform/file_write.h"

#include <fmt/format.h>

#include <cstdlib>
#include <vector>

namespace tidyreel {
namespace {

std::string yesNo(bool yes) {
    return yes ? "JA" : "NEIN";
}

std::vector<XmlElement> copyList(XmlElement resources, const std::set<std::string>& excluded) {
    std::vector<XmlElement> assets;
    for (XmlElement asset : resources.children()) {
        const std::optional<std::string> id = asset.attribute("id");
        if (asset.name() == "asset" && !(id && excluded.contains(*id)) &&
            (asset.attribute("hasVideo") == "1" || asset.attribute("hasAudio") == "1")) {
            assets.push_back(asset);
        }
    }
    return assets;
}

// Tries to write into the media folder, as a copy would; returns the failure's description.
std::optional<std::string> writeTestFailure(const std::filesystem::path& media) {
    const std::filesystem::path testFile = media / (".write_test_" + newUuid());
    try {
        writeFileAtomically(testFile, "test");
    } catch (const std::exception& error) {
        return std::string(error.what());
    }
    std::error_code ignored;
    std::filesystem::remove(testFile, ignored);
    return std::nullopt;
}

void logDiagnosis(const ArchiveExportContext& context, std::size_t assetCount) {
    const std::filesystem::path media = archiveMediaFolder(context);
    context.log(LogEntryType::info, "┌─ DIAGNOSE: Bypass-Kopie-Phase");
    // Only a sandboxed macOS build has a sandbox to report; elsewhere the line would mean nothing.
    if (std::getenv("APP_SANDBOX_CONTAINER_ID")) {
        context.log(LogEntryType::info, "│  Pro-Target Sandbox: JA (com.apple.security.app-sandbox aktiv)");
    }
    context.log(LogEntryType::info, "│  Ziel-Ordner: " + media.string());
    context.log(LogEntryType::info, "│  Ziel existiert: " + yesNo(pathExists(media)));
    const std::optional<std::string> failure = writeTestFailure(media);
    if (failure) {
        context.log(LogEntryType::info, "│  Ziel-Schreibtest FEHLGESCHLAGEN: " + *failure);
    }
    context.log(LogEntryType::info, "│  Ziel beschreibbar: " + yesNo(!failure));
    context.log(LogEntryType::info, fmt::format("└─ Assets zu kopieren: {}", assetCount));
}

void logCopyFailure(const ArchiveExportContext& context, const std::string& name,
                    const std::filesystem::path& source, const std::filesystem::path& target,
                    const std::exception& failure) {
    context.log(LogEntryType::error, "  ✗ FEHLER: " + name);
    context.log(LogEntryType::error, "     Quelle: " + source.string());
    context.log(LogEntryType::error, "     Ziel: " + target.string());
    context.log(LogEntryType::error, std::string("     Error: ") + failure.what());
    const auto* error = dynamic_cast<const Error*>(&failure);
    if (!error || error->domain().empty()) {
        return;
    }
    context.log(LogEntryType::error, "     Fehlerbereich: " + error->domain());
    context.log(LogEntryType::error, fmt::format("     Fehlercode: {}", error->code()));
    for (const char* key :
         {"NSLocalizedDescriptionKey", "NSFilePathErrorKey", "NSURLErrorKey", "NSUnderlyingError"}) {
        if (const auto entry = error->userInfo().find(key); entry != error->userInfo().end()) {
            context.log(LogEntryType::error, fmt::format("     {}: {}", key, entry->second));
        }
    }
}

struct CopyCounts {
    int copied = 0;
    int present = 0;
    int failed = 0;
    int walked = 0;
};

// One asset of the copy phase, step `step` of `assetCount`: its progress report (naming the file), then
// the copy unless the bundle holds it already.
void copyAsset(ArchiveExportContext& context, XmlElement asset, CopyCounts& counts, int assetCount) {
    const std::optional<std::string> id = asset.attribute("id");
    const std::optional<std::string> src = id ? assetMediaSource(asset) : std::nullopt;
    ProcessingProgress step(counts.walked++, assetCount, localized("Kopiere Material", "Copying media"));
    if (!src) {
        context.reportProgress(step);
        return;
    }
    const std::filesystem::path source = MediaPath::path(*src);
    step.itemName = source.filename().string();
    context.reportProgress(step);
    const std::string name = claimWholeCopyName(context, source);
    const std::filesystem::path target = archiveMediaFolder(context) / name;
    if (pathExists(target)) {
        context.log(LogEntryType::info, "  ⊙ SKIP (existiert): " + name);
        ++counts.present;
    } else {
        context.log(LogEntryType::info, "  → COPY: " + name);
        context.log(LogEntryType::info, "     Quelle: " + source.string());
        context.log(LogEntryType::info, "     Quelle existiert: " + yesNo(pathExists(source)));
        context.log(LogEntryType::info, "     Ziel: " + target.string());
        std::error_code sizeStatus;
        const double sourceSize = static_cast<double>(std::filesystem::file_size(source, sizeStatus));
        const ToolProgress progress = [&](double bytes) {
            step.stepFraction = sizeStatus ? 0 : bytes / sourceSize;
            context.reportProgress(step);
        };
        try {
            runCopy(source, target, context, progress);
        } catch (const RunCancelled&) {
            throw;
        } catch (const std::exception& failure) {
            ++counts.failed;
            logCopyFailure(context, name, source, target, failure);
            return;
        }
        context.log(LogEntryType::success, "     ✓ ERFOLG");
        ++counts.copied;
    }
    context.bundledAssets->registerAsset(*id, Registration{"./Media/" + name, *src, false});
    pointAssetAtFile(asset, target);
}

}  // namespace

void pointAssetAtFile(XmlElement asset, const std::filesystem::path& file) {
    const std::string src = MediaPath::url(file.string());
    bool hasMediaRep = false;
    for (XmlElement rep : asset.children()) {
        if (rep.name() != "media-rep") {
            continue;
        }
        hasMediaRep = true;
        if (rep.attribute("kind") == "original-media") {
            rep.removeAttribute("src");
            rep.setAttribute("src", src);
            rep.removeChildren("bookmark");
        }
    }
    if (!hasMediaRep && asset.hasAttribute("src")) {
        asset.setAttribute("src", src);
    }
}

std::string claimWholeCopyName(const ArchiveExportContext& context, const std::filesystem::path& source) {
    std::error_code status;
    const std::uintmax_t sourceSize = std::filesystem::file_size(source, status);
    const bool sourceKnown = !status;
    return context.bundledAssets->claimMediaName(
        source.string(), bundleFileName(source), [&](const std::filesystem::path& existing) {
            std::error_code existingStatus;
            return sourceKnown && std::filesystem::file_size(existing, existingStatus) == sourceSize &&
                   !existingStatus;
        });
}

int bypassCopyPhase(ArchiveExportContext& context, const std::set<std::string>& excluded) {
    const XmlElement root = context.xmlDocument->root();
    const XmlElement resources = root ? root.firstChild("resources") : XmlElement();
    if (!resources) {
        return 0;
    }
    const std::vector<XmlElement> assets = copyList(resources, excluded);
    logDiagnosis(context, assets.size());
    CopyCounts counts;
    for (XmlElement asset : assets) {
        copyAsset(context, asset, counts, static_cast<int>(assets.size()));
    }
    context.bundledAssets->saveMediaNames();
    context.log(LogEntryType::info, "┌─ DIAGNOSE: Bypass-Kopie-Ergebnis");
    context.log(LogEntryType::info, fmt::format("│  Kopiert: {}", counts.copied));
    context.log(LogEntryType::info, fmt::format("│  Bereits vorhanden: {}", counts.present));
    context.log(LogEntryType::info, fmt::format("│  FEHLGESCHLAGEN: {}", counts.failed));
    context.log(LogEntryType::info, fmt::format("└─ Gesamt verarbeitet: {}", counts.walked));
    return counts.failed;
}

}  // namespace tidyreel
