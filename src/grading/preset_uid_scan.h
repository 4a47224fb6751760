#pragma once

#include <cstddef>
#include <istream>
#include <optional>
#include <string>

namespace tidyreel {

/// How many bytes of a preset are read at a time: a preset of any size costs about this much memory.
inline constexpr std::size_t kPresetChunkSize = std::size_t{1} << 20;

/// The effect uid an FxPlug preset's bytes hold: the first "FxPlug:" followed by a UUID as found, else
/// "FxPlug:" and the first UUID after the first "effectID"; no value when there is neither. Reads `bytes`
/// to its end (or to the first "FxPlug:" UUID) `chunkSize` bytes at a time; the answer does not depend on
/// the chunk size. Sets `bytes`' badbit state as reading left it; the caller checks it.
std::optional<std::string> scanPresetUid(std::istream& bytes, std::size_t chunkSize = kPresetChunkSize);

}  // namespace tidyreel
