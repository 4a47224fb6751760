#pragma once

#include "fcpxml/xml.h"
#include "pipeline/effect_reference.h"

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace tidyreel {

/// What one injection changed in the document.
struct InjectionStats {
    int effectsAdded = 0;   ///< `effect` resources newly created
    int clipsModified = 0;  ///< `filter-video` elements inserted, over all roles and timelines
    std::vector<std::string> rolesProcessed;  ///< roles, in processing order, that received a filter
};

/// Receives the injector's developer diagnostics, one line at a time.
using InjectionDiagnostics = std::function<void(const std::string&)>;

/// Writes the assigned effects into a project: one `effect` resource per effect, and a `filter-video`
/// on every timeline clip whose main video role has an effect. Roles are processed in name order, so
/// that the ids of new resources do not depend on anything but the document and the assignments.
class FCPXMLEffectInjector {
public:
    /// An injector for `document` (changed in place) and the role → effect `mapping`; `diagnostics`
    /// hears what the walk scans and injects (nothing when empty).
    FCPXMLEffectInjector(std::shared_ptr<XmlDocument> document, RoleEffectMappings mapping,
                         InjectionDiagnostics diagnostics = {});

    /// Adds the resources and filters; throws `Error` ("FCPXMLEffectInjector", code 1 without a root
    /// element, code 2 without a `resources` element) before changing anything.
    InjectionStats inject();

private:
    std::map<std::string, std::string> ensureEffectResources(XmlElement resources, InjectionStats& stats);
    std::vector<XmlElement> timelineSpines() const;
    int injectIntoClips(XmlElement element, const std::string& role, const std::string& id,
                        const std::string& effectName) const;
    void diagnose(const std::string& line) const;

    std::shared_ptr<XmlDocument> document_;
    RoleEffectMappings mapping_;
    InjectionDiagnostics diagnostics_;
};

}  // namespace tidyreel
