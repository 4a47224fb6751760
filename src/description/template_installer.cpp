#include "description/template_installer.h"

#include "base/language.h"
#include "platform/settings_store.h"

#include <array>
#include <iostream>

namespace tidyreel {
namespace {

constexpr std::array<const char*, 2> kTemplateNames = {"QUILLT1", "QUILLT2"};

std::string descriptionOf(InstallationError::Kind kind) {
    switch (kind) {
        case InstallationError::Kind::userCancelled:
            return localized("Installation abgebrochen", "Installation cancelled");
        case InstallationError::Kind::templatesNotFound:
            return localized("Templates.zip nicht im App-Bundle gefunden",
                             "Templates.zip not found in app bundle");
        case InstallationError::Kind::invalidZipStructure:
            return localized("Ungültige ZIP-Struktur", "Invalid ZIP structure");
        case InstallationError::Kind::unzipFailed:
            return localized("Fehler beim Entpacken des ZIP-Archivs", "Error unpacking ZIP archive");
        case InstallationError::Kind::copyFailed:
            break;
    }
    return localized("Fehler beim Kopieren der Templates", "Error copying templates");
}

// What the archive unpacked to, two levels deep, so that a wrongly packed archive can be told apart.
void printUnpackedContents(const std::filesystem::path& folder) {
    std::cout << "📦 Temp-Verzeichnis: " << folder.string() << '\n' << "📂 Inhalt nach Entpacken:" << '\n';
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        std::cout << "  - " << entry.path().filename().string() << '\n';
        if (entry.is_directory()) {
            for (const auto& inner : std::filesystem::directory_iterator(entry.path())) {
                std::cout << "    - " << inner.path().filename().string() << '\n';
            }
        }
    }
    std::cout << std::flush;
}

// The folder holding QUILLT1 and QUILLT2: the "Templates" wrapper, or the archive's root.
std::filesystem::path templatesFolderIn(const std::filesystem::path& unpacked) {
    if (std::filesystem::exists(unpacked / "Templates")) {
        std::cout << "✅ Templates-Ordner gefunden: " << (unpacked / "Templates").string() << std::endl;
        return unpacked / "Templates";
    }
    if (std::filesystem::exists(unpacked / kTemplateNames[0])) {
        std::cout << "⚠️ Templates direkt im ZIP-Root gefunden (kein Templates-Wrapper)" << std::endl;
        return unpacked;
    }
    std::cout << "❌ Weder 'Templates/' noch 'QUILLT1' gefunden" << std::endl;
    throw InstallationError(InstallationError::Kind::invalidZipStructure);
}

std::filesystem::path titlesFolderOf(const std::filesystem::path& chosen) {
    const std::filesystem::path folder = chosen.has_filename() ? chosen : chosen.parent_path();
    const std::string name = folder.filename().string();
    return name == "Titles.localized" || name == "Titles" || name == "Titel" ? folder
                                                                             : folder / "Titles.localized";
}

}  // namespace

InstallationError::InstallationError(Kind kind)
    : Error(TemplateInstallerError::domain, static_cast<int>(kind), descriptionOf(kind)), kind_(kind) {}

TemplateFolderRule TemplateInstaller::folderRule() {
    return {
        "TemplateInstaller: ",
        {"Titles.localized", "Titles", "Titel"},
        localized("Titles-Ordner auswählen", "Select Titles Folder"),
        "Wähle den 'Titles.localized' Ordner aus deinem Motion Templates Verzeichnis.\n\n⚠️ WICHTIG: "
        "Wähle "
        "GENAU den 'Titles.localized' Ordner!\n\nTypischer Pfad: ~/Movies/Motion "
        "Templates.localized/Titles.localized/",
        "Movies/Motion Templates.localized/Titles.localized"};
}

std::string TemplateInstaller::successMessage() {
    return localized(
        "QUILLT-Titel wurden erfolgreich installiert. Du findest sie in Motion unter:\nTitel → Clipwright",
        "QUILLT titles were successfully installed. You can find them in Motion under:\nTitles → Clipwright");
}

std::filesystem::path TemplateInstaller::install(const FolderChooser& chooseTitlesFolder,
                                                 std::optional<std::filesystem::path> archive) {
    const std::optional<std::filesystem::path> folder = chooseTitlesFolder();
    if (!folder) {
        throw InstallationError(InstallationError::Kind::userCancelled);
    }
    if (!archive) {
        throw InstallationError(InstallationError::Kind::templatesNotFound);
    }
    const ScratchFolder scratch;
    if (unzipArchive(*archive, scratch.path()) != 0) {
        throw InstallationError(InstallationError::Kind::unzipFailed);
    }
    printUnpackedContents(scratch.path());
    const std::filesystem::path source = templatesFolderIn(scratch.path());

    const std::filesystem::path destination = titlesFolderOf(*folder) / "Clipwright";
    createFolders(destination);
    for (const char* name : kTemplateNames) {
        replaceFolderWithCopy(source / name, destination / name);
    }
    SettingsStore::setBool("quilltTemplatesInstalled", true);
    return destination;
}

}  // namespace tidyreel
