#include "grading/role_effect_export_task.h"

#include "base/language.h"
#include "fcpxml/media_path.h"
#include "grading/effect_preset_parser.h"
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

// A Motion template is referenced, not copied, so a run still works when its file is gone or lies
// elsewhere; but the editor should know that Final Cut Pro will only find the effect where the
// reference points.
void warnAboutTemplates(const ExportContext& context) {
    for (const auto& [role, reference] : context.settings.roleEffectMappings) {
        if (reference.sourceType != SourceType::motionTemplate || !reference.src) {
            continue;
        }
        const std::filesystem::path file = MediaPath::path(*reference.src);
        std::error_code status;
        if (!std::filesystem::exists(file, status)) {
            context.log(LogEntryType::warning,
                        fmt::format(fmt::runtime(localized(
                                        "Motion-Vorlage der Rolle {} nicht mehr vorhanden: {} – der Effekt "
                                        "wird trotzdem eingetragen; Final Cut Pro sucht ihn unter {}",
                                        "Motion template of role {} no longer exists: {} – the effect is "
                                        "added anyway; Final Cut Pro looks for it at {}")),
                                    role, file.string(), reference.uid));
        } else if (!EffectPresetParser::liesInMotionEffectsFolder(reference)) {
            context.log(LogEntryType::warning, strayTemplateWarning(role, reference));
        }
    }
}

// Each assigned role that no timeline picture carries is named, and the run closes with a warning.
void reportUnchangedRoles(ExportContext& context, const InjectionStats& stats) {
    for (const std::string& role : stats.rolesUnchanged) {
        context.log(LogEntryType::warning,
                    fmt::format(fmt::runtime(localized(
                                    "Rolle {}: kein Bild in der Timeline – der Effekt {} ändert nichts",
                                    "Role {}: no picture in the timeline – the effect {} changes nothing")),
                                role, context.settings.roleEffectMappings.at(role).name));
    }
    if (!stats.rolesUnchanged.empty()) {
        context.closingWarning = fmt::format(
            fmt::runtime(localized("Color-Grading abgeschlossen, aber {} von {} Rolle(n) ohne Wirkung",
                                   "Color grading finished, but {} of {} role(s) changed nothing")),
            stats.rolesUnchanged.size(), context.settings.roleEffectMappings.size());
    }
}

}  // namespace

std::string strayTemplateWarning(const std::string& role, const EffectReference& reference) {
    return fmt::format(
        fmt::runtime(localized("Motion-Vorlage der Rolle {} liegt nicht in einem Motion-Effektordner "
                               "(…/Effects.localized/): {} – Final Cut Pro findet den Effekt unter {} nicht; "
                               "die Vorlage in den Effektordner legen und neu zuweisen",
                               "Motion template of role {} is not in a Motion effects folder "
                               "(…/Effects.localized/): {} – Final Cut Pro will not find the effect at {}; "
                               "move the template into the effects folder and assign it again")),
        role, MediaPath::path(*reference.src), reference.uid);
}

void RoleEffectExportTask::execute(ExportContext& context) const {
    if (context.settings.roleEffectMappings.empty()) {
        if (context.settings.debugMode) {
            context.log(LogEntryType::info, "DEBUG: Effekt-Export übersprungen (keine Effekte zugewiesen)");
        }
        return;
    }
    context.log(LogEntryType::info, "Injiziere Effekte...");
    warnAboutTemplates(context);
    FCPXMLEffectInjector injector(context.xmlDocument, context.settings.roleEffectMappings,
                                  requestedDiagnostics());
    const InjectionStats stats = injector.inject();
    context.log(LogEntryType::success, fmt::format("✓ {} Effekt(e) hinzugefügt, {} Clip(s) modifiziert",
                                                   stats.effectsAdded, stats.clipsModified));
    reportUnchangedRoles(context, stats);
}

}  // namespace tidyreel
