#pragma once

#include "pipeline/effect_reference.h"
#include "pipeline/export_task.h"

#include <string>

namespace tidyreel {

/// The warning for a Motion template outside a Motion effects folder, assigned to `role`.
std::string strayTemplateWarning(const std::string& role, const EffectReference& reference);

/// Gives every timeline picture of an assigned role its effect; warns about roles it cannot change.
class RoleEffectExportTask : public ExportTask {
public:
    using ExportTask::ExportTask;

    /// Injects the context's role effects into its document; throws the injector's `Error`.
    void execute(ExportContext& context) const override;
};

}  // namespace tidyreel
