// Any bytes as a project: loading, role discovery, chapter reading and archive planning must end in a
// result or a clean error, never a crash, a hang or a sanitizer finding.
#include "archive/planning/archive_planning.h"
#include "base/error.h"
#include "description/chapter_marker_reader.h"
#include "fcpxml/project_document.h"
#include "fcpxml/role_discovery.h"
#include "pipeline/export_context.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::shared_ptr<tidyreel::XmlDocument> document;
    try {
        document =
            tidyreel::parseProjectDocument(std::string_view(reinterpret_cast<const char*>(data), size));
    } catch (const tidyreel::Error&) {
        return 0;
    }
    try {
        const std::vector<tidyreel::VideoRole> roles = tidyreel::discoverVideoRoles(*document);
        (void)tidyreel::readChapterMarkers(*document);
        tidyreel::ExportContext context;
        context.xmlDocument = document;
        context.actionType = tidyreel::ExportActionType::archiving;
        context.settings.buffer = 5;
        context.settings.minSegment = 20;
        for (const tidyreel::VideoRole& role : roles) {
            context.settings.includedRoles.insert(role.name);
        }
        (void)tidyreel::planArchive(context);
    } catch (const tidyreel::Error&) {
    }
    return 0;
}
