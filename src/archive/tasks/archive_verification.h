#pragma once

#include "archive/media/media_probe.h"
#include "pipeline/export_task.h"

#include <filesystem>
#include <set>
#include <string>
#include <vector>

namespace tidyreel {

/// Checks an archive bundle as the editor will rely on it: every media `src` names a file inside the
/// bundle; every file decodes to its end (files marked "_trimmed" are decoded fully, the rest probed) and
/// is as long as its asset declares (a sound-only asset measured by its sound); every clip's used range lies
/// inside its asset. One line per problem, none for a sound bundle. Works on bundles written by earlier runs
/// too. With `acceptMissingSources` a reference outside the bundle to a source that cannot be read
/// (missing, unreadable, or no regular file) is no problem (the editor archived without it). The tools run
/// as `probe` says, and a stop request ends the check with `RunCancelled`. Files in `provenCopies` are not
/// decoded: the run that wrote them checked every video packet against the source's bytes and decoded
/// each join, so decoding them again would only test the source.
std::vector<std::string> verifyArchiveBundle(const std::filesystem::path& bundle, const ProbeSetup& probe,
                                             bool acceptMissingSources = false,
                                             const std::set<std::filesystem::path>& provenCopies = {});

/// The archive run's self-check after the bundle is written: each problem is an error line, and any
/// problem fails the run.
class ArchiveVerifyTask : public ArchiveExportTask {
public:
    using ArchiveExportTask::ArchiveExportTask;
    void execute(ArchiveExportContext& context) const override;
};

}  // namespace tidyreel
