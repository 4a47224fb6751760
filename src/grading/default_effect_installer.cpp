#include "grading/default_effect_installer.h"

#include "base/language.h"

#include <iostream>

namespace tidyreel {
namespace {

constexpr const char* kPrefix = "DefaultEffectInstaller: ";
constexpr const char* kEffectName = "ClipwrightEffekt";
constexpr const char* kTemplateFile = "ClipwrightEffekt.moef";

void say(const std::string& line) {
    std::cout << kPrefix << line << std::endl;
}

// The unpacked effect folder; fails when the archive did not hold it complete.
std::filesystem::path effectFolderIn(const std::filesystem::path& unpacked) {
    const std::filesystem::path source = unpacked / kEffectName;
    if (!std::filesystem::exists(source)) {
        say(std::string("❌ Ordner '") + kEffectName + "' nicht im ZIP gefunden");
        throw InstallError::copyFailed(std::string("Ordner '") + kEffectName + "' nicht im ZIP gefunden");
    }
    if (!std::filesystem::exists(source / kTemplateFile)) {
        say(std::string("❌ ") + kTemplateFile + " nicht im Ordner gefunden");
        throw InstallError::copyFailed(std::string(kTemplateFile) + " nicht im Ordner gefunden");
    }
    say("✅ Effekt-Ordner gefunden: " + source.string());
    return source;
}

}  // namespace

InstallError::InstallError(Kind kind, const std::string& description)
    : Error(DefaultEffectInstallerError::domain, static_cast<int>(kind), description), kind_(kind) {}

InstallError InstallError::copyFailed(const std::string& reason) {
    return InstallError(Kind::copyFailed, "Fehler beim Kopieren: " + reason);
}

InstallError InstallError::notFoundInBundle() {
    return InstallError(Kind::notFoundInBundle, std::string(kTemplateFile) + " nicht im App-Bundle gefunden");
}

InstallError InstallError::userCancelled() {
    return InstallError(Kind::userCancelled, "Installation abgebrochen");
}

TemplateFolderRule DefaultEffectInstaller::folderRule() {
    return {
        kPrefix,
        {"Effects.localized", "Effects", "Effekte"},
        "",
        "Wähle den 'Effects.localized' Ordner aus deinem Motion Templates Verzeichnis.\n\n⚠️ WICHTIG: "
        "Wähle "
        "GENAU den 'Effects.localized' Ordner!\n\nTypischer Pfad: ~/Movies/Motion "
        "Templates.localized/Effects.localized/",
        "Movies/Motion Templates.localized/Effects.localized"};
}

std::string DefaultEffectInstaller::successMessage() {
    return localized(
        "Standard-Effekt wurde erfolgreich installiert. Du findest ihn in Motion unter:\nEffects → "
        "Clipwright",
        "Default effect was successfully installed. You can find it in Motion under:\nEffects → Clipwright");
}

std::filesystem::path DefaultEffectInstaller::install(const FolderChooser& chooseEffectsFolder,
                                                      std::optional<std::filesystem::path> archive) {
    if (!archive) {
        say("❌ ClipwrightEffekt.zip nicht im Bundle gefunden");
        throw InstallError::notFoundInBundle();
    }
    say("✅ ZIP im Bundle gefunden: " + archive->string());
    const std::optional<std::filesystem::path> folder = chooseEffectsFolder();
    if (!folder) {
        say("❌ User hat abgebrochen");
        throw InstallError::userCancelled();
    }
    say("User wählte: " + folder->string());

    const ScratchFolder scratch;
    if (unzipArchive(*archive, scratch.path()) != 0) {
        throw InstallError::copyFailed("ZIP entpacken fehlgeschlagen");
    }
    say("ZIP entpackt nach: " + scratch.path().string());
    const std::filesystem::path source = effectFolderIn(scratch.path());

    const std::filesystem::path target = *folder / "Clipwright" / kEffectName;
    say("Ziel: " + target.string());
    try {
        createFolders(target.parent_path());
        if (replaceFolderWithCopy(source, target)) {
            say("Alte Version gelöscht");
        }
    } catch (const Error& error) {
        say(std::string("❌ Fehler: ") + error.what());
        throw InstallError::copyFailed(error.what());
    }
    say("✅ Erfolgreich installiert");
    return target;
}

}  // namespace tidyreel
