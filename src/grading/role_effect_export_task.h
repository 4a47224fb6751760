#pragma once

#include "pipeline/export_task.h"

namespace tidyreel {

/// Gives every clip of an assigned role its effect.
class RoleEffectExportTask : public ExportTask {
public:
    using ExportTask::ExportTask;

    /// Injects the context's role effects into its document; throws the injector's `Error`.
    void execute(ExportContext& context) const override;
};

}  // namespace tidyreel
