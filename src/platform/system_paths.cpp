#include "platform/system_paths.h"

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

}  // namespace tidyreel
