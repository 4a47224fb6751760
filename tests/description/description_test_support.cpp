#include "description/description_test_support.h"

#include "fcpxml/xml.h"
#include "test_support.h"

#include <fmt/format.h>

namespace tidyreel::test {

std::string projectXml(const std::string& spine, const std::string& resources,
                       const std::string& sequenceAttributes) {
    return fmt::format(fmt::runtime(readTextFile(fixture("description/project_skeleton.fcpxml"))),
                       fmt::arg("resources", resources), fmt::arg("sequence", sequenceAttributes),
                       fmt::arg("spine", spine));
}

RecordingContext::RecordingContext(const std::string& xml, const std::filesystem::path& outputDirectory,
                                   const std::string& originalFileName) {
    context.sourceURL = outputDirectory / originalFileName;
    context.settings.outputDirectory = outputDirectory;
    context.originalFileName = originalFileName;
    context.xmlDocument = XmlDocument::parse(xml);
    context.actionType = ExportActionType::youtube;
    context.logger = log.logger();
}

}  // namespace tidyreel::test
