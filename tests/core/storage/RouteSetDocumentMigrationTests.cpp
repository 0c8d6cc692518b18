#include "core/storage/RouteSetDocumentCoder.hpp"
#include "tests/support/DocumentTexts.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <string_view>

namespace corvel {
namespace {

using namespace std::string_literals;
using RouteSetDocumentCoder::decode;
using RouteSetDocumentCoder::DecodingError;
using testing::IsEmpty;
using tests::arrayText;
using tests::documentText;
using tests::inQuotes;
using tests::inRoute;
using tests::inSet;
using tests::inVariant;
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

MIDIRoute readRoute(const ObjectText& route) {
    return decode(inRoute(route)).routeSets.at(0).routes.at(0);
}
MIDIRouteVariant readVariant(const ObjectText& variant) {
    return decode(inVariant(variant)).routeSets.at(0).routes.at(0).variants.at(0);
}

TEST(RouteSetDocumentMigration, GivesAConnectionWithoutAssignmentsOneOfItsOwn) {
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

TEST(RouteSetDocumentMigration, FallsBackToTheFirstAssignmentAndAppliesIt) {
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

TEST(RouteSetDocumentMigration, AppliesTheActiveAssignment) {
    const MIDIRoute route = readRoute(olderRouteText().with("activeVariantID", inQuotes(kOtherVariantIDText)));
    EXPECT_EQ(route.activeVariantID, idOf(kOtherVariantIDText));
    EXPECT_EQ(route.sourceID, 5);
    EXPECT_EQ(route.destinationID, 6);
    EXPECT_EQ(route.sourceName, "Pads");
    EXPECT_EQ(route.variants.size(), 2U);
}

TEST(RouteSetDocumentMigration, GivesOnlyTheActiveAssignmentTheConnectionsMode) {
    const MIDIRoute first = readRoute(olderRouteText());
    EXPECT_EQ(first.variants.at(0).channelMode, ChannelMode::force(5));
    EXPECT_EQ(first.variants.at(1).channelMode, ChannelMode::asIs());
    EXPECT_EQ(first.channelMode, ChannelMode::force(5));
    const MIDIRoute second = readRoute(olderRouteText().with("activeVariantID", inQuotes(kOtherVariantIDText)));
    EXPECT_EQ(second.variants.at(0).channelMode, ChannelMode::asIs());
    EXPECT_EQ(second.variants.at(1).channelMode, ChannelMode::force(5));
    EXPECT_EQ(second.channelMode, ChannelMode::force(5));
}

TEST(RouteSetDocumentMigration, LetsAnAssignmentsOwnModeStand) {
    const MIDIRoute route =
        readRoute(routeText()
                      .with("channelMode", R"({"force":{"_0":5}})")
                      .with("variants", arrayText({variantText().with("channelMode", R"({"asIs":{}})").text()})));
    EXPECT_EQ(route.variants.at(0).channelMode, ChannelMode::asIs());
    EXPECT_EQ(route.channelMode, ChannelMode::asIs());
}

TEST(RouteSetDocumentMigration, NamesAssignmentsCalledDefaultAfterTheirMode) {
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

TEST(RouteSetDocumentMigration, NamesAssignmentsCalledDefaultAfterTheModeTheyAreGiven) {
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

TEST(RouteSetDocumentMigration, KeepsASetCalledDefault) {
    EXPECT_EQ(decode(inSet(setText().with("name", inQuotes("Default")))).routeSets.at(0).name, "Default");
}

TEST(RouteSetDocumentMigration, NormalisesTheDocument) {
    const MIDIRouteSetDocument empty = decode(documentText({}).text());
    ASSERT_EQ(empty.routeSets.size(), 1U);
    EXPECT_EQ(empty.routeSets.front().name, "Default");
    EXPECT_THAT(empty.routeSets.front().routes, IsEmpty());
    EXPECT_EQ(empty.selectedSetID, empty.routeSets.front().id);
    const MIDIRouteSetDocument dangling = decode(documentText().with("selectedSetID", inQuotes(kUnknownIDText)).text());
    EXPECT_EQ(dangling.selectedSetID, idOf(kSetIDText));
}

TEST(RouteSetDocumentMigration, KeepsRepeatedIDs) {
    const std::string route =
        routeText().with("variants", arrayText({variantText().text(), variantText().text()})).text();
    const std::string set = setText({route, route}).text();
    const MIDIRouteSetDocument document = decode(documentText({set, set}).text());
    ASSERT_EQ(document.routeSets.size(), 2U);
    ASSERT_EQ(document.routeSets[0].routes.size(), 2U);
    EXPECT_EQ(document.routeSets[0].routes[0].variants.size(), 2U);
    EXPECT_EQ(document.routeSets[0], document.routeSets[1]);
}

TEST(RouteSetDocumentMigration, ReadsTheOlderArrayOfConnections) {
    const std::string text =
        arrayText({olderRouteText().text(), routeText().with("id", inQuotes(kUnknownIDText)).text()});
    const MIDIRouteSetDocument document = decode(text);
    ASSERT_EQ(document.routeSets.size(), 1U);
    EXPECT_EQ(document.routeSets.front().name, "Default");
    EXPECT_EQ(document.selectedSetID, document.routeSets.front().id);
    ASSERT_EQ(document.routeSets.front().routes.size(), 2U);
    EXPECT_EQ(document.routeSets.front().routes[0].id, idOf(kRouteIDText));
    EXPECT_EQ(document.routeSets.front().routes[0].variants.at(0).channelMode, ChannelMode::force(5));
    EXPECT_EQ(document.routeSets.front().routes[1].id, idOf(kUnknownIDText));
    EXPECT_EQ(document.routeSets.front().routes[1].variants.at(0).name, "As Is");
    EXPECT_NE(decode(text).selectedSetID, document.selectedSetID);
}

TEST(RouteSetDocumentMigration, ReadsAnEmptyOlderArray) {
    const MIDIRouteSetDocument document = decode("[]");
    ASSERT_EQ(document.routeSets.size(), 1U);
    EXPECT_EQ(document.routeSets.front().name, "Default");
    EXPECT_THAT(document.routeSets.front().routes, IsEmpty());
}

TEST(RouteSetDocumentMigration, RefusesWhatMixesTheTwoForms) {
    EXPECT_THROW(static_cast<void>(decode("{}")), DecodingError);
    EXPECT_THROW(static_cast<void>(decode(routeText().text())), DecodingError);
    EXPECT_THROW(static_cast<void>(decode(arrayText({documentText().text()}))), DecodingError);
    EXPECT_THROW(static_cast<void>(decode(arrayText({setText().text()}))), DecodingError);
}

TEST(RouteSetDocumentMigration, RefusesAnOlderArrayWithOneBadConnection) {
    for (const std::string bad : {"null", "5", "{}", "[]", R"("x")"}) {
        EXPECT_THROW(static_cast<void>(decode(arrayText({routeText().text(), bad}))), DecodingError) << bad;
    }
}

}  // namespace
}  // namespace corvel
