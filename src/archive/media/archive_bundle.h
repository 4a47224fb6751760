#pragma once

#include "pipeline/export_context.h"

#include <filesystem>
#include <string>

namespace tidyreel {

/// The project name as a safe, short folder-name part: no : / \ " ', spaces as single "_", at most 20
/// characters.
std::string sanitisedProjectName(const std::string& projectName);

/// The archive bundle folder: output folder / ("archiv_" + sanitised project name + ".fcpxmld").
std::filesystem::path archiveBundleURL(const ArchiveExportContext& context);

/// The bundle's `Media` folder.
std::filesystem::path archiveMediaFolder(const ArchiveExportContext& context);

/// Creates the bundle and its `Media` folder when missing (logging the created folder), and opens the
/// bundle's media name book; throws `Error` when the folder cannot be created.
void prepareArchiveFolder(ArchiveExportContext& context);

}  // namespace tidyreel
