#include "base/uuid.h"

#include <fmt/format.h>

#include <array>
#include <cstdint>
#include <mutex>
#include <random>

namespace tidyreel {

std::string newUuid() {
    static std::mutex generatorMutex;
    static std::mt19937_64 generator{std::random_device{}()};
    std::array<std::uint8_t, 16> bytes{};
    {
        std::lock_guard lock(generatorMutex);
        for (std::size_t i = 0; i < bytes.size(); i += 8) {
            const std::uint64_t word = generator();
            for (std::size_t j = 0; j < 8; ++j) {
                bytes[i + j] = static_cast<std::uint8_t>(word >> (8 * j));
            }
        }
    }
    bytes[6] = static_cast<std::uint8_t>((bytes[6] & 0x0F) | 0x40);  // version 4
    bytes[8] = static_cast<std::uint8_t>((bytes[8] & 0x3F) | 0x80);  // RFC 4122 variant
    std::string text;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        if (i == 4 || i == 6 || i == 8 || i == 10) {
            text += '-';
        }
        text += fmt::format("{:02X}", bytes[i]);
    }
    return text;
}

}  // namespace tidyreel
