#pragma once

#include "pipeline/export_context.h"

#include <filesystem>
#include <string>

namespace tidyreel {

/// The project name as a safe, short folder-name part: no : / \ " ', spaces as single "_", at most 20
/// characters.
std::string sanitisedProjectName(const std::string& projectName);

/// Whether a document is archived as a `.fcpxmld` bundle. Final Cut Pro reads bundles from FCPXML 1.10 on;
/// an older document is archived at its own version as a plain `.fcpxml` beside its `Media` folder, in a
/// folder "archiv_<name>", since raising its version would make it invalid (its assets, for one, hold
/// their `src` themselves before 1.9).
bool archivesAsBundle(const XmlDocument& document);

/// The project document of an archive folder: `Info.fcpxml` in a `.fcpxmld` bundle, else the `.fcpxml`
/// named like the folder.
std::filesystem::path archiveDocumentURL(const std::filesystem::path& archive);

/// The archive bundle folder the run chose (`bundleURL`), else output folder / ("archiv_" + sanitised
/// project name + ".fcpxmld", without the extension for a document archived as a plain file).
std::filesystem::path archiveBundleURL(const ArchiveExportContext& context);

/// The bundle an archive run writes: "archiv_<name>.fcpxmld" (or the folder "archiv_<name>") when it is free
/// or an earlier archive of the same project, else the first such "archiv_<name> 2.fcpxmld", "… 3", …;
/// never the source's own bundle.
std::filesystem::path chooseArchiveBundle(const ArchiveExportContext& context);

/// The bundle's `Media` folder.
std::filesystem::path archiveMediaFolder(const ArchiveExportContext& context);

/// Creates the bundle and its `Media` folder when missing (logging the created folder), records which
/// project it archives, removes the temporary files an interrupted run left, and opens the bundle's
/// media name book; throws `Error` when the folder cannot be created.
void prepareArchiveFolder(ArchiveExportContext& context);

}  // namespace tidyreel
