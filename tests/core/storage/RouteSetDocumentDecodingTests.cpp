#include "core/storage/RouteSetDocumentCoder.hpp"
#include "tests/support/DocumentTexts.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace corvel {
namespace {

using RouteSetDocumentCoder::decode;
using RouteSetDocumentCoder::DecodingError;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using tests::arrayText;
using tests::documentText;
using tests::inDocument;
using tests::inQuotes;
using tests::inRoute;
using tests::inSet;
using tests::inShortcut;
using tests::inVariant;
using tests::kRouteIDText;
using tests::kSetIDText;
using tests::kUnknownIDText;
using tests::kVariantIDText;
using tests::ObjectText;
using tests::routeText;
using tests::setText;
using tests::variantText;

UUID idOf(std::string_view text) {
    return UUID::parse(text).value();
}

MIDIRoute readRoute(const ObjectText& route) {
    return decode(inRoute(route)).routeSets.at(0).routes.at(0);
}
MIDIRouteVariant readVariant(const ObjectText& variant) {
    return decode(inVariant(variant)).routeSets.at(0).routes.at(0).variants.at(0);
}

/// Why a text is refused; no value if it is read.
std::optional<std::string> refusal(std::string_view json) {
    try {
        static_cast<void>(decode(json));
        return std::nullopt;
    } catch (const DecodingError& error) {
        return error.what();
    }
}

using Embedding = std::string (*)(const ObjectText&);

void expectRequired(const ObjectText& object, Embedding embed, const std::vector<std::string>& keys) {
    ASSERT_EQ(refusal(embed(object)), std::nullopt);
    for (const std::string& key : keys) {
        EXPECT_NE(refusal(embed(object.without(key))), std::nullopt) << key << " missing";
        EXPECT_NE(refusal(embed(object.with(key, "null"))), std::nullopt) << key << " null";
    }
}

void expectOptional(const ObjectText& object, Embedding embed, const std::map<std::string, std::string>& members) {
    for (const auto& [key, value] : members) {
        EXPECT_EQ(refusal(embed(object.without(key))), std::nullopt) << key << " missing";
        EXPECT_EQ(refusal(embed(object.with(key, "null"))), std::nullopt) << key << " null";
        EXPECT_EQ(refusal(embed(object.with(key, value))), std::nullopt) << key << " " << value;
    }
}

void expectRefused(const ObjectText& object, Embedding embed, const std::vector<std::string>& keys,
                   const std::vector<std::string>& values) {
    for (const std::string& key : keys) {
        for (const std::string& value : values) {
            EXPECT_NE(refusal(embed(object.with(key, value))), std::nullopt) << key << " " << value;
        }
    }
}

const std::vector<std::string> kNotATextualID{"5",
                                              "true",
                                              "[]",
                                              "{}",
                                              R"("")",
                                              R"("4C1E2B7A")",
                                              R"("4C1E2B7A0F434D7B9E556A0B1C2D3E4F")",
                                              R"("{4C1E2B7A-0F43-4D7B-9E55-6A0B1C2D3E4F}")",
                                              R"("4C1E2B7A-0F43-4D7B-9E55-6A0B1C2D3E4G")",
                                              R"(" 4C1E2B7A-0F43-4D7B-9E55-6A0B1C2D3E4F")",
                                              R"("4C1E2B7A-0F43-4D7B-9E55-6A0B1C2D3E4F\u0000")"};
const std::vector<std::string> kNotAText{"5", "1.5", "true", "[]", "{}", R"(["x"])"};
const std::vector<std::string> kNotANumber{R"("5")",
                                           "true",
                                           "false",
                                           "[]",
                                           "[1]",
                                           "{}",
                                           "1.5",
                                           "-0.5",
                                           "1e-1",
                                           "2147483648",
                                           "-2147483649",
                                           "4294967297",
                                           "1e10",
                                           "1e300",
                                           "-1e300",
                                           "99999999999999999999",
                                           "2147483647.5",
                                           "9223372036854775808",
                                           "18446744073709551617"};
const std::vector<std::string> kNotASwitch{"0", "1", R"("true")", R"("")", "[]", "{}", "[true]"};
const std::vector<std::string> kNotAMode{"5",
                                         "true",
                                         R"("asIs")",
                                         "[]",
                                         R"([{"asIs":{}}])",
                                         "{}",
                                         R"({"x":1})",
                                         R"({"AsIs":{}})",
                                         R"({"asIs":{},"force":{"_0":1}})",
                                         R"({"asIs":[]})",
                                         R"({"asIs":null})",
                                         R"({"asIs":true})",
                                         R"({"asIs":""})",
                                         R"({"force":{}})",
                                         R"({"force":null})",
                                         R"({"force":10})",
                                         R"({"force":[10]})",
                                         R"({"force":{"0":10}})",
                                         R"({"force":{"channel":10}})",
                                         R"({"force":{"_0":null}})",
                                         R"({"force":{"_0":"10"}})",
                                         R"({"force":{"_0":true}})",
                                         R"({"force":{"_0":1.5}})",
                                         R"({"force":{"_0":4294967297}})",
                                         R"({"force":{"_0":1e300}})",
                                         R"({"force":{"_0":[10]}})"};

TEST(RouteSetDocumentDecoding, NeedsBothKeysOfADocument) {
    expectRequired(documentText(), inDocument, {"routeSets", "selectedSetID"});
    expectRefused(documentText(), inDocument, {"selectedSetID"}, kNotATextualID);
    expectRefused(documentText(), inDocument, {"routeSets"},
                  {"5", "true", R"("")", "{}", "[null]", "[5]", "[[]]", R"(["Stage"])", "[{}]"});
}

TEST(RouteSetDocumentDecoding, NeedsEveryKeyOfASet) {
    expectRequired(setText(), inSet, {"id", "name", "routes"});
    expectRefused(setText(), inSet, {"id"}, kNotATextualID);
    expectRefused(setText(), inSet, {"name"}, kNotAText);
    expectRefused(setText(), inSet, {"routes"}, {"5", "true", R"("")", "{}", "[null]", "[5]", "[[]]", "[{}]"});
}

TEST(RouteSetDocumentDecoding, NeedsTheRequiredKeysOfAConnection) {
    expectRequired(routeText(), inRoute, {"id", "sourceID", "destinationID", "channelMode", "isEnabled"});
    expectRefused(routeText(), inRoute, {"id", "activeVariantID"}, kNotATextualID);
    expectRefused(routeText(), inRoute, {"sourceID", "destinationID"}, kNotANumber);
    expectRefused(routeText(), inRoute, {"isEnabled"}, kNotASwitch);
    expectRefused(routeText(), inRoute, {"channelMode"}, kNotAMode);
    expectRefused(routeText(), inRoute,
                  {"sourceName", "sourceManufacturer", "destinationName", "destinationManufacturer"}, kNotAText);
    expectRefused(routeText(), inRoute, {"variants"}, {"5", "true", R"("")", "{}", "[null]", "[5]", "[[]]", "[{}]"});
}

TEST(RouteSetDocumentDecoding, DoesWithoutTheOptionalKeysOfAConnection) {
    expectOptional(routeText(), inRoute,
                   {{"activeVariantID", inQuotes(kUnknownIDText)},
                    {"destinationManufacturer", inQuotes("x")},
                    {"destinationName", inQuotes("x")},
                    {"sourceManufacturer", inQuotes("x")},
                    {"sourceName", inQuotes("x")},
                    {"variants", "[]"}});
}

TEST(RouteSetDocumentDecoding, NeedsTheRequiredKeysOfAnAssignment) {
    expectRequired(variantText(), inVariant, {"id", "name", "sourceID", "destinationID"});
    expectRefused(variantText(), inVariant, {"id"}, kNotATextualID);
    expectRefused(variantText(), inVariant, {"sourceID", "destinationID"}, kNotANumber);
    expectRefused(variantText(), inVariant, {"channelMode"}, kNotAMode);
    expectRefused(variantText(), inVariant,
                  {"name", "sourceName", "sourceManufacturer", "destinationName", "destinationManufacturer"},
                  kNotAText);
    expectRefused(variantText(), inVariant, {"shortcut"}, {"5", "true", R"("p")", "[]", "{}"});
}

TEST(RouteSetDocumentDecoding, DoesWithoutTheOptionalKeysOfAnAssignment) {
    expectOptional(variantText(), inVariant,
                   {{"channelMode", R"({"asIs":{}})"},
                    {"destinationManufacturer", inQuotes("x")},
                    {"destinationName", inQuotes("x")},
                    {"shortcut", R"({"key":"p","modifiers":[]})"},
                    {"sourceManufacturer", inQuotes("x")},
                    {"sourceName", inQuotes("x")}});
}

TEST(RouteSetDocumentDecoding, NeedsBothKeysOfAShortcut) {
    const ObjectText shortcut{{"key", inQuotes("p")}, {"modifiers", R"(["command"])"}};
    expectRequired(shortcut, inShortcut, {"key", "modifiers"});
    expectRefused(shortcut, inShortcut, {"key"}, kNotAText);
    expectRefused(shortcut, inShortcut, {"modifiers"},
                  {"5", "true", R"("command")", "{}", "[5]", "[null]", R"(["Command"])", R"(["cmd"])", R"([""])",
                   R"(["command","meta"])", R"([["command"]])"});
}

TEST(RouteSetDocumentDecoding, ReadsEveryFieldOfAConnection) {
    const MIDIRoute route = readRoute(routeText()
                                          .with("isEnabled", "false")
                                          .with("channelMode", R"({"force":{"_0":10}})")
                                          .with("sourceName", inQuotes("Keys"))
                                          .with("sourceManufacturer", inQuotes("Keys Maker"))
                                          .with("destinationName", inQuotes("Synth"))
                                          .with("destinationManufacturer", inQuotes("")));
    EXPECT_EQ(route.id, idOf(kRouteIDText));
    EXPECT_EQ(route.sourceID, 1);
    EXPECT_EQ(route.destinationID, 2);
    EXPECT_EQ(route.sourceName, "Keys");
    EXPECT_EQ(route.sourceManufacturer, "Keys Maker");
    EXPECT_EQ(route.destinationName, "Synth");
    EXPECT_EQ(route.destinationManufacturer, "");
    EXPECT_EQ(route.channelMode, ChannelMode::force(10));
    EXPECT_FALSE(route.isEnabled);
}

TEST(RouteSetDocumentDecoding, ReadsEveryFieldOfAnAssignment) {
    const MIDIRouteVariant variant = readVariant(variantText()
                                                     .with("channelMode", R"({"force":{"_0":3}})")
                                                     .with("shortcut", R"({"key":"p","modifiers":["shift","command"]})")
                                                     .with("sourceName", inQuotes("Keys"))
                                                     .with("sourceManufacturer", inQuotes("Keys Maker"))
                                                     .with("destinationName", inQuotes("Synth"))
                                                     .with("destinationManufacturer", inQuotes("Synth Maker")));
    EXPECT_EQ(variant.id, idOf(kVariantIDText));
    EXPECT_EQ(variant.name, "Lead");
    EXPECT_EQ(variant.channelMode, ChannelMode::force(3));
    EXPECT_EQ(variant.shortcut,
              KeyboardShortcutSpec("p", {KeyboardShortcutModifier::shift, KeyboardShortcutModifier::command}));
    EXPECT_EQ(variant.sourceID, 3);
    EXPECT_EQ(variant.destinationID, 4);
    EXPECT_EQ(variant.sourceName, "Keys");
    EXPECT_EQ(variant.sourceManufacturer, "Keys Maker");
    EXPECT_EQ(variant.destinationName, "Synth");
    EXPECT_EQ(variant.destinationManufacturer, "Synth Maker");
}

TEST(RouteSetDocumentDecoding, ReadsNullAsNoValue) {
    MIDIRouteVariant variant = readVariant(variantText()
                                               .with("channelMode", "null")
                                               .with("shortcut", "null")
                                               .with("sourceName", "null")
                                               .with("destinationManufacturer", "null"));
    EXPECT_EQ(variant.shortcut, std::nullopt);
    EXPECT_EQ(variant.sourceName, std::nullopt);
    EXPECT_EQ(variant.destinationManufacturer, std::nullopt);
    EXPECT_EQ(variant.channelMode, ChannelMode::asIs());
}

TEST(RouteSetDocumentDecoding, IgnoresUnknownKeysEverywhere) {
    const std::string shortcut = R"({"key":"p","modifiers":[],"extra":[1]})";
    const std::string variant = variantText().with("shortcut", shortcut).with("extra", "{}").text();
    const std::string route = routeText()
                                  .with("channelMode", R"({"force":{"_0":4,"extra":{}},"extra":null})")
                                  .with("variants", arrayText({variant}))
                                  .with("extra", "1.5")
                                  .text();
    const MIDIRouteSetDocument document =
        decode(documentText({setText({route}).with("extra", inQuotes("x")).text()}).with("extra", "[[],{}]").text());
    EXPECT_EQ(document.routeSets.at(0).routes.at(0).channelMode, ChannelMode::force(4));
    EXPECT_EQ(document.routeSets.at(0).routes.at(0).variants.at(0).shortcut->key, "p");
}

TEST(RouteSetDocumentDecoding, ReadsKeysInAnyOrder) {
    const ObjectText route{{"variants", "[]"},
                           {"isEnabled", "true"},
                           {"sourceName", inQuotes("Keys")},
                           {"destinationID", "2"},
                           {"channelMode", R"({"asIs":{}})"},
                           {"sourceID", "1"},
                           {"id", inQuotes(kRouteIDText)}};
    const ObjectText set{
        {"routes", arrayText({route.text()})}, {"name", inQuotes("Stage")}, {"id", inQuotes(kSetIDText)}};
    const ObjectText document{{"selectedSetID", inQuotes(kSetIDText)}, {"routeSets", arrayText({set.text()})}};
    EXPECT_EQ(decode(document.text()).routeSets.at(0).routes.at(0).sourceName, "Keys");
}

TEST(RouteSetDocumentDecoding, LetsTheLastOfDuplicateKeysCount) {
    const MIDIRoute route = readRoute(routeText()
                                          .with("sourceID", R"("malformed")")
                                          .withDuplicate("sourceID", "77")
                                          .with("sourceName", inQuotes("First"))
                                          .withDuplicate("sourceName", "null")
                                          .with("channelMode", R"({"asIs":{},"asIs":{}})"));
    EXPECT_EQ(route.sourceID, 77);
    EXPECT_EQ(route.sourceName, std::nullopt);
    EXPECT_EQ(route.channelMode, ChannelMode::asIs());
    EXPECT_EQ(readRoute(routeText().with("channelMode", R"({"force":{"_0":1,"_0":2}})")).channelMode,
              ChannelMode::force(2));
    EXPECT_EQ(decode(inSet(setText().withDuplicate("name", inQuotes("Last")))).routeSets.at(0).name, "Last");
    EXPECT_NE(refusal(inRoute(routeText().withDuplicate("isEnabled", "null"))), std::nullopt);
    EXPECT_NE(refusal(documentText().withDuplicate("selectedSetID", inQuotes("x")).text()), std::nullopt);
}

TEST(RouteSetDocumentDecoding, ReadsIntegralNumbersInWhateverForm) {
    const std::map<std::string, std::int32_t> numbers{{"0", 0},
                                                      {"-0", 0},
                                                      {"-0.0", 0},
                                                      {"1.0", 1},
                                                      {"1e3", 1000},
                                                      {"1E+3", 1000},
                                                      {"1.5e1", 15},
                                                      {"10e-1", 1},
                                                      {"-7.000", -7},
                                                      {"2147483647", 2147483647},
                                                      {"2.147483647e9", 2147483647},
                                                      {"-2147483648", -2147483647 - 1},
                                                      {"-2147483648.0", -2147483647 - 1}};
    for (const auto& [text, number] : numbers) {
        EXPECT_EQ(readRoute(routeText().with("sourceID", text)).sourceID, number) << text;
        EXPECT_EQ(readVariant(variantText().with("destinationID", text)).destinationID, number) << text;
    }
}

TEST(RouteSetDocumentDecoding, ReadsIDsInEitherCase) {
    EXPECT_EQ(readRoute(routeText().with("id", inQuotes("9f0e8d7c-6b5a-4938-8271-605f4e3d2c1b"))).id,
              idOf(kRouteIDText));
}

TEST(RouteSetDocumentDecoding, ReadsChannelModes) {
    const auto mode = [](const std::string& text) {
        return readRoute(routeText().with("channelMode", text)).channelMode;
    };
    EXPECT_EQ(mode(R"({"asIs":{}})"), ChannelMode::asIs());
    EXPECT_EQ(mode(R"({"asIs":{"x":1}})"), ChannelMode::asIs());
    EXPECT_EQ(mode(R"({"asIs":{},"x":1})"), ChannelMode::asIs());
    EXPECT_EQ(mode(R"({"force":{"_0":1}})"), ChannelMode::force(1));
    EXPECT_EQ(mode(R"({"force":{"_0":16.0}})"), ChannelMode::force(16));
    EXPECT_EQ(mode(R"({"force":{"_0":0}})"), ChannelMode::force(0));
    EXPECT_EQ(mode(R"({"force":{"_0":17}})"), ChannelMode::force(17));
    EXPECT_EQ(mode(R"({"force":{"_0":-3}})"), ChannelMode::force(-3));
}

TEST(RouteSetDocumentDecoding, TellsThatAChannelModeNeedsExactlyOneKey) {
    for (const std::string mode : {R"({})", R"({"x":1})", R"({"asIs":{},"force":{"_0":1}})"}) {
        const auto text = refusal(inRoute(routeText().with("channelMode", mode)));
        ASSERT_TRUE(text.has_value()) << mode;
        EXPECT_THAT(*text, EndsWith("Invalid number of keys found, expected one.")) << mode;
        const auto inVariantText = refusal(inVariant(variantText().with("channelMode", mode)));
        ASSERT_TRUE(inVariantText.has_value()) << mode;
        EXPECT_THAT(*inVariantText, EndsWith("Invalid number of keys found, expected one.")) << mode;
    }
}

TEST(RouteSetDocumentDecoding, TellsWhereTheTextIsWrong) {
    const std::string good = routeText().text();
    const std::string bad = routeText().with("channelMode", "{}").text();
    EXPECT_EQ(refusal(inSet(setText({good, good, bad}))),
              "routeSets[0].routes[2].channelMode: Invalid number of keys found, expected one.");
    EXPECT_THAT(refusal(inSet(setText({good, routeText().without("sourceID").text()}))).value_or(""),
                HasSubstr("routeSets[0].routes[1]"));
}

TEST(RouteSetDocumentDecoding, RefusesTheWholeDocumentForOneBadConnection) {
    const std::string good = routeText().text();
    EXPECT_NE(refusal(documentText({setText({good}).text(), setText({good, "{}"}).text()}).text()), std::nullopt);
}

TEST(RouteSetDocumentDecoding, KeepsAStoredShortcutAsItIs) {
    const auto shortcut =
        readVariant(variantText().with("shortcut", R"({"key":"K","modifiers":["command","control","command"]})"))
            .shortcut;
    ASSERT_TRUE(shortcut.has_value());
    EXPECT_EQ(shortcut->key, "K");
    EXPECT_THAT(shortcut->modifiers, ElementsAre(KeyboardShortcutModifier::command, KeyboardShortcutModifier::control,
                                                 KeyboardShortcutModifier::command));
    EXPECT_EQ(shortcut->title(), "⌘⌃⌘K");
    EXPECT_NE(*shortcut, KeyboardShortcutSpec("k", shortcut->modifiers));
}

}  // namespace
}  // namespace corvel
