#pragma once

#include "fcpxml/xml.h"
#include "pipeline/export_context.h"

#include <filesystem>
#include <set>
#include <string>

namespace tidyreel {

/// Points an asset's original media at a file: a new `src` URL, its bookmarks dropped; FCPXML before 1.9
/// keeps `src` on the asset itself.
void pointAssetAtFile(XmlElement asset, const std::filesystem::path& file);

/// The file name for a source in the bundle's `Media` folder, never one another source already holds; an
/// unrecorded file of the same name and size counts as this source's earlier copy.
std::string claimWholeCopyName(const ArchiveExportContext& context, const std::filesystem::path& source);

/// Copies every media asset not in `excluded` whole into the bundle's `Media` folder, registers and
/// repoints each copy, with diagnostic boxes in the log; returns the number of failed copies.
int bypassCopyPhase(ArchiveExportContext& context, const std::set<std::string>& excluded);

}  // namespace tidyreel
