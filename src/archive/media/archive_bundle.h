#pragma once

#include "pipeline/export_context.h"

#include <filesystem>
#include <string>

namespace tidyreel {

/// The project name as a safe, short folder-name part: no : / \ " ', spaces as single "_", at most 20
/// characters.
std::string sanitisedProjectName(const std::string& projectName);

/// The archive bundle folder the run chose (`bundleURL`), else output folder / ("archiv_" + sanitised
/// project name + ".fcpxmld").
std::filesystem::path archiveBundleURL(const ArchiveExportContext& context);

/// The bundle an archive run writes: "archiv_<name>.fcpxmld" when it is free or an earlier archive of the
/// same project, else the first such "archiv_<name> 2.fcpxmld", "… 3", …; never the source's own bundle.
std::filesystem::path chooseArchiveBundle(const ArchiveExportContext& context);

/// The bundle's `Media` folder.
std::filesystem::path archiveMediaFolder(const ArchiveExportContext& context);

/// Creates the bundle and its `Media` folder when missing (logging the created folder), records which
/// project it archives, removes the temporary files an interrupted run left, and opens the bundle's
/// media name book; throws `Error` when the folder cannot be created.
void prepareArchiveFolder(ArchiveExportContext& context);

}  // namespace tidyreel
