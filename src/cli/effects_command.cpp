#include "cli/cli_session.h"

#include "base/language.h"
#include "grading/role_effect_mapping.h"

#include <fmt/format.h>

#include <iostream>
#include <memory>

namespace tidyreel::cli {
namespace {

std::string sourceTypeLabel(SourceType type) {
    return type == SourceType::fxPlug ? "FxPlug" : localized("Motion-Vorlage", "Motion template");
}

void printMappings(const RoleEffectMappings& mappings) {
    if (mappings.empty()) {
        std::cout << localized("Keine Effektzuordnungen gespeichert", "No effect assignments remembered")
                  << '\n';
        return;
    }
    for (const auto& [role, reference] : mappings) {
        std::cout << fmt::format("{} → {} ({}): {}\n", role, reference.name,
                                 sourceTypeLabel(reference.sourceType), reference.uid);
    }
    std::cout << localized("Datei: ", "File: ") << RoleEffectMapping::fileURL().string() << '\n';
}

}  // namespace

void registerEffectsCommand(CLI::App& app, int& exitStatus) {
    struct Options {
        CommonOptions common;
        bool clear = false;
    };
    auto options = std::make_shared<Options>();
    CLI::App* command = app.add_subcommand("effects", "List the remembered role effect assignments");
    command->add_flag("--clear", options->clear, "Delete all remembered assignments");
    addCommonOptions(*command, options->common);
    command->callback([options, &exitStatus] {
        CliSession session(options->common);
        if (options->clear) {
            session.controller().deleteAllEffectMappings();
        } else {
            printMappings(session.controller().persistentEffectMappings());
        }
        exitStatus = exitSuccess;
    });
}

}  // namespace tidyreel::cli
