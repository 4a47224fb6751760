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

    const std::string outputFileName = context.outputFileName(now);
    const std::filesystem::path outputURL = context.fcpxmlOutputURL(now);
    const std::filesystem::path folder = outputURL.parent_path();
    if (context.debugMode) {
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
