#include "archive/archive_support.h"

#include <algorithm>

namespace tidyreel::test {

std::shared_ptr<XmlDocument> projectWith(const std::string& resources, const std::string& spine) {
    return XmlDocument::parse(
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<fcpxml version=\"1.11\"><resources>"
        "<format id=\"f1\" frameDuration=\"1/25s\" width=\"160\" height=\"90\"/>" +
        resources +
        "</resources><library><event name=\"E\"><project name=\"P\"><sequence format=\"f1\"><spine>" + spine +
        "</spine></sequence></project></event></library></fcpxml>");
}

std::string assetElement(const std::string& id, const std::string& file, const std::string& duration,
                         const std::string& extraAttributes) {
    return "<asset id=\"" + id + "\" name=\"" + id + "\" start=\"0s\" duration=\"" + duration + "\" " +
           extraAttributes + "><media-rep kind=\"original-media\" src=\"file:///media/" + file +
           "\"/></asset>";
}

Logger LogCollector::logger() {
    return [this](LogEntryType type, const std::string& message) {
        lines_.push_back(std::string(rawValue(type)) + " " + message);
    };
}

bool LogCollector::contains(const std::string& line) const {
    return std::find(lines_.begin(), lines_.end(), line) != lines_.end();
}

}  // namespace tidyreel::test
