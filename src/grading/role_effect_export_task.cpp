#include "grading/role_effect_export_task.h"

#include "base/language.h"
#include "fcpxml/media_path.h"
#include "grading/fcpxml_effect_injector.h"

#include <fmt/format.h>

#include <cstdlib>
#include <iostream>

namespace tidyreel {
namespace {

// The walk's diagnostics serve developers chasing a missing filter; on the command line they would
// drown the log lines on standard output, so they are printed only on request.
InjectionDiagnostics requestedDiagnostics() {
    const char* wanted = std::getenv("TIDYREEL_DIAGNOSTICS");
    if (!wanted || !*wanted) {
        return {};
    }
    return [](const std::string& line) { std::cout << line << '\n'; };
}

// A Motion template is referenced, not copied, so a run still works when its file is gone; but the
// editor should know that Final Cut Pro will only find the effect where the reference points.
void warnAboutMissingTemplates(const ExportContext& context) {
    for (const auto& [role, reference] : context.roleEffectMappings) {
        if (reference.sourceType != SourceType::motionTemplate || !reference.src) {
            continue;
        }
        const std::filesystem::path file = MediaPath::path(*reference.src);
        std::error_code status;
        if (!std::filesystem::exists(file, status)) {
            context.log(
                LogEntryType::warning,
                fmt::format(fmt::runtime(localized(
                                "⚠️ Motion-Vorlage der Rolle {} nicht mehr vorhanden: {} – der Effekt "
                                "wird trotzdem eingetragen; Final Cut Pro sucht ihn unter {}",
                                "⚠️ Motion template of role {} no longer exists: {} – the effect is "
                                "added anyway; Final Cut Pro looks for it at {}")),
                            role, file.string(), reference.uid));
        }
    }
}

}  // namespace

void RoleEffectExportTask::execute(ExportContext& context) const {
    if (context.roleEffectMappings.empty()) {
        if (context.debugMode) {
            context.log(LogEntryType::info, "DEBUG: Effekt-Export übersprungen (keine Effekte zugewiesen)");
        }
        return;
    }
    context.log(LogEntryType::info, "Injiziere Effekte...");
    warnAboutMissingTemplates(context);
    FCPXMLEffectInjector injector(context.xmlDocument, context.roleEffectMappings, requestedDiagnostics());
    const InjectionStats stats = injector.inject();
    context.log(LogEntryType::success, fmt::format("✓ {} Effekt(e) hinzugefügt, {} Clip(s) modifiziert",
                                                   stats.effectsAdded, stats.clipsModified));
}

}  // namespace tidyreel
