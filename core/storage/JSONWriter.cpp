#include "core/storage/JSONWriter.hpp"

#include "core/support/Text.hpp"

#include <algorithm>
#include <cassert>
#include <utility>

namespace corvel {

namespace {

constexpr std::size_t kIndentation = 2;

/// The letter that follows the backslash in the short escape of `character`, or 0 where there is no short escape.
char shortEscape(char character) {
    switch (character) {
        case '"':
        case '\\':
        case '/':
            return character;
        case '\b':
            return 'b';
        case '\f':
            return 'f';
        case '\n':
            return 'n';
        case '\r':
            return 'r';
        case '\t':
            return 't';
        default:
            return 0;
    }
}

bool isASCII(std::string_view text) {
    return std::all_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

}  // namespace

void JSONWriter::key(std::string_view name) {
    assert(!levels_.empty() && !isAfterKey_);
    assert(levels_.back().isEmpty || levels_.back().lastKey < name);
    levels_.back().lastKey = name;
    beginLine();
    appendEscaped(name);
    json_ += " : ";
    isAfterKey_ = true;
}

void JSONWriter::string(std::string_view text) {
    beginValue();
    if (isASCII(text)) {
        appendEscaped(text);
    } else {
        appendEscaped(text::repairedUTF8(text));
    }
}

void JSONWriter::integer(std::int64_t number) {
    beginValue();
    json_ += std::to_string(number);
}

void JSONWriter::boolean(bool truth) {
    beginValue();
    json_ += truth ? "true" : "false";
}

void JSONWriter::null() {
    beginValue();
    json_ += "null";
}

std::string JSONWriter::take() {
    assert(levels_.empty());
    return std::exchange(json_, {});
}

void JSONWriter::begin(char bracket) {
    beginValue();
    json_ += bracket;
    levels_.emplace_back();
}

void JSONWriter::end(char bracket) {
    const bool wasEmpty = levels_.back().isEmpty;
    levels_.pop_back();
    if (!wasEmpty) {
        json_ += '\n';
        json_.append(levels_.size() * kIndentation, ' ');
    }
    json_ += bracket;
}

void JSONWriter::beginValue() {
    // The value of a member goes on its key's line, the top-level value on the first one.
    if (!std::exchange(isAfterKey_, false) && !levels_.empty()) {
        beginLine();
    }
}

void JSONWriter::beginLine() {
    if (!std::exchange(levels_.back().isEmpty, false)) {
        json_ += ',';
    }
    json_ += '\n';
    json_.append(levels_.size() * kIndentation, ' ');
}

void JSONWriter::appendEscaped(std::string_view text) {
    constexpr std::string_view kHexDigits = "0123456789abcdef";
    json_ += '"';
    for (const char character : text) {
        const auto code = static_cast<unsigned char>(character);
        if (const char letter = shortEscape(character)) {
            json_ += '\\';
            json_ += letter;
        } else if (code < 0x20) {
            json_ += "\\u00";
            json_ += kHexDigits[code >> 4];
            json_ += kHexDigits[code & 0xF];
        } else {
            json_ += character;
        }
    }
    json_ += '"';
}

}  // namespace corvel
