#include "core/storage/RouteSetDocumentCoder.hpp"
#include "tests/support/DocumentTexts.hpp"

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace corvel {
namespace {

using namespace std::string_literals;
using RouteSetDocumentCoder::decode;
using RouteSetDocumentCoder::decodeRouteArray;
using RouteSetDocumentCoder::DecodingError;
using tests::arrayText;
using tests::documentText;
using tests::inQuotes;
using tests::routeText;
using tests::setText;

const std::string kByteOrderMark = "\xEF\xBB\xBF";

bool isReadAsDocument(std::string_view json) {
    try {
        static_cast<void>(decode(json));
        return true;
    } catch (const DecodingError&) {
        return false;
    }
}

bool isReadAsRouteArray(std::string_view json) {
    try {
        static_cast<void>(decodeRouteArray(json));
        return true;
    } catch (const DecodingError&) {
        return false;
    }
}

std::string documentHolding(const std::string& value) {
    return documentText().with("unknown", value).text();
}
std::string arrayHolding(const std::string& value) {
    return arrayText({routeText().with("unknown", value).text()});
}

/// Brackets nested so deep, around nothing.
std::string nestedArrays(std::size_t depth) {
    return std::string(depth, '[') + std::string(depth, ']');
}

std::string nestedObjects(std::size_t depth) {
    std::string text;
    for (std::size_t level = 1; level < depth; ++level) {
        text += R"({"a":)";
    }
    return text + "{}" + std::string(depth - 1, '}');
}

/// The name of the only set of a document, given as JSON.
std::string nameReadFrom(const std::string& name) {
    return decode(documentText({setText().with("name", name).text()}).text()).routeSets.at(0).name;
}

TEST(DocumentJSON, IsReadWithEveryKindOfValue) {
    for (const std::string value : {"0",
                                    "-0",
                                    "-1",
                                    "1.5",
                                    "1E+2",
                                    "1e-2",
                                    "-1.0e-10",
                                    "12345678901234567890",
                                    "true",
                                    "false",
                                    "null",
                                    "[]",
                                    "{}",
                                    "[[],{}]",
                                    R"("")",
                                    R"("\u0000")",
                                    R"("\/\\\"\b\f\n\r\t")",
                                    R"("\ud83c\udfb9")",
                                    R"("\uD83C\uDFB9")",
                                    R"("\uFFFF")",
                                    "\"\x7F\"",
                                    R"("// no comment /* here */")",
                                    R"({"":1})",
                                    R"({"\u0000":1})"}) {
        EXPECT_TRUE(isReadAsDocument(documentHolding(value))) << value;
        EXPECT_TRUE(isReadAsRouteArray(arrayHolding(value))) << value;
    }
}

TEST(DocumentJSON, IsRefusedWithAnythingThatIsNoValue) {
    for (const std::string& value : {""s,
                                     "01"s,
                                     "-01"s,
                                     "+1"s,
                                     ".5"s,
                                     "1."s,
                                     "1.e5"s,
                                     "1e"s,
                                     "1e+"s,
                                     "-"s,
                                     "0x10"s,
                                     "1_000"s,
                                     "NaN"s,
                                     "nan"s,
                                     "Infinity"s,
                                     "-Infinity"s,
                                     "True"s,
                                     "nul"s,
                                     "nulll"s,
                                     "undefined"s,
                                     "'a'"s,
                                     "a"s,
                                     "[1,]"s,
                                     "[,1]"s,
                                     "[1 2]"s,
                                     "[,]"s,
                                     "{\"a\":1,}"s,
                                     "{,}"s,
                                     "{\"a\" 1}"s,
                                     "{a:1}"s,
                                     "{1:1}"s,
                                     "{\"a\"}"s,
                                     "{\"a\":}"s,
                                     "["s,
                                     "]"s,
                                     "[}"s,
                                     "{]"s,
                                     "[1]]"s,
                                     "1 1"s,
                                     "\"a"s,
                                     "a\""s,
                                     R"("\x")"s,
                                     R"("\u12")"s,
                                     R"("\u12G4")"s,
                                     R"("\U0041")"s,
                                     R"("\'")"s,
                                     R"("\")"s,
                                     "\"a\nb\""s,
                                     "\"a\tb\""s,
                                     "\"a\rb\""s,
                                     "\"a\0b\""s,
                                     "\"a\x01"
                                     "b\""s,
                                     "\"\x1F\""s,
                                     "// c\n1"s,
                                     "1 /* c */"s,
                                     "/* c */ 1"s,
                                     "1 # c"s,
                                     "\v1"s,
                                     "\f1"s,
                                     "\0001"s,
                                     "\u00A0"
                                     "1"s,
                                     "\u2028"
                                     "1"s,
                                     kByteOrderMark + "1"}) {
        EXPECT_FALSE(isReadAsDocument(documentHolding(value))) << value;
        EXPECT_FALSE(isReadAsRouteArray(arrayHolding(value))) << value;
    }
}

TEST(DocumentJSON, IsRefusedWhenItIsNoDocumentAtAll) {
    for (const std::string& text :
         {""s, " "s, "\n"s, "\0"s, "null"s, "5"s, "true"s, R"("text")"s, "{"s, "}"s, "["s, "\""s}) {
        EXPECT_FALSE(isReadAsDocument(text)) << text;
        EXPECT_FALSE(isReadAsRouteArray(text)) << text;
    }
    EXPECT_FALSE(isReadAsDocument("{}"));
}

TEST(DocumentJSON, IsRefusedWithTextBehindIt) {
    for (const std::string& text :
         {"x"s, ","s, "}"s, "]"s, "{}"s, "1"s, "\0"s, "\0x"s, " // c"s, "\n/* c */"s, "\x1A"s}) {
        EXPECT_FALSE(isReadAsDocument(documentText().text() + text)) << text;
        EXPECT_FALSE(isReadAsRouteArray("[]" + text)) << text;
    }
}

TEST(DocumentJSON, IsRefusedWithTextBeforeIt) {
    for (const std::string& text : {"x"s, ","s, "// c\n"s, "/* c */"s, "\0"s, "1 "s}) {
        EXPECT_FALSE(isReadAsDocument(text + documentText().text())) << text;
        EXPECT_FALSE(isReadAsRouteArray(text + "[]")) << text;
    }
}

TEST(DocumentJSON, IsRefusedWhereverItIsCutShort) {
    const std::string document = documentText({setText({routeText().text()}).text()}).text();
    for (std::size_t length = 0; length < document.size(); ++length) {
        ASSERT_FALSE(isReadAsDocument(std::string_view(document).substr(0, length))) << length;
    }
    EXPECT_TRUE(isReadAsDocument(document));
}

TEST(DocumentJSON, IsReadWithAnyWhiteSpace) {
    std::string text;
    for (const char character : documentText({setText().with("name", inQuotes("Stage")).text()}).text()) {
        text += character;
        if (std::string_view("{}[]:,").find(character) != std::string_view::npos) {
            text += " \t\r\n";
        }
    }
    EXPECT_TRUE(isReadAsDocument("\r\n\t " + text + " \n"));
    EXPECT_TRUE(isReadAsRouteArray(" [ \n] \t\r"));
}

TEST(DocumentJSON, IsReadWithOneByteOrderMark) {
    EXPECT_TRUE(isReadAsDocument(kByteOrderMark + documentText().text()));
    EXPECT_TRUE(isReadAsDocument(kByteOrderMark + "\n" + documentText().text()));
    EXPECT_TRUE(isReadAsRouteArray(kByteOrderMark + "[]"));
}

TEST(DocumentJSON, IsRefusedWithByteOrderMarksElsewhere) {
    EXPECT_FALSE(isReadAsDocument(kByteOrderMark));
    EXPECT_FALSE(isReadAsDocument(kByteOrderMark + kByteOrderMark + documentText().text()));
    EXPECT_FALSE(isReadAsDocument(" " + kByteOrderMark + documentText().text()));
    EXPECT_FALSE(isReadAsDocument(documentText().text() + kByteOrderMark));
    EXPECT_FALSE(isReadAsDocument("\xEF\xBB" + documentText().text()));
    EXPECT_FALSE(isReadAsRouteArray(kByteOrderMark + kByteOrderMark + "[]"));
}

TEST(DocumentJSON, IsRefusedInOtherEncodings) {
    std::string wide = "\xFF\xFE";
    for (const char character : documentText().text()) {
        wide += character;
        wide += '\0';
    }
    EXPECT_FALSE(isReadAsDocument(wide));
    EXPECT_FALSE(isReadAsDocument(wide.substr(2)));
}

TEST(DocumentJSON, IsRefusedWithSurrogatesThatAreNoPair) {
    for (const std::string text :
         {R"("\ud800")", R"("\udbff")", R"("\udc00")", R"("\udfff")", R"("\ud83c")", R"("\ud83c x")", R"("\ud83c\n")",
          R"("\ud83c\u0041")", R"("\ud83c\ud83c")", R"("\udfb9\ud83c")", R"("\ud83c\udfb9\udfb9")"}) {
        EXPECT_FALSE(isReadAsDocument(documentHolding(text))) << text;
        EXPECT_FALSE(isReadAsRouteArray(arrayHolding(text))) << text;
        EXPECT_FALSE(isReadAsDocument(documentHolding("{" + text + ":1}"))) << text;
        EXPECT_FALSE(isReadAsDocument(documentText({setText().with("name", text).text()}).text())) << text;
    }
}

TEST(DocumentJSON, IsRefusedWithTextsThatAreNotUTF8) {
    for (const std::string text :
         {"\x80", "\xBF", "\xC0\x80", "\xC1\xBF", "\xC3", "\xC3(", "\xE0\x80\x80", "\xE2\x82", "\xE2(\xA1",
          "\xED\xA0\x80", "\xED\xBF\xBF", "\xF0\x80\x80\x80", "\xF0\x9F\x8E", "\xF4\x90\x80\x80", "\xF5\x80\x80\x80",
          "\xF8\x88\x80\x80\x80", "\xFE", "\xFF", "Caf\xE9"}) {
        EXPECT_FALSE(isReadAsDocument(documentHolding(inQuotes(text)))) << text;
        EXPECT_FALSE(isReadAsRouteArray(arrayHolding(inQuotes(text)))) << text;
        EXPECT_FALSE(isReadAsDocument(documentHolding("{" + inQuotes(text) + ":1}"))) << text;
        EXPECT_FALSE(isReadAsDocument(documentText({setText().with("name", inQuotes(text)).text()}).text())) << text;
        EXPECT_FALSE(isReadAsDocument(documentText().text() + text)) << text;
    }
}

TEST(DocumentJSON, HasItsEscapesRead) {
    EXPECT_EQ(nameReadFrom(R"("\"\\\/\b\f\n\r\t")"), "\"\\/\b\f\n\r\t");
    EXPECT_EQ(nameReadFrom(R"("\u0041\u00e9\u00E9\u6f22\ud83c\udfb9")"), "Aéé漢\U0001F3B9");
    EXPECT_EQ(nameReadFrom(R"("a\u0000b")"), "a\0b"s);
    EXPECT_EQ(nameReadFrom(R"("\u001f\u007f")"), "\x1F\x7F");
    EXPECT_EQ(nameReadFrom("\"In/Out é漢\U0001F3B9\x7F\""), "In/Out é漢\U0001F3B9\x7F");
    EXPECT_EQ(nameReadFrom(R"("\ufeff")"), "\uFEFF");
}

TEST(DocumentJSON, HasItsKeysReadWithEscapes) {
    EXPECT_TRUE(
        isReadAsDocument(R"({"\u0072outeSets":[],"selected\u0053etID":"4C1E2B7A-0F43-4D7B-9E55-6A0B1C2D3E4F"})"));
    EXPECT_FALSE(isReadAsDocument(R"({"RouteSets":[],"selectedSetID":"4C1E2B7A-0F43-4D7B-9E55-6A0B1C2D3E4F"})"));
}

TEST(DocumentJSON, IsReadUpToANestingOf512) {
    EXPECT_TRUE(isReadAsDocument(documentHolding(nestedArrays(511))));
    EXPECT_TRUE(isReadAsDocument(documentHolding(nestedObjects(511))));
    EXPECT_TRUE(isReadAsDocument(documentText({setText().with("unknown", nestedArrays(509)).text()}).text()));
    EXPECT_TRUE(isReadAsRouteArray(arrayHolding(nestedArrays(510))));
}

TEST(DocumentJSON, IsRefusedBeyondANestingOf512) {
    EXPECT_FALSE(isReadAsDocument(documentHolding(nestedArrays(512))));
    EXPECT_FALSE(isReadAsDocument(documentHolding(nestedObjects(512))));
    EXPECT_FALSE(isReadAsDocument(documentHolding("[" + nestedObjects(511) + "]")));
    EXPECT_FALSE(isReadAsDocument(documentText({setText().with("unknown", nestedArrays(510)).text()}).text()));
    EXPECT_FALSE(isReadAsRouteArray(arrayHolding(nestedArrays(511))));
}

TEST(DocumentJSON, CountsOnlyOpenBracketsAsNesting) {
    std::string siblings = "[";
    for (int count = 0; count < 2000; ++count) {
        siblings += "[{}],";
    }
    EXPECT_TRUE(isReadAsDocument(documentHolding(siblings + "1]")));
    EXPECT_TRUE(isReadAsDocument(documentHolding(inQuotes(std::string(2000, '[')))));
}

TEST(DocumentJSON, IsRefusedWithoutACrashHoweverDeepItNests) {
    constexpr std::size_t kTenMillion = 10'000'000;
    const std::string open(kTenMillion, '[');
    EXPECT_FALSE(isReadAsDocument(open));
    EXPECT_FALSE(isReadAsRouteArray(open));
    const std::string balanced = nestedArrays(kTenMillion / 2);
    EXPECT_FALSE(isReadAsDocument(balanced));
    EXPECT_FALSE(isReadAsRouteArray(balanced));
    EXPECT_FALSE(isReadAsDocument(nestedObjects(kTenMillion / 5)));
    EXPECT_FALSE(isReadAsDocument(documentHolding(open)));
}

TEST(DocumentJSON, IsNeverReadWithAnEndpointBeyondTheRangeOfNumbers) {
    for (const std::string number : {"1e400", "-1e400", "1e99999"}) {
        EXPECT_FALSE(
            isReadAsDocument(documentText({setText({routeText().with("sourceID", number).text()}).text()}).text()));
    }
}

TEST(DocumentJSON, IsReadWhenItIsLarge) {
    const std::vector<std::string> routes(10'000,
                                          routeText().with("sourceName", inQuotes(std::string(50, 'x'))).text());
    EXPECT_EQ(decode(documentText({setText(routes).text()}).text()).routeSets.at(0).routes.size(), 10'000U);
}

}  // namespace
}  // namespace corvel
