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
    context_.sourceURL = outputDirectory / originalFileName;
    context_.outputDirectory = outputDirectory;
    context_.originalFileName = originalFileName;
    context_.xmlDocument = XmlDocument::parse(xml);
    context_.actionType = ExportActionType::youtube;
    context_.logger = [this](LogEntryType type, const std::string& message) {
        lines_.emplace_back(type, message);
    };
}

std::vector<std::string> RecordingContext::messages() const {
    std::vector<std::string> messages;
    for (const auto& [type, message] : lines_) {
        messages.push_back(message);
    }
    return messages;
}

}  // namespace tidyreel::test
