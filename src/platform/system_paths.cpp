#include "platform/system_paths.h"

#include <QCoreApplication>
#include <QLocale>
#include <QStandardPaths>

namespace tidyreel {

std::vector<std::string> systemPreferredLanguages() {
    std::vector<std::string> languages;
    for (const QString& language : QLocale::system().uiLanguages()) {
        languages.push_back(language.toStdString());
    }
    return languages;
}

std::filesystem::path applicationSupportFolder() {
    const QString dataFolder = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    return std::filesystem::path(dataFolder.toStdString()) / "Tidyreel";
}

std::filesystem::path executableFolder() {
    if (QCoreApplication::instance()) {
        return QCoreApplication::applicationDirPath().toStdString();
    }
    // Without an application object (tests), the kernel still knows the executable.
    std::error_code ignored;
    return std::filesystem::read_symlink("/proc/self/exe", ignored).parent_path();
}

}  // namespace tidyreel
