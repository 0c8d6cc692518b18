#include "core/support/Text.hpp"

#include <unicode/brkiter.h>
#include <unicode/locid.h>
#include <unicode/stringpiece.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>

#include <cstdint>
#include <memory>

namespace corvel::text {

namespace {

/// Invalid UTF-8 becomes U+FFFD, one for each maximal part of a sequence.
icu::UnicodeString decoded(std::string_view value) {
    return icu::UnicodeString::fromUTF8(icu::StringPiece(value.data(), static_cast<std::int32_t>(value.size())));
}

std::string encoded(const icu::UnicodeString& value) {
    std::string result;
    value.toUTF8String(result);
    return result;
}

}  // namespace

std::string lowercased(std::string_view value) {
    return encoded(decoded(value).toLower(icu::Locale::getRoot()));
}

std::string uppercased(std::string_view value) {
    return encoded(decoded(value).toUpper(icu::Locale::getRoot()));
}

bool isSingleCharacter(std::string_view value) {
    const icu::UnicodeString characters = decoded(value);
    UErrorCode status = U_ZERO_ERROR;
    const std::unique_ptr<icu::BreakIterator> boundaries(
        icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
    if (U_FAILURE(status) || characters.isEmpty()) {
        return false;
    }
    boundaries->setText(characters);
    return boundaries->following(0) == characters.length();
}

std::string repairedUTF8(std::string_view value) {
    return encoded(decoded(value));
}

bool isInvisible(char32_t codePoint) {
    constexpr char32_t kFirstAnnotation = 0xFFF9;
    constexpr char32_t kLastAnnotation = 0xFFFB;
    return u_hasBinaryProperty(static_cast<UChar32>(codePoint), UCHAR_DEFAULT_IGNORABLE_CODE_POINT) != 0 ||
           (codePoint >= kFirstAnnotation && codePoint <= kLastAnnotation);
}

bool isBlank(std::string_view value) {
    // Looks like a space, but is not one in Unicode.
    constexpr UChar32 kBlankBraillePattern = 0x2800;
    const icu::UnicodeString characters = decoded(value);
    std::int32_t index = 0;
    while (index < characters.length() &&
           (u_isUWhiteSpace(characters.char32At(index)) != 0 || characters.char32At(index) == kBlankBraillePattern)) {
        index = characters.moveIndex32(index, 1);
    }
    return index == characters.length();
}

std::string trimmed(std::string_view value) {
    const icu::UnicodeString characters = decoded(value);
    std::int32_t start = 0;
    while (start < characters.length() && u_isUWhiteSpace(characters.char32At(start)) != 0) {
        start = characters.moveIndex32(start, 1);
    }
    std::int32_t end = characters.length();
    while (end > start && u_isUWhiteSpace(characters.char32At(end - 1)) != 0) {
        end = characters.moveIndex32(end, -1);
    }
    return encoded(characters.tempSubStringBetween(start, end));
}

std::string quoted(std::string_view value) {
    return '"' + std::string(value) + '"';
}

}  // namespace corvel::text
