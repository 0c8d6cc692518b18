#include "app/TextLine.hpp"

#include "core/support/Text.hpp"

#include <array>
#include <cstdio>
#include <ctime>

namespace corvel {

namespace {

constexpr char32_t kLineSeparator = 0x2028;
constexpr char32_t kParagraphSeparator = 0x2029;

struct CodePoint {
    char32_t value = 0;
    std::size_t length = 1;
};

/// The first code point of valid UTF-8.
CodePoint firstCodePoint(std::string_view text) {
    const auto byte = [text](std::size_t index) { return static_cast<unsigned char>(text[index]); };
    const char32_t lead = byte(0);
    if (lead < 0x80U) {
        return {lead, 1};
    }
    const std::size_t length = lead < 0xE0U ? 2 : lead < 0xF0U ? 3 : 4;
    char32_t value = lead & (0x7FU >> length);
    for (std::size_t index = 1; index < length; ++index) {
        value = (value << 6U) | (byte(index) & 0x3FU);
    }
    return {value, length};
}

bool isControl(char32_t value) {
    return value < 0x20 || (value >= 0x7F && value < 0xA0) || value == kLineSeparator || value == kParagraphSeparator;
}

/// Replaces a name without visible characters.
constexpr std::string_view kNoName = "(no name)";

void appendCode(std::string& line, char32_t value) {
    constexpr char32_t kLargestShortCode = 0xFFFF;
    std::array<char, 12> code{};
    const int length = std::snprintf(code.data(), code.size(), value > kLargestShortCode ? "\\U%08X" : "\\u%04X",
                                     static_cast<unsigned>(value));
    line.append(code.data(), static_cast<std::size_t>(length));
}

/// Replaces each code point by the result of `replacement` or, if that is empty, by a code if it is invisible;
/// otherwise keeps it.
std::string written(std::string_view text, std::string_view (*replacement)(char32_t)) {
    const std::string valid = text::repairedUTF8(text);
    std::string line;
    for (std::string_view rest = valid; !rest.empty();) {
        const CodePoint next = firstCodePoint(rest);
        if (const std::string_view known = replacement(next.value); !known.empty()) {
            line += known;
        } else if (isControl(next.value) || text::isInvisible(next.value)) {
            appendCode(line, next.value);
        } else {
            line += rest.substr(0, next.length);
        }
        rest.remove_prefix(next.length);
    }
    return line;
}

}  // namespace

std::string escapedLine(std::string_view text) {
    return written(text, [](char32_t value) -> std::string_view {
        switch (value) {
            case '\\':
                return "\\\\";
            case '\t':
                return "\\t";
            case '\n':
                return "\\n";
            default:
                return {};
        }
    });
}

std::string escapedName(std::string_view name) {
    return text::isBlank(name) ? std::string(kNoName) : escapedLine(name);
}

std::string shownText(std::string_view text) {
    return written(text, [](char32_t value) -> std::string_view {
        switch (value) {
            case '\t':
                return "\t";
            case '\n':
                return "\n";
            default:
                return {};
        }
    });
}

std::string shownName(std::string_view name) {
    return text::isBlank(name) ? std::string(kNoName) : shownText(name);
}

std::string timeOfDay(Instant instant) {
    const auto seconds = std::chrono::floor<std::chrono::seconds>(instant);
    const auto milliseconds = std::chrono::floor<std::chrono::milliseconds>(instant - seconds);
    const std::time_t time = seconds.time_since_epoch().count();
    std::tm local{};
    ::localtime_r(&time, &local);
    std::array<char, 48> text{};
    const int length = std::snprintf(text.data(), text.size(), "%02d:%02d:%02d.%03d", local.tm_hour, local.tm_min,
                                     local.tm_sec, static_cast<int>(milliseconds.count()));
    return {text.data(), static_cast<std::size_t>(length)};
}

}  // namespace corvel
