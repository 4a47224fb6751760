#pragma once

#include "pipeline/effect_reference.h"

#include <filesystem>
#include <string>
#include <string_view>

namespace tidyreel {

/// The role → effect assignments remembered across projects and launches: the content of
/// role_effects.json in the application-support folder.
struct RoleEffectMapping {
    RoleEffectMappings mappings;  ///< effect per main role name

    /// The remembered assignments; throws `Error` when the file is missing, unreadable or not decodable.
    static RoleEffectMappings load();
    /// Replaces the file's content with `mappings`; throws `Error` when it cannot be encoded or written.
    static void save(const RoleEffectMappings& mappings);

    /// Where the file lives; creates its folder each time, ignoring a failure to do so.
    static std::filesystem::path fileURL();

    /// The file's compact JSON text ("src" left out when absent); throws `Error` for text that is not UTF-8.
    std::string encoded() const;
    /// The record of a file's JSON text; throws `Error` unless every entry has a text "name", "uid" and a
    /// known "sourceType" (and "src", when present, is a text).
    static RoleEffectMapping decoded(std::string_view json);
};

}  // namespace tidyreel
