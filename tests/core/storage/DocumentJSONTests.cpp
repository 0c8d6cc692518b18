#include "core/storage/RouteSetDocumentCoder.hpp"
#include "tests/support/DocumentTexts.hpp"

#include <gtest/gtest.h>

#include <clocale>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace corvel {
namespace {

using namespace std::string_literals;
using RouteSetDocumentCoder::decode;
using RouteSetDocumentCoder::DecodingError;
using tests::arrayText;
using tests::documentText;
using tests::inQuotes;
using tests::routeText;
using tests::setText;

const std::string kByteOrderMark = "\xEF\xBB\xBF";

/// The reason why a text is refused; empty if it is read.
std::string refusal(std::string_view text) {
    try {
        static_cast<void>(decode(text));
        return "";
    } catch (const DecodingError& error) {
        return error.what();
    }
}

bool isRead(std::string_view text) {
    return refusal(text).empty();
}

std::string documentHolding(const std::string& value) {
    return documentText().with("unknown", value).text();
}
std::string arrayHolding(const std::string& value) {
    return arrayText({routeText().with("unknown", value).text()});
}

/// Empty brackets nested to this depth.
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

TEST(DocumentJSON, IsReadWithOneByteOrderMark) {
    EXPECT_TRUE(isRead(kByteOrderMark + documentText().text()));
    EXPECT_TRUE(isRead(kByteOrderMark + "\n" + documentText().text()));
    EXPECT_TRUE(isRead(kByteOrderMark + "[]"));
}

TEST(DocumentJSON, IsRefusedWithAZeroByteAnywhere) {
    for (const std::string& text : {"\0"s, "\0x"s, "\n\0"s}) {
        EXPECT_FALSE(isRead(documentText().text() + text));
        EXPECT_FALSE(isRead(text + documentText().text()));
        EXPECT_FALSE(isRead("[]" + text));
    }
    EXPECT_FALSE(isRead(documentHolding("\"a\0b\""s)));
}

TEST(DocumentJSON, IsRefusedWithTheLineOfTheFirstMistake) {
    EXPECT_EQ(refusal("oops\n\n"), "line 1: not valid JSON");
    EXPECT_EQ(refusal("\noops"), "line 2: not valid JSON");
    EXPECT_EQ(refusal("[\n\n,]"), "line 3: not valid JSON");
    EXPECT_EQ(refusal("\n[]\0\n"s), "line 2: not valid JSON");
}

TEST(DocumentJSON, IsReadWithoutALastingChangeOfTheThreadsLocale) {
    const locale_t before = ::uselocale(nullptr);
    EXPECT_TRUE(isRead("[]"));
    EXPECT_EQ(::uselocale(nullptr), before);
    EXPECT_FALSE(isRead("[1.5, oops]"));
    EXPECT_EQ(::uselocale(nullptr), before);
}

TEST(DocumentJSON, IsReadUpToANestingOf512) {
    EXPECT_TRUE(isRead(documentHolding(nestedArrays(511))));
    EXPECT_TRUE(isRead(documentHolding(nestedObjects(511))));
    EXPECT_TRUE(isRead(documentText({setText().with("unknown", nestedArrays(509)).text()}).text()));
    EXPECT_TRUE(isRead(arrayHolding(nestedArrays(510))));
}

TEST(DocumentJSON, IsRefusedBeyondANestingOf512) {
    EXPECT_FALSE(isRead(documentHolding(nestedArrays(512))));
    EXPECT_FALSE(isRead(documentHolding(nestedObjects(512))));
    EXPECT_FALSE(isRead(documentHolding("[" + nestedObjects(511) + "]")));
    EXPECT_FALSE(isRead(documentText({setText().with("unknown", nestedArrays(510)).text()}).text()));
    EXPECT_FALSE(isRead(arrayHolding(nestedArrays(511))));
}

TEST(DocumentJSON, CountsOnlyOpenBracketsAsNesting) {
    std::string siblings = "[";
    for (int count = 0; count < 2000; ++count) {
        siblings += "[{}],";
    }
    EXPECT_TRUE(isRead(documentHolding(siblings + "1]")));
    EXPECT_TRUE(isRead(documentHolding(inQuotes(std::string(2000, '[')))));
}

TEST(DocumentJSON, IsRefusedWithoutACrashHoweverDeepItNests) {
    constexpr std::size_t kTenMillion = 10'000'000;
    const std::string open(kTenMillion, '[');
    EXPECT_FALSE(isRead(open));
    EXPECT_FALSE(isRead(open));
    const std::string balanced = nestedArrays(kTenMillion / 2);
    EXPECT_FALSE(isRead(balanced));
    EXPECT_FALSE(isRead(balanced));
    EXPECT_FALSE(isRead(nestedObjects(kTenMillion / 5)));
    EXPECT_FALSE(isRead(documentHolding(open)));
}

TEST(DocumentJSON, IsNeverReadWithAnEndpointBeyondTheRangeOfNumbers) {
    for (const std::string number : {"1e400", "-1e400", "1e99999"}) {
        EXPECT_FALSE(isRead(documentText({setText({routeText().with("sourceID", number).text()}).text()}).text()));
    }
}

TEST(DocumentJSON, IsReadWhenItIsLarge) {
    const std::vector<std::string> routes(10'000,
                                          routeText().with("sourceName", inQuotes(std::string(50, 'x'))).text());
    EXPECT_EQ(decode(documentText({setText(routes).text()}).text()).routeSets.at(0).routes.size(), 10'000U);
}

}  // namespace
}  // namespace corvel
