// Base64: three bytes make four letters, six bits each, and '=' fills the last group.
#include "tool/write/base64.h"

#include <cstdint>

namespace tool {

std::string base64(std::string_view bytes) {
    constexpr std::string_view letters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (std::size_t at = 0; at < bytes.size(); at += 3) {
        const std::size_t have = bytes.size() - at < 3 ? bytes.size() - at : 3;
        std::uint32_t group = 0;
        for (std::size_t k = 0; k < 3; ++k) {
            group = group << 8 | (k < have ? static_cast<unsigned char>(bytes[at + k]) : 0U);
        }
        for (std::size_t k = 0; k < 4; ++k) {
            text += k <= have ? letters[group >> (18 - 6 * k) & 63U] : '=';
        }
    }
    return text;
}

} // namespace tool
