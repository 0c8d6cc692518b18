#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace corvel::tests {

/// Bytes as in MIDI dumps: "90 3C 64".
template <typename Bytes>
[[nodiscard]] std::string byteText(const Bytes& bytes) {
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    std::string text;
    for (const std::uint8_t byte : bytes) {
        if (!text.empty()) {
            text += ' ';
        }
        text += kDigits[byte >> 4U];
        text += kDigits[byte & 0x0FU];
    }
    return text;
}

/// Each sequence's text, in order.
template <typename Sequences>
[[nodiscard]] std::vector<std::string> byteTexts(const Sequences& sequences) {
    std::vector<std::string> texts;
    texts.reserve(sequences.size());
    for (const auto& bytes : sequences) {
        texts.push_back(byteText(bytes));
    }
    return texts;
}

}  // namespace corvel::tests
