#include "archive/archive_support.h"

#include "test_support.h"

#include <algorithm>
#include <cstdlib>

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

std::filesystem::path writeScript(const std::filesystem::path& file, const std::string& body) {
    writeTextFile(file, "#!/bin/sh\n" + body + "\n");
    std::filesystem::permissions(file, std::filesystem::perms::owner_all, std::filesystem::perm_options::add);
    return file;
}

ScopedEnvironment::ScopedEnvironment(std::string name, const std::string& value) : name_(std::move(name)) {
    if (const char* old = std::getenv(name_.c_str())) {
        previous_ = old;
    }
    setenv(name_.c_str(), value.c_str(), 1);
}

ScopedEnvironment::~ScopedEnvironment() {
    if (previous_) {
        setenv(name_.c_str(), previous_->c_str(), 1);
    } else {
        unsetenv(name_.c_str());
    }
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
