#pragma once

#include "platform/template_installation.h"

#include <filesystem>
#include <optional>

class QWidget;

namespace tidyreel::ui {

/// The FCPXML panel: one .fcpxml file or one .fcpxmld bundle (a folder on Linux, chosen as a whole
/// rather than opened); no value when cancelled.
std::optional<std::filesystem::path> chooseProjectFile(QWidget* parent);

/// The output folder panel: one folder; no value when cancelled.
std::optional<std::filesystem::path> chooseOutputFolder(QWidget* parent);

/// An installer's folder panel with its message; a folder with a wrong name brings up the
/// "Falscher Ordner ausgewählt" alert, whose "Erneut versuchen" opens the panel again.
std::optional<std::filesystem::path> chooseTemplateFolder(const TemplateFolderRule& rule, QWidget* parent);

}  // namespace tidyreel::ui
