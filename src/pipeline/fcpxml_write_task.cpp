#include "pipeline/fcpxml_write_task.h"

#include "base/error.h"
#include "base/language.h"
#include "fcpxml/xml.h"
#include "platform/file_write.h"

#include <fmt/format.h>

namespace tidyreel {
void FCPXMLWriteTask::execute(ExportContext& context) const {
    context.log(LogEntryType::info, localized("Schreibe neue FCPXML...", "Writing new FCPXML..."));
    const TimePoint now = Clock::now();
    const std::string projectSuffix =
        formatLocalTime(now, "%Y-%m-%d_%H-%M") + "_" + std::string(rawValue(context.actionType));
    renameFirstProject(*context.xmlDocument, projectSuffix);

    // Two runs in the same minute, or a source of that name, get a numbered name instead of being replaced.
    const std::filesystem::path written =
        unusedPath(context.settings.outputDirectory / context.outputFileName(now));
    const std::string outputFileName = written.filename().string();
    const bool isBundle = context.fcpxmlOutputURL(now).filename() == "Info.fcpxml";
    const std::filesystem::path outputURL = isBundle ? written / "Info.fcpxml" : written;
    const std::filesystem::path folder = outputURL.parent_path();
    if (context.settings.debugMode) {
        context.log(LogEntryType::info, "DEBUG: outputDir = " + folder.string());
        context.log(LogEntryType::info, "DEBUG: outputFileName = " + outputFileName);
        context.log(LogEntryType::info, "DEBUG: fcpxmlOutputURL = " + outputURL.string());
        context.log(LogEntryType::info, "DEBUG: projectSuffix = " + projectSuffix);
    }
    std::error_code status;
    std::filesystem::create_directories(folder, status);
    if (status) {
        throw fileSystemError(localized("Ordner konnte nicht erstellt werden", "Could not create folder"),
                              folder, status);
    }
    writeFileAtomically(outputURL, context.xmlDocument->serialize(true));
    context.log(LogEntryType::success, "✓ FCPXML gespeichert: " + outputFileName);
}

void renameFirstProject(XmlDocument& document, const std::string& suffix) {
    XmlElement project = document.first("//project");
    if (!project) {
        return;
    }
    if (const std::optional<std::string> name = project.attribute("name")) {
        project.setAttribute("name", suffix + "_" + *name);
    }
}

}  // namespace tidyreel
