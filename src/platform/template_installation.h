#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace tidyreel {

/// Asks the user for the Motion folder to install into; no value when the user cancels.
using FolderChooser = std::function<std::optional<std::filesystem::path>()>;

/// What an installer's folder panel asks for and which folders it accepts.
struct TemplateFolderRule {
    std::string consolePrefix;               ///< e.g. "TemplateInstaller: ", in front of console lines
    std::vector<std::string> acceptedNames;  ///< accepted last path components, the first is the usual one
    std::string panelTitle;                  ///< empty: the panel has no title
    std::string panelMessage;                ///< the instruction the panel shows
    std::filesystem::path typicalFolder;     ///< below the home folder, e.g. "Movies/…/Titles.localized"

    /// Whether `folder` has an accepted name; prints the "✅ Korrekter Ordner gewählt" line when it has.
    bool accepts(const std::filesystem::path& folder) const;
    /// The wrong-folder alert's information text for a folder called `chosenName`.
    std::string wrongFolderInformation(const std::string& chosenName) const;
    /// Where the panel opens: the typical folder, else the Motion Templates folder, else nothing.
    std::optional<std::filesystem::path> startFolder() const;
};

/// A zip archive the application ships (the Motion templates): the `resources` folder next to the
/// executable (build tree), else `../share/tidyreel` (installed); no value when neither holds it.
std::optional<std::filesystem::path> bundledResource(const std::string& fileName);

/// A fresh folder named with a new UUID in the system's temporary folder, removed with everything in
/// it when the object goes away, on every exit path of an installation.
class ScratchFolder {
public:
    ScratchFolder();
    ~ScratchFolder();
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    /// The folder.
    const std::filesystem::path& path() const { return path_; }

private:
    std::filesystem::path path_;
};

/// Unpacks `archive` into `folder` with /usr/bin/unzip -o -q and returns unzip's exit status; throws
/// the process runner's `Error` when unzip cannot be started.
int unzipArchive(const std::filesystem::path& archive, const std::filesystem::path& folder);

/// Creates `folder` and the folders above it that are missing; throws the file system's `Error`.
void createFolders(const std::filesystem::path& folder);

/// Removes `target` when it exists, then copies the folder `source` to it with everything inside;
/// returns whether an old `target` was removed. Throws the file system's `Error` with the system's reason.
bool replaceFolderWithCopy(const std::filesystem::path& source, const std::filesystem::path& target);

}  // namespace tidyreel
