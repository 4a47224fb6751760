#include "grading/role_effect_export_task.h"

#include "core/error.h"
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

using Line = std::pair<LogEntryType, std::string>;

const std::string kProject =
    R"(<fcpxml version="1.11"><resources><format id="r1"/></resources><library><event>)"
    R"(<project name="Film"><sequence><spine><asset-clip name="a" videoRole="GoPro"/>)"
    R"(<asset-clip name="b" videoRole="GoPro.GoPro-1"/></spine></sequence></project>)"
    R"(</event></library></fcpxml>)";

struct TaskRun {
    ExportContext context;
    std::vector<Line> lines;

    explicit TaskRun(const std::string& xml, RoleEffectMappings mappings) {
        context.xmlDocument = XmlDocument::parse(xml);
        context.roleEffectMappings = std::move(mappings);
        context.logger = [this](LogEntryType type, const std::string& message) {
            lines.emplace_back(type, message);
        };
    }

    void execute() { RoleEffectExportTask("Rollen-Effekte", true).execute(context); }
};

TEST(RoleEffectExportTaskRun, InjectsAndReportsWhatChanged) {
    TaskRun run(kProject, {{"GoPro", test::kSoftPreset}});
    run.execute();
    EXPECT_EQ(run.lines, (std::vector<Line>{
                             {LogEntryType::info, "Injiziere Effekte..."},
                             {LogEntryType::success, "✓ 1 Effekt(e) hinzugefügt, 2 Clip(s) modifiziert"}}));
    EXPECT_EQ(run.context.xmlDocument->xpath("//asset-clip/filter-video[@ref='r2']").size(), 2u);
}

TEST(RoleEffectExportTaskRun, SkipsWithoutAssignmentsAndLeavesTheDocumentAlone) {
    TaskRun run(kProject, {});
    const std::string before = run.context.xmlDocument->serialize(false);
    run.execute();
    EXPECT_EQ(run.lines,
              (std::vector<Line>{
                  {LogEntryType::info, "DEBUG: Effekt-Export übersprungen (keine Effekte zugewiesen)"}}));
    EXPECT_EQ(run.context.xmlDocument->serialize(false), before);

    run.lines.clear();
    run.context.debugMode = false;
    run.execute();
    EXPECT_TRUE(run.lines.empty());
}

TEST(RoleEffectExportTaskRun, FailsWithTheInjectorsErrorWithoutResources) {
    TaskRun run("<fcpxml><library/></fcpxml>", {{"GoPro", test::kSoftPreset}});
    EXPECT_THROW(
        {
            try {
                run.execute();
            } catch (const Error& error) {
                EXPECT_STREQ(error.what(), "Kein <resources>-Element gefunden");
                throw;
            }
        },
        Error);
    EXPECT_EQ(run.lines, (std::vector<Line>{{LogEntryType::info, "Injiziere Effekte..."}}));
}

TEST(RoleEffectExportTaskRun, WarnsWhenAMotionTemplateIsGoneButStillInjectsIt) {
    test::TempFolder home;
    const auto file = test::writeMotionTemplate(test::motionEffectsFolder(home.path()), "Warm/Warm.moef");
    const EffectReference warm{"Warm", "~/Effects.localized/Warm/Warm.moef", MediaPath::url(file.string()),
                               SourceType::motionTemplate};
    TaskRun present(kProject, {{"GoPro", warm}});
    present.execute();
    EXPECT_EQ(present.lines.size(), 2u);

    std::filesystem::remove(file);
    TaskRun gone(kProject, {{"GoPro", warm}});
    gone.execute();
    ASSERT_EQ(gone.lines.size(), 3u);
    EXPECT_EQ(gone.lines[1].first, LogEntryType::warning);
    EXPECT_NE(gone.lines[1].second.find(file.string()), std::string::npos) << gone.lines[1].second;
    EXPECT_NE(gone.lines[1].second.find("~/Effects.localized/Warm/Warm.moef"), std::string::npos);
    EXPECT_EQ(gone.lines[2].second, "✓ 1 Effekt(e) hinzugefügt, 2 Clip(s) modifiziert");
}

}  // namespace
}  // namespace tidyreel
