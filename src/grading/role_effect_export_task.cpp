#include "grading/role_effect_export_task.h"

#include "core/error.h"

namespace tidyreel {

void RoleEffectExportTask::execute(ExportContext& context) const {
    if (context.roleEffectMappings.empty()) {
        if (context.debugMode) {
            context.log(LogEntryType::info, "DEBUG: Effekt-Export übersprungen (keine Effekte zugewiesen)");
        }
        return;
    }
    throw Error("Processing", 1, "RoleEffectExportTask: noch nicht verfügbar");
}

}  // namespace tidyreel
