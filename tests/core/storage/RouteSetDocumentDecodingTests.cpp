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

using namespace std::string_literals;
using RouteSetDocumentCoder::decode;
using RouteSetDocumentCoder::decodeRouteArray;
using RouteSetDocumentCoder::DecodingError;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using tests::arrayText;
using tests::documentText;
using tests::inQuotes;
using tests::kOtherVariantIDText;
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

std::string inDocument(const ObjectText& document) {
    return document.text();
}
std::string inSet(const ObjectText& set) {
    return documentText({set.text()}).text();
}
std::string inRoute(const ObjectText& route) {
    return inSet(setText({route.text()}));
}
std::string inVariant(const ObjectText& variant) {
    return inRoute(routeText().with("variants", arrayText({variant.text()})));
}
std::string inShortcut(const ObjectText& shortcut) {
    return inVariant(variantText().with("shortcut", shortcut.text()));
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

TEST(RouteSetDocumentDecoding, GivesAConnectionWithoutAssignmentsOneOfItsOwn) {
    const ObjectText base = routeText()
                                .with("channelMode", R"({"force":{"_0":7}})")
                                .with("sourceName", inQuotes("Keys"))
                                .with("destinationManufacturer", inQuotes("Synth Maker"));
    for (const ObjectText& text : {base, base.with("variants", "null"), base.with("variants", "[]"),
                                   base.with("activeVariantID", inQuotes(kUnknownIDText))}) {
        const MIDIRoute route = readRoute(text);
        ASSERT_EQ(route.variants.size(), 1U);
        const MIDIRouteVariant& variant = route.variants.front();
        EXPECT_NE(variant.id, UUID{});
        EXPECT_NE(variant.id, idOf(kUnknownIDText));
        EXPECT_EQ(route.activeVariantID, variant.id);
        EXPECT_EQ(variant.name, "Ch 7");
        EXPECT_EQ(variant.channelMode, ChannelMode::force(7));
        EXPECT_EQ(variant.shortcut, std::nullopt);
        EXPECT_EQ(variant.sourceID, 1);
        EXPECT_EQ(variant.destinationID, 2);
        EXPECT_EQ(variant.sourceName, "Keys");
        EXPECT_EQ(variant.sourceManufacturer, std::nullopt);
        EXPECT_EQ(variant.destinationName, std::nullopt);
        EXPECT_EQ(variant.destinationManufacturer, "Synth Maker");
    }
    EXPECT_EQ(readRoute(routeText()).variants.at(0).name, "As Is");
}

/// A connection forced to channel 5 with two assignments without modes, "Lead" and "Pad".
ObjectText olderRouteText() {
    return routeText()
        .with("channelMode", R"({"force":{"_0":5}})")
        .with("variants", arrayText({variantText().text(), variantText()
                                                               .with("id", inQuotes(kOtherVariantIDText))
                                                               .with("name", inQuotes("Pad"))
                                                               .with("sourceID", "5")
                                                               .with("destinationID", "6")
                                                               .with("sourceName", inQuotes("Pads"))
                                                               .text()}));
}

TEST(RouteSetDocumentDecoding, FallsBackToTheFirstAssignmentAndAppliesIt) {
    for (const std::string& active : {"null"s, inQuotes(kUnknownIDText)}) {
        const MIDIRoute route =
            readRoute(olderRouteText().with("activeVariantID", active).with("sourceName", inQuotes("x")));
        EXPECT_EQ(route.activeVariantID, idOf(kVariantIDText));
        EXPECT_EQ(route.sourceID, 3);
        EXPECT_EQ(route.destinationID, 4);
        EXPECT_EQ(route.sourceName, std::nullopt);
    }
    EXPECT_EQ(readRoute(olderRouteText()).activeVariantID, idOf(kVariantIDText));
}

TEST(RouteSetDocumentDecoding, AppliesTheActiveAssignment) {
    const MIDIRoute route = readRoute(olderRouteText().with("activeVariantID", inQuotes(kOtherVariantIDText)));
    EXPECT_EQ(route.activeVariantID, idOf(kOtherVariantIDText));
    EXPECT_EQ(route.sourceID, 5);
    EXPECT_EQ(route.destinationID, 6);
    EXPECT_EQ(route.sourceName, "Pads");
    EXPECT_EQ(route.variants.size(), 2U);
}

TEST(RouteSetDocumentDecoding, GivesOnlyTheActiveAssignmentTheConnectionsMode) {
    const MIDIRoute first = readRoute(olderRouteText());
    EXPECT_EQ(first.variants.at(0).channelMode, ChannelMode::force(5));
    EXPECT_EQ(first.variants.at(1).channelMode, ChannelMode::asIs());
    EXPECT_EQ(first.channelMode, ChannelMode::force(5));
    const MIDIRoute second = readRoute(olderRouteText().with("activeVariantID", inQuotes(kOtherVariantIDText)));
    EXPECT_EQ(second.variants.at(0).channelMode, ChannelMode::asIs());
    EXPECT_EQ(second.variants.at(1).channelMode, ChannelMode::force(5));
    EXPECT_EQ(second.channelMode, ChannelMode::force(5));
}

TEST(RouteSetDocumentDecoding, LetsAnAssignmentsOwnModeStand) {
    const MIDIRoute route =
        readRoute(routeText()
                      .with("channelMode", R"({"force":{"_0":5}})")
                      .with("variants", arrayText({variantText().with("channelMode", R"({"asIs":{}})").text()})));
    EXPECT_EQ(route.variants.at(0).channelMode, ChannelMode::asIs());
    EXPECT_EQ(route.channelMode, ChannelMode::asIs());
}

TEST(RouteSetDocumentDecoding, NamesAssignmentsCalledDefaultAfterTheirMode) {
    const auto nameOf = [](const std::string& name, const std::string& mode) {
        return readVariant(variantText().with("name", inQuotes(name)).with("channelMode", mode)).name;
    };
    EXPECT_EQ(nameOf("Default", R"({"force":{"_0":10}})"), "Ch 10");
    EXPECT_EQ(nameOf("Default", R"({"force":{"_0":0}})"), "Ch 0");
    EXPECT_EQ(nameOf("Default", R"({"asIs":{}})"), "As Is");
    EXPECT_EQ(nameOf("default", R"({"force":{"_0":10}})"), "default");
    EXPECT_EQ(nameOf("DEFAULT", R"({"force":{"_0":10}})"), "DEFAULT");
    EXPECT_EQ(nameOf("Default ", R"({"force":{"_0":10}})"), "Default ");
    EXPECT_EQ(nameOf("Default 2", R"({"force":{"_0":10}})"), "Default 2");
    EXPECT_EQ(nameOf("Ch 3", R"({"force":{"_0":10}})"), "Ch 3");
    EXPECT_EQ(nameOf("", R"({"force":{"_0":10}})"), "");
}

TEST(RouteSetDocumentDecoding, NamesAssignmentsCalledDefaultAfterTheModeTheyAreGiven) {
    const MIDIRoute route =
        readRoute(routeText()
                      .with("channelMode", R"({"force":{"_0":5}})")
                      .with("activeVariantID", inQuotes(kOtherVariantIDText))
                      .with("variants", arrayText({variantText().with("name", inQuotes("Default")).text(),
                                                   variantText()
                                                       .with("id", inQuotes(kOtherVariantIDText))
                                                       .with("name", inQuotes("Default"))
                                                       .text()})));
    EXPECT_EQ(route.variants.at(0).name, "As Is");
    EXPECT_EQ(route.variants.at(1).name, "Ch 5");
}

TEST(RouteSetDocumentDecoding, KeepsASetCalledDefault) {
    EXPECT_EQ(decode(inSet(setText().with("name", inQuotes("Default")))).routeSets.at(0).name, "Default");
}

TEST(RouteSetDocumentDecoding, NormalisesTheDocument) {
    const MIDIRouteSetDocument empty = decode(documentText({}).text());
    ASSERT_EQ(empty.routeSets.size(), 1U);
    EXPECT_EQ(empty.routeSets.front().name, "Default");
    EXPECT_THAT(empty.routeSets.front().routes, IsEmpty());
    EXPECT_EQ(empty.selectedSetID, empty.routeSets.front().id);
    const MIDIRouteSetDocument dangling = decode(documentText().with("selectedSetID", inQuotes(kUnknownIDText)).text());
    EXPECT_EQ(dangling.selectedSetID, idOf(kSetIDText));
}

TEST(RouteSetDocumentDecoding, KeepsRepeatedIDs) {
    const std::string route =
        routeText().with("variants", arrayText({variantText().text(), variantText().text()})).text();
    const std::string set = setText({route, route}).text();
    const MIDIRouteSetDocument document = decode(documentText({set, set}).text());
    ASSERT_EQ(document.routeSets.size(), 2U);
    ASSERT_EQ(document.routeSets[0].routes.size(), 2U);
    EXPECT_EQ(document.routeSets[0].routes[0].variants.size(), 2U);
    EXPECT_EQ(document.routeSets[0], document.routeSets[1]);
}

TEST(RouteSetDocumentDecoding, ReadsTheOlderArrayOfConnections) {
    const std::string text =
        arrayText({olderRouteText().text(), routeText().with("id", inQuotes(kUnknownIDText)).text()});
    const MIDIRouteSetDocument document = decodeRouteArray(text);
    ASSERT_EQ(document.routeSets.size(), 1U);
    EXPECT_EQ(document.routeSets.front().name, "Default");
    EXPECT_EQ(document.selectedSetID, document.routeSets.front().id);
    ASSERT_EQ(document.routeSets.front().routes.size(), 2U);
    EXPECT_EQ(document.routeSets.front().routes[0].id, idOf(kRouteIDText));
    EXPECT_EQ(document.routeSets.front().routes[0].variants.at(0).channelMode, ChannelMode::force(5));
    EXPECT_EQ(document.routeSets.front().routes[1].id, idOf(kUnknownIDText));
    EXPECT_EQ(document.routeSets.front().routes[1].variants.at(0).name, "As Is");
    EXPECT_NE(decodeRouteArray(text).selectedSetID, document.selectedSetID);
}

TEST(RouteSetDocumentDecoding, ReadsAnEmptyOlderArray) {
    const MIDIRouteSetDocument document = decodeRouteArray("[]");
    ASSERT_EQ(document.routeSets.size(), 1U);
    EXPECT_EQ(document.routeSets.front().name, "Default");
    EXPECT_THAT(document.routeSets.front().routes, IsEmpty());
}

TEST(RouteSetDocumentDecoding, KeepsTheTwoFormsApart) {
    EXPECT_NE(refusal("[]"), std::nullopt);
    EXPECT_NE(refusal(arrayText({routeText().text()})), std::nullopt);
    EXPECT_THROW(static_cast<void>(decodeRouteArray(documentText().text())), DecodingError);
    EXPECT_THROW(static_cast<void>(decodeRouteArray("{}")), DecodingError);
    EXPECT_THROW(static_cast<void>(decodeRouteArray(arrayText({documentText().text()}))), DecodingError);
}

TEST(RouteSetDocumentDecoding, RefusesAnOlderArrayWithOneBadConnection) {
    for (const std::string bad : {"null", "5", "{}", "[]", R"("x")"}) {
        EXPECT_THROW(static_cast<void>(decodeRouteArray(arrayText({routeText().text(), bad}))), DecodingError) << bad;
    }
}

}  // namespace
}  // namespace corvel
