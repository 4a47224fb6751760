#pragma once

#include "base/error.h"
#include "platform/template_installation.h"

#include <filesystem>
#include <optional>
#include <string>

namespace tidyreel {

/// Why installing the QUILLT title templates failed (descriptions follow the language rule).
class InstallationError : public Error {
public:
    /// The ways the installation can end early, in their fixed order.
    enum class Kind { userCancelled, templatesNotFound, invalidZipStructure, unzipFailed, copyFailed };

    explicit InstallationError(Kind kind);

    /// Which failure this is.
    Kind kind() const noexcept { return kind_; }

private:
    Kind kind_;
};

/// Installs the shipped Motion title templates QUILLT1 and QUILLT2 into the user's Motion titles
/// folder, in the sub-folder "Clipwright", and remembers that in the setting "quilltTemplatesInstalled".
namespace TemplateInstaller {

/// The titles folder the panel asks for and accepts.
TemplateFolderRule folderRule();

/// The success alert's text: where Motion shows the installed titles.
std::string successMessage();

/// Unpacks `archive` (the shipped Templates.zip when not given) and copies both templates into the
/// chosen titles folder's "Clipwright" sub-folder, replacing older copies; returns that sub-folder.
/// Throws `InstallationError`, or the file system's error when a folder cannot be made or copied.
std::filesystem::path install(
    const FolderChooser& chooseTitlesFolder,
    std::optional<std::filesystem::path> archive = bundledResource("Templates.zip"));

}  // namespace TemplateInstaller

}  // namespace tidyreel
