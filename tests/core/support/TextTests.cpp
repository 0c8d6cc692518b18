#include "core/support/Text.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace corvel {
namespace {

using namespace std::string_view_literals;
using testing::AnyOf;

TEST(Text, IsLowercasedByTheFullMappings) {
    EXPECT_EQ(text::lowercased(""), "");
    EXPECT_EQ(text::lowercased("Stage 1 – ÄÖÜ"), "stage 1 – äöü");
    EXPECT_EQ(text::lowercased("ЖУК"), "жук");
    EXPECT_EQ(text::lowercased("\u0130"), "i\u0307");
    EXPECT_EQ(text::lowercased("ΟΔΟΣ"), "οδος") << "a sigma at the end of a word has a form of its own";
    EXPECT_EQ(text::lowercased("\U00010400"), "\U00010428");
    EXPECT_EQ(text::lowercased("\u1E9E"), "ß");
    EXPECT_EQ(text::lowercased("漢字 🎹 123"), "漢字 🎹 123");
}

TEST(Text, IsUppercasedByTheFullMappings) {
    EXPECT_EQ(text::uppercased(""), "");
    EXPECT_EQ(text::uppercased("stage 1 – äöü"), "STAGE 1 – ÄÖÜ");
    EXPECT_EQ(text::uppercased("straße"), "STRASSE");
    EXPECT_EQ(text::uppercased("\uFB01n"), "FIN");
    EXPECT_EQ(text::uppercased("\u0149"), "\u02BCN");
    EXPECT_EQ(text::uppercased("οδος"), "ΟΔΟΣ");
    EXPECT_EQ(text::uppercased("\U00010428"), "\U00010400");
}

TEST(Text, IsMappedByTheRootLocaleAndNoOther) {
    EXPECT_EQ(text::lowercased("I"), "i");
    EXPECT_EQ(text::uppercased("i"), "I");
    EXPECT_EQ(text::uppercased("ı"), "I");
}

TEST(Text, KeepsNULCharactersWhenMapped) {
    EXPECT_EQ(text::lowercased("A\0B"sv), "a\0b"sv);
    EXPECT_EQ(text::uppercased("a\0b"sv), "A\0B"sv);
}

TEST(Text, IsMappedAlsoWhenItIsLong) {
    EXPECT_EQ(text::lowercased(std::string(100'000, 'A')), std::string(100'000, 'a'));
    std::string sharp;
    for (int count = 0; count < 10'000; ++count) {
        sharp += "ß";
    }
    EXPECT_EQ(text::uppercased(sharp), std::string(20'000, 'S'));
}

TEST(Text, IsASingleCharacterAsTheUserPerceivesIt) {
    for (const std::string_view value :
         {"a"sv, " "sv, "\n"sv, "\0"sv, "ä"sv, "漢"sv, "e\u0301"sv, "e\u0301\u0323"sv, "\r\n"sv, "\U0001F3B9"sv,
          "\U0001F44D\U0001F3FD"sv, "\U0001F468\u200D\U0001F469\u200D\U0001F467"sv, "\U0001F1E9\U0001F1EA"sv,
          "\u1112\u1161\u11AB"sv, "\u2764\uFE0F"sv}) {
        EXPECT_TRUE(text::isSingleCharacter(value)) << value;
    }
}

TEST(Text, IsNoSingleCharacterWhenEmptyOrLonger) {
    for (const std::string_view value :
         {""sv, "ab"sv, "  "sv, "a\0"sv, "\n\r"sv, "ae\u0301"sv, "\U0001F3B9\U0001F3B9"sv,
          "\U0001F1E9\U0001F1EA\U0001F1EB\U0001F1F7"sv, "ss"sv, "漢字"sv}) {
        EXPECT_FALSE(text::isSingleCharacter(value)) << value;
    }
}

TEST(Text, ComesBackUnchangedFromRepairWhenItIsValid) {
    for (const std::string_view value : {""sv, "plain"sv, "a\0b"sv, "\x01\x1F\x7F"sv, "ä漢\U0001F3B9"sv, "\uFFFD"sv,
                                         "\uFFFF\U0010FFFF"sv, "\u0080\u07FF\u0800\uD7FF\uE000"sv}) {
        EXPECT_EQ(text::repairedUTF8(value), value);
    }
}

TEST(Text, HasEveryBadByteReplacedByRepair) {
    EXPECT_EQ(text::repairedUTF8("a\xFF"
                                 "b"),
              "a\uFFFDb");
    EXPECT_EQ(text::repairedUTF8("\x80"), "\uFFFD");
    EXPECT_EQ(text::repairedUTF8("\xFE\xFF"), "\uFFFD\uFFFD");
    EXPECT_EQ(text::repairedUTF8("Caf\xE9 Piano"), "Caf\uFFFD Piano") << "Latin-1, as old devices name themselves";
    EXPECT_EQ(text::repairedUTF8("\xC3("), "\uFFFD(");
    EXPECT_EQ(text::repairedUTF8("x\xC3"), "x\uFFFD");
    EXPECT_EQ(text::repairedUTF8("\xFF\0x"sv), "\uFFFD\0x"sv);
}

TEST(Text, KeepsTheGoodAroundLongerBadSequencesInRepair) {
    for (const std::string_view bad : {"\xED\xA0\x80"sv, "\xC0\x80"sv, "\xE2\x82"sv, "\xF0\x9F\x8E"sv,
                                       "\xF4\x90\x80\x80"sv, "\xF8\x88\x80\x80\x80"sv, "\xE0\x80\xAF"sv}) {
        const std::string repaired = text::repairedUTF8("a" + std::string(bad) + "ä");
        EXPECT_THAT(repaired, AnyOf("a\uFFFDä", "a\uFFFD\uFFFDä", "a\uFFFD\uFFFD\uFFFDä", "a\uFFFD\uFFFD\uFFFD\uFFFDä",
                                    "a\uFFFD\uFFFD\uFFFD\uFFFD\uFFFDä"));
        EXPECT_EQ(text::repairedUTF8(repaired), repaired);
    }
}

TEST(Text, TrimsEveryUnicodeWhiteSpaceAtBothEndsOnly) {
    EXPECT_EQ(text::trimmed("  Live  set \n"), "Live  set");
    EXPECT_EQ(text::trimmed("\t\v\f\r\n\u0085\u00A0\u1680\u2000\u200A\u2028\u2029\u202F\u205F\u3000x\u3000\u00A0"),
              "x");
    EXPECT_EQ(text::trimmed(" \u2003 "), "");
    EXPECT_EQ(text::trimmed(""), "");
    EXPECT_EQ(text::trimmed("\U0001F3B9 "), "\U0001F3B9");
    EXPECT_EQ(text::trimmed("\u200Bx\uFEFF"), "\u200Bx\uFEFF") << "neither is white space";
}

TEST(Text, KnowsTheCharactersThatCannotBeSeen) {
    for (const char32_t value :
         {U'\u00AD', U'\u034F', U'\u061C', U'\u115F', U'\u180E', U'\u200B', U'\u200D', U'\u200E', U'\u202A', U'\u202E',
          U'\u2060', U'\u2066', U'\u2069', U'\u3164', U'\uFE0F', U'\uFEFF', U'\uFFA0', U'\uFFF9', U'\U000E0041'}) {
        EXPECT_TRUE(text::isInvisible(value)) << std::hex << static_cast<unsigned>(value);
    }
    for (const char32_t value : {U'a', U' ', U'\u00E4', U'\u05D0', U'\u0301', U'\u9375', U'\U0001F3B9', U'\uFFFD'}) {
        EXPECT_FALSE(text::isInvisible(value)) << std::hex << static_cast<unsigned>(value);
    }
}

TEST(Text, IsBlankWhereNothingOfItCanBeSeen) {
    EXPECT_TRUE(text::isBlank(""));
    EXPECT_TRUE(text::isBlank(" \t\n\u00A0\u2800\u3000"));
    EXPECT_FALSE(text::isBlank(" x "));
    EXPECT_FALSE(text::isBlank("\xFF"));
}

TEST(Text, QuotesWithDoubleQuotes) {
    EXPECT_EQ(text::quoted("Live"), "\"Live\"");
    EXPECT_EQ(text::quoted(""), "\"\"");
}

}  // namespace
}  // namespace corvel
