#include "archive/archive_support.h"

#include <sstream>

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

std::vector<std::string> words(const std::string& text) {
    std::vector<std::string> result;
    std::istringstream stream(text);
    for (std::string word; std::getline(stream, word, ' ');) {
        result.push_back(word);
    }
    return result;
}

}  // namespace tidyreel::test
