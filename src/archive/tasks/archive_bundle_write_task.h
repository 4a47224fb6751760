#pragma once

#include "archive/media/bundled_asset_registry.h"
#include "fcpxml/xml.h"
#include "pipeline/export_task.h"

#include <filesystem>
#include <string>
#include <vector>

namespace tidyreel {

/// Writes the archive bundle: its folders, the source bundle's `Contents`, and its project document
/// (`archiveDocumentURL`) with every media reference pointing into `Media` and the projects renamed.
class ArchiveBundleWriteTask : public ArchiveExportTask {
public:
    using ArchiveExportTask::ArchiveExportTask;

    void execute(ArchiveExportContext& context) const override;
};

/// Copies the source bundle's `Contents` folder into the archive bundle when there is one and it is not
/// there yet; a failing copy is a warning line.
void copyContentsSidecar(const ArchiveExportContext& context, const std::filesystem::path& bundle);

/// Points every registered asset's original media at its file in `Media`; trimmed files get a new `uid`
/// and `sig`, since they are new media; their other media-reps (proxies, outside the bundle) are removed.
/// Returns the ids of the assets that lost a proxy.
std::vector<std::string> rewriteMediaReferences(XmlDocument& document, const BundledAssetRegistry& registry);

/// Appends " (" + suffix + ")" to the name of every project.
void renameProjects(XmlDocument& document, const std::string& suffix);

}  // namespace tidyreel
