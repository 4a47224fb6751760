#pragma once

#include "core/export_task.h"

namespace tidyreel {

/// Gives every clip of an assigned role its effect.
class RoleEffectExportTask : public ExportTask {
public:
    using ExportTask::ExportTask;

    void execute(ExportContext& context) const override;
};

}  // namespace tidyreel
