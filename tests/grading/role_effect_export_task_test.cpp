#include "grading/role_effect_export_task.h"

#include "base/error.h"
#include "base/language.h"
#include "fcpxml/media_path.h"
#include "fcpxml/xml.h"
#include "grading_support.h"
#include "test_support.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace tidyreel {
namespace {

using Lines = std::vector<std::string>;

const std::string kProject =
    R"(<fcpxml version="1.11"><resources><format id="r1"/></resources><library><event>)"
    R"(<project name="Film"><sequence><spine><asset-clip name="a" videoRole="GoPro"/>)"
    R"(<asset-clip name="b" videoRole="GoPro.GoPro-1"/></spine></sequence></project>)"
    R"(</event></library></fcpxml>)";
const std::string kInjecting = "ℹ️ Injiziere Effekte...";
const std::string kInjected = "✅ ✓ 1 Effekt(e) hinzugefügt, 2 Clip(s) modifiziert";

struct TaskRun {
    ExportContext context;
    test::LogCollector log;

    TaskRun(const std::string& xml, RoleEffectMappings mappings) {
        context.xmlDocument = XmlDocument::parse(xml);
        context.roleEffectMappings = std::move(mappings);
        context.logger = log.logger();
    }

    void execute() { RoleEffectExportTask("Rollen-Effekte", true).execute(context); }
};

TEST(RoleEffectExportTaskRun, SkipsWithoutAssignmentsAndLeavesTheDocumentAlone) {
    TaskRun run(kProject, {});
    const std::string before = run.context.xmlDocument->serialize(false);
    run.execute();
    EXPECT_EQ(run.log.lines(), Lines{"ℹ️ DEBUG: Effekt-Export übersprungen (keine Effekte zugewiesen)"});
    EXPECT_EQ(run.context.xmlDocument->serialize(false), before);

    run.context.debugMode = false;
    run.execute();
    EXPECT_EQ(run.log.lines().size(), 1u);
}

TEST(RoleEffectExportTaskRun, FailsWithTheInjectorsErrorWithoutResources) {
    TaskRun run("<fcpxml><library/></fcpxml>", {{"GoPro", test::kSoftPreset}});
    try {
        run.execute();
        FAIL() << "no error";
    } catch (const Error& error) {
        EXPECT_STREQ(error.what(), "Kein <resources>-Element gefunden");
    }
    EXPECT_EQ(run.log.lines(), Lines{kInjecting});
}

TEST(RoleEffectExportTaskRun, InjectsAndWarnsWhenAMotionTemplateIsGone) {
    test::TempFolder home;
    const auto file = test::writeMotionTemplate(test::motionEffectsFolder(home.path()), "Warm/Warm.moef");
    const EffectReference warm{"Warm", "~/Effects.localized/Warm/Warm.moef", MediaPath::url(file.string()),
                               SourceType::motionTemplate};
    TaskRun present(kProject, {{"GoPro", warm}});
    present.execute();
    EXPECT_EQ(present.log.lines(), (Lines{kInjecting, kInjected}));
    EXPECT_EQ(present.context.xmlDocument->xpath("//asset-clip/filter-video[@ref='r2']").size(), 2u);

    std::filesystem::remove(file);
    TaskRun gone(kProject, {{"GoPro", warm}});
    setPreferredLanguages({"de-DE"});
    gone.execute();
    setPreferredLanguages({});
    EXPECT_EQ(gone.log.lines(),
              (Lines{kInjecting,
                     "⚠️ ⚠️ Motion-Vorlage der Rolle GoPro nicht mehr vorhanden: " + file.string() +
                         " – der Effekt wird trotzdem eingetragen; Final Cut Pro sucht ihn unter "
                         "~/Effects.localized/Warm/Warm.moef",
                     kInjected}));
}

}  // namespace
}  // namespace tidyreel
