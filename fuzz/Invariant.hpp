#pragma once

#include "core/messages/MIDIBytes.hpp"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <span>
#include <string>
#include <string_view>

/// How the fuzz targets report that an input broke a rule.
namespace corvel::fuzz {

/// "[90 3C 64]".
[[nodiscard]] inline std::string hex(std::span<const std::uint8_t> bytes) {
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    std::string text = "[";
    for (const std::uint8_t byte : bytes) {
        if (text.size() > 1) {
            text += ' ';
        }
        text += kDigits[byte >> 4U];
        text += kDigits[byte & 15U];
    }
    return text + "]";
}

/// Aborts the program, so that the fuzzer keeps the input. Prints the rule that it broke and the evidence.
[[noreturn]] inline void fail(std::string_view rule, const std::string& evidence) {
    std::fprintf(stderr, "broken rule: %.*s\n%s\n", static_cast<int>(rule.size()), rule.data(), evidence.c_str());
    std::abort();
}

/// `evidence` is called only if the rule is broken.
template <typename Evidence>
void require(bool holds, std::string_view rule, const Evidence& evidence) {
    if (!holds) {
        fail(rule, evidence());
    }
}

}  // namespace corvel::fuzz
