#include "core/support/Collator.hpp"

#include <unicode/stringpiece.h>
#include <unicode/ucol.h>
#include <unicode/uloc.h>
#include <unicode/unistr.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <stdexcept>

namespace corvel {

namespace {

/// The locale's name for collation data; empty for the root locale.
std::string collationLocale(std::string_view locale) {
    const std::string_view withoutCodeset = locale.substr(0, locale.find('.'));
    constexpr std::array kPlainLocales{"C", "POSIX", "en_US_POSIX"};
    const bool isPlain = std::ranges::find(kPlainLocales, withoutCodeset) != kPlainLocales.end();
    return isPlain ? std::string() : std::string(withoutCodeset);
}

}  // namespace

Collator Collator::forUser() {
    return Collator(uloc_getDefault());
}

Collator::Collator(std::string_view locale) {
    UErrorCode status = U_ZERO_ERROR;
    collator_.reset(ucol_open(collationLocale(locale).c_str(), &status));
    if (collator_ != nullptr) {
        ucol_setStrength(collator_.get(), UCOL_SECONDARY);
        ucol_setAttribute(collator_.get(), UCOL_NUMERIC_COLLATION, UCOL_OFF, &status);
        ucol_setAttribute(collator_.get(), UCOL_NORMALIZATION_MODE, UCOL_ON, &status);
    }
    if (U_FAILURE(status) != 0) {
        throw std::runtime_error(std::string("Could not open the collation data: ") + u_errorName(status));
    }
}

std::string Collator::sortKey(std::string_view text) const {
    const auto units =
        icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), static_cast<std::int32_t>(text.size())));
    std::array<std::uint8_t, 256> key{};
    const std::int32_t size = ucol_getSortKey(collator_.get(), units.getBuffer(), units.length(), key.data(),
                                              static_cast<std::int32_t>(key.size()));
    if (static_cast<std::size_t>(size) <= key.size()) {
        return {key.begin(), key.begin() + size};
    }
    std::string longKey(static_cast<std::size_t>(size), '\0');
    ucol_getSortKey(collator_.get(), units.getBuffer(), units.length(), reinterpret_cast<std::uint8_t*>(longKey.data()),
                    size);
    return longKey;
}

void Collator::Close::operator()(UCollator* collator) const {
    ucol_close(collator);
}

}  // namespace corvel
