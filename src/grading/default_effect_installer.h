#pragma once

#include "base/error.h"
#include "platform/template_installation.h"

#include <filesystem>
#include <optional>
#include <string>

namespace tidyreel {

/// Why installing the default effect failed (descriptions are German only, as the installer's are).
class InstallError : public Error {
public:
    /// The three ways the installation can end early.
    enum class Kind { copyFailed, notFoundInBundle, userCancelled };

    /// Copying failed for the carried reason, e.g. "ZIP entpacken fehlgeschlagen".
    static InstallError copyFailed(const std::string& reason);
    /// The application ships no ClipwrightEffekt.zip.
    static InstallError notFoundInBundle();
    /// The user cancelled the folder panel.
    static InstallError userCancelled();

    /// Which failure this is.
    Kind kind() const noexcept { return kind_; }

private:
    InstallError(Kind kind, const std::string& description);

    Kind kind_;
};

/// Installs the shipped Motion effect ClipwrightEffekt into the user's Motion effects folder, in the
/// sub-folder "Clipwright", so that it shows up in Final Cut Pro's effects browser.
namespace DefaultEffectInstaller {

/// The effects folder the panel asks for and accepts.
TemplateFolderRule folderRule();

/// The success alert's text: where Motion shows the installed effect.
std::string successMessage();

/// Unpacks `archive` (the shipped ClipwrightEffekt.zip when not given) and copies its effect folder
/// into the chosen folder's "Clipwright" sub-folder, replacing an older copy; returns the installed
/// folder. Throws `InstallError`, or the file system's error when a folder cannot be made or removed.
std::filesystem::path install(
    const FolderChooser& chooseEffectsFolder,
    std::optional<std::filesystem::path> archive = bundledResource("ClipwrightEffekt.zip"));

}  // namespace DefaultEffectInstaller

}  // namespace tidyreel
