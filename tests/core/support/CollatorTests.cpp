#include "core/support/Collator.hpp"

#include <gtest/gtest.h>

#include <string>

namespace corvel::tests {
namespace {

TEST(Collator, IgnoresCaseAndMindsAccents) {
    const Collator collator("en_US");
    EXPECT_LT(collator.sortKey("apple"), collator.sortKey("Zoo"));
    EXPECT_EQ(collator.sortKey("KEYS"), collator.sortKey("keys"));
    EXPECT_LT(collator.sortKey("e"), collator.sortKey("\u00E9"));
    EXPECT_LT(collator.sortKey("\u00E9"), collator.sortKey("f"));
    EXPECT_EQ(collator.sortKey("\u00E9"), collator.sortKey("e\u0301"));
}

TEST(Collator, ComparesDigitsOneByOne) {
    const Collator collator("");
    EXPECT_LT(collator.sortKey("Port 10"), collator.sortKey("Port 2"));
}

TEST(Collator, FollowsTheLanguage) {
    EXPECT_LT(Collator("sv_SE.UTF-8").sortKey("Z"), Collator("sv_SE.UTF-8").sortKey("\u00D6"));
    EXPECT_LT(Collator("de_DE").sortKey("\u00D6"), Collator("de_DE").sortKey("Z"));
}

TEST(Collator, TakesTheCommonOrderForLocalesWithoutALanguage) {
    for (const char* const locale : {"", "C", "C.UTF-8", "POSIX", "en_US_POSIX"}) {
        const Collator collator(locale);
        EXPECT_LT(collator.sortKey("apple"), collator.sortKey("Zoo")) << locale;
    }
}

TEST(Collator, MakesKeysOfTextsOfAnyLength) {
    const Collator collator("");
    const std::string common(5'000, 'x');
    EXPECT_LT(collator.sortKey(common + "a"), collator.sortKey(common + "B"));
    EXPECT_EQ(collator.sortKey(common + "b"), collator.sortKey(common + "B"));
    EXPECT_LT(collator.sortKey(""), collator.sortKey("a"));
}

}  // namespace
}  // namespace corvel::tests
