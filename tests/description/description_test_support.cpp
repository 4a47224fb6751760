#include "description/description_test_support.h"

#include "fcpxml/xml.h"

#include <fmt/format.h>

namespace tidyreel::test {

std::string projectXml(const std::string& spine, const std::string& resources,
                       const std::string& sequenceAttributes) {
    return fmt::format(R"(<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE fcpxml>
<fcpxml version="1.11">
  <resources><format id="r1" frameDuration="1/25s" width="1920" height="1080"/>{}</resources>
  <library><event name="Event"><project name="Projekt">
    <sequence format="r1" {}>
      <spine>{}</spine>
    </sequence>
  </project></event></library>
</fcpxml>
)",
                       resources, sequenceAttributes, spine);
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
