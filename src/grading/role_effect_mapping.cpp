#include "grading/role_effect_mapping.h"

#include "base/error.h"
#include "base/error_codes.h"
#include "fcpxml/xml.h"
#include "platform/file_write.h"
#include "platform/system_paths.h"

#include <nlohmann/json.hpp>

namespace tidyreel {
namespace {

using Json = nlohmann::json;

constexpr const char* kFileName = "role_effects.json";

Error malformed(const std::string& reason) {
    return Error(RoleEffectMappingError::domain, RoleEffectMappingError::malformedFile,
                 std::string(kFileName) + ": " + reason);
}

const std::string& requiredText(const Json& entry, const char* key, const std::string& role) {
    const auto member = entry.find(key);
    if (member == entry.end() || !member->is_string()) {
        throw malformed("\"" + std::string(key) + "\" fehlt oder ist kein Text bei Rolle " + role);
    }
    return member->get_ref<const std::string&>();
}

EffectReference decodeReference(const Json& entry, const std::string& role) {
    if (!entry.is_object()) {
        throw malformed("Eintrag der Rolle " + role + " ist kein Objekt");
    }
    EffectReference reference;
    reference.name = requiredText(entry, "name", role);
    reference.uid = requiredText(entry, "uid", role);
    const std::optional<SourceType> sourceType = sourceTypeFromRaw(requiredText(entry, "sourceType", role));
    if (!sourceType) {
        throw malformed("unbekannter \"sourceType\" bei Rolle " + role);
    }
    reference.sourceType = *sourceType;
    // An absent "src" and a null one both mean: no template file (FxPlug presets).
    if (const auto src = entry.find("src"); src != entry.end() && !src->is_null()) {
        reference.src = requiredText(entry, "src", role);
    }
    return reference;
}

Json encodeReference(const EffectReference& reference) {
    Json entry = {{"name", reference.name},
                  {"uid", reference.uid},
                  {"sourceType", std::string(rawValue(reference.sourceType))}};
    if (reference.src) {
        entry["src"] = *reference.src;
    }
    return entry;
}

}  // namespace

RoleEffectMappings RoleEffectMapping::load() {
    return decoded(readFileBytes(fileURL())).mappings;
}

void RoleEffectMapping::save(const RoleEffectMappings& mappings) {
    writeFileAtomically(fileURL(), RoleEffectMapping{mappings}.encoded());
}

std::filesystem::path RoleEffectMapping::fileURL() {
    const std::filesystem::path folder = applicationSupportFolder();
    std::error_code ignored;
    std::filesystem::create_directories(folder, ignored);
    return folder / kFileName;
}

std::string RoleEffectMapping::encoded() const {
    Json roles = Json::object();
    for (const auto& [role, reference] : mappings) {
        roles[role] = encodeReference(reference);
    }
    try {
        return Json{{"mappings", roles}}.dump();
    } catch (const Json::exception& error) {
        throw Error(RoleEffectMappingError::domain, RoleEffectMappingError::notEncodable, error.what());
    }
}

RoleEffectMapping RoleEffectMapping::decoded(std::string_view json) {
    const Json document = Json::parse(json, nullptr, false);
    if (document.is_discarded()) {
        throw malformed("kein gültiges JSON");
    }
    const auto roles = document.find("mappings");
    if (roles == document.end() || !roles->is_object()) {
        throw malformed("\"mappings\" fehlt oder ist kein Objekt");
    }
    RoleEffectMapping mapping;
    for (const auto& [role, entry] : roles->items()) {
        mapping.mappings.emplace(role, decodeReference(entry, role));
    }
    return mapping;
}

}  // namespace tidyreel
