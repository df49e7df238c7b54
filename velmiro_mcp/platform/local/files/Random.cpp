#include "velmiro_mcp/platform/local/files/Random.hpp"

#include <array>
#include <random>
#include <string_view>

namespace velmiro::local {

std::string randomUUID() {
    std::random_device source;
    std::array<unsigned char, 16> bytes{};
    for (unsigned char& byte : bytes) {
        byte = static_cast<unsigned char>(source());
    }
    bytes[6] = static_cast<unsigned char>((bytes[6] & 0x0F) | 0x40); // version 4: random
    bytes[8] = static_cast<unsigned char>((bytes[8] & 0x3F) | 0x80); // the variant of RFC 9562
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    for (std::size_t index = 0; index < bytes.size(); ++index) {
        if (index == 4 || index == 6 || index == 8 || index == 10) {
            text += '-';
        }
        text += digits[bytes.at(index) >> 4];
        text += digits[bytes.at(index) & 0x0F];
    }
    return text;
}

} // namespace velmiro::local
