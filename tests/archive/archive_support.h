#pragma once

#include "core/export_context.h"
#include "fcpxml/xml.h"

#include <memory>
#include <string>
#include <vector>

namespace tidyreel::test {

/// An FCPXML document made of `resources` and a project spine holding `spine` (both element text).
std::shared_ptr<XmlDocument> projectWith(const std::string& resources, const std::string& spine);

/// An `asset` element text with one original-media `media-rep`.
std::string assetElement(const std::string& id, const std::string& file, const std::string& duration,
                         const std::string& extraAttributes = "hasVideo=\"1\" hasAudio=\"1\" format=\"f1\"");

/// Collects log lines as "<symbol> <message>" for exact comparisons.
class LogCollector {
public:
    /// A logger that appends to this collector.
    Logger logger();
    /// Every line so far.
    const std::vector<std::string>& lines() const { return lines_; }
    /// Whether one line equals `line` exactly.
    bool contains(const std::string& line) const;

private:
    std::vector<std::string> lines_;
};

}  // namespace tidyreel::test
