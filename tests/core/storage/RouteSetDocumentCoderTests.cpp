#include "core/storage/RouteSetDocumentCoder.hpp"

#include "tests/support/DocumentTexts.hpp"
#include "tests/support/RandomDocuments.hpp"
#include "tests/support/RandomSource.hpp"
#include "tests/support/RouteBuilders.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace corvel {
namespace {

using namespace std::string_view_literals;
using RouteSetDocumentCoder::decode;
using RouteSetDocumentCoder::encode;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using tests::makeID;
using tests::makeRoute;
using tests::makeVariant;

UUID idOf(std::string_view text) {
    return UUID::parse(text).value();
}

constexpr std::string_view kTwoAssignmentsText = R"({
  "routeSets": [
    {
      "id": "4C1E2B7A-0F43-4D7B-9E55-6A0B1C2D3E4F",
      "name": "Default",
      "routes": [
        {
          "activeVariantID": "B2B0C6D1-5E0A-4F7C-8D11-2233445566AA",
          "channelMode": {
            "force": {
              "_0": 10
            }
          },
          "destinationID": -1270023412,
          "destinationName": "Synth In",
          "id": "9F0E8D7C-6B5A-4938-8271-605F4E3D2C1B",
          "isEnabled": true,
          "sourceID": 1193046,
          "sourceManufacturer": "Example Maker",
          "sourceName": "Keys Out",
          "variants": [
            {
              "channelMode": {
                "asIs": {}
              },
              "destinationID": -1270023412,
              "destinationName": "Synth In",
              "id": "A1A0B5C0-4D09-4E6B-8C00-112233445599",
              "name": "As Is",
              "sourceID": 1193046,
              "sourceManufacturer": "Example Maker",
              "sourceName": "Keys Out"
            },
            {
              "channelMode": {
                "force": {
                  "_0": 10
                }
              },
              "destinationID": -1270023412,
              "destinationName": "Synth In",
              "id": "B2B0C6D1-5E0A-4F7C-8D11-2233445566AA",
              "name": "Ch 10",
              "shortcut": {
                "key": "p",
                "modifiers": [
                  "option",
                  "shift"
                ]
              },
              "sourceID": 1193046,
              "sourceManufacturer": "Example Maker",
              "sourceName": "Keys Out"
            }
          ]
        }
      ]
    }
  ],
  "selectedSetID": "4C1E2B7A-0F43-4D7B-9E55-6A0B1C2D3E4F"
})";

/// One enabled connection with two assignments; the second forces channel 10 and is active.
MIDIRouteSetDocument twoAssignments() {
    tests::VariantFields fields{.id = idOf(tests::kVariantIDText),
                                .name = "As Is",
                                .channelMode = ChannelMode::asIs(),
                                .sourceID = 1193046,
                                .destinationID = -1270023412,
                                .sourceName = "Keys Out",
                                .sourceManufacturer = "Example Maker",
                                .destinationName = "Synth In"};
    const MIDIRouteVariant asIs = makeVariant(fields);
    fields.id = idOf(tests::kOtherVariantIDText);
    fields.name = "Ch 10";
    fields.shortcut = KeyboardShortcutSpec("P", {KeyboardShortcutModifier::shift, KeyboardShortcutModifier::option});
    fields.channelMode = ChannelMode::force(10);
    const MIDIRouteVariant forced = makeVariant(fields);
    return {
        idOf(tests::kSetIDText),
        {{idOf(tests::kSetIDText),
          "Default",
          {makeRoute({.id = idOf(tests::kRouteIDText), .activeVariantID = forced.id, .variants = {asIs, forced}})}}}};
}

/// A set's name as it is written.
std::string writtenName(std::string_view name) {
    const std::string text = encode({makeID(1), {{makeID(1), std::string(name), {}}}});
    const std::string_view start = "\"name\": ";
    const std::size_t from = text.find(start) + start.size();
    return text.substr(from, text.find(",\n      \"routes\"") - from);
}

TEST(RouteSetDocumentCoder, WritesADocumentByteForByte) {
    EXPECT_EQ(encode(twoAssignments()), kTwoAssignmentsText);
}

TEST(RouteSetDocumentCoder, ReadsWhatItWrites) {
    EXPECT_EQ(decode(kTwoAssignmentsText), twoAssignments());
}

TEST(RouteSetDocumentCoder, WritesAnEmptySet) {
    EXPECT_EQ(encode({makeID(1), {{makeID(1), "", {}}}}), R"({
  "routeSets": [
    {
      "id": "00000000-0000-4000-8000-000000000001",
      "name": "",
      "routes": []
    }
  ],
  "selectedSetID": "00000000-0000-4000-8000-000000000001"
})");
}

TEST(RouteSetDocumentCoder, WritesTheDocumentWithoutNormalisingIt) {
    MIDIRouteSetDocument document(makeID(1), {{makeID(1), "Stage", {}}});
    document.selectedSetID = makeID(0xAB);
    document.routeSets.clear();
    EXPECT_EQ(encode(document), R"({
  "routeSets": [],
  "selectedSetID": "00000000-0000-4000-8000-0000000000AB"
})");
}

TEST(RouteSetDocumentCoder, WritesEveryOptionalKeyThatHasAValue) {
    const MIDIRoute route =
        makeRoute({.id = makeID(2),
                   .isEnabled = false,
                   .variants = {makeVariant({.id = makeID(3),
                                             .name = "Lead",
                                             .shortcut = KeyboardShortcutSpec("k", {}),
                                             .channelMode = ChannelMode::force(1),
                                             .sourceID = std::numeric_limits<std::int32_t>::min(),
                                             .destinationID = std::numeric_limits<std::int32_t>::max(),
                                             .sourceName = "Keys",
                                             .sourceManufacturer = "Keys Maker",
                                             .destinationName = "Synth",
                                             .destinationManufacturer = ""})}});
    EXPECT_EQ(encode({makeID(1), {{makeID(1), "Stage", {route}}}}), R"({
  "routeSets": [
    {
      "id": "00000000-0000-4000-8000-000000000001",
      "name": "Stage",
      "routes": [
        {
          "activeVariantID": "00000000-0000-4000-8000-000000000003",
          "channelMode": {
            "force": {
              "_0": 1
            }
          },
          "destinationID": 2147483647,
          "destinationManufacturer": "",
          "destinationName": "Synth",
          "id": "00000000-0000-4000-8000-000000000002",
          "isEnabled": false,
          "sourceID": -2147483648,
          "sourceManufacturer": "Keys Maker",
          "sourceName": "Keys",
          "variants": [
            {
              "channelMode": {
                "force": {
                  "_0": 1
                }
              },
              "destinationID": 2147483647,
              "destinationManufacturer": "",
              "destinationName": "Synth",
              "id": "00000000-0000-4000-8000-000000000003",
              "name": "Lead",
              "shortcut": {
                "key": "k",
                "modifiers": []
              },
              "sourceID": -2147483648,
              "sourceManufacturer": "Keys Maker",
              "sourceName": "Keys"
            }
          ]
        }
      ]
    }
  ],
  "selectedSetID": "00000000-0000-4000-8000-000000000001"
})");
}

TEST(RouteSetDocumentCoder, LeavesOutOptionalKeysWithoutValue) {
    MIDIRoute route = makeRoute({.id = makeID(2),
                                 .channelMode = ChannelMode::force(0),
                                 .variants = {makeVariant({.id = makeID(3), .channelMode = std::nullopt})}});
    EXPECT_EQ(encode({makeID(1), {{makeID(1), "Stage", {route}}}}), R"({
  "routeSets": [
    {
      "id": "00000000-0000-4000-8000-000000000001",
      "name": "Stage",
      "routes": [
        {
          "activeVariantID": "00000000-0000-4000-8000-000000000003",
          "channelMode": {
            "force": {
              "_0": 0
            }
          },
          "destinationID": 2,
          "id": "00000000-0000-4000-8000-000000000002",
          "isEnabled": true,
          "sourceID": 1,
          "variants": [
            {
              "destinationID": 2,
              "id": "00000000-0000-4000-8000-000000000003",
              "name": "As Is",
              "sourceID": 1
            }
          ]
        }
      ]
    }
  ],
  "selectedSetID": "00000000-0000-4000-8000-000000000001"
})");
    route.variants.clear();
    EXPECT_THAT(encode({makeID(1), {{makeID(1), "Stage", {route}}}}), HasSubstr("          \"variants\": []\n"));
}

TEST(RouteSetDocumentCoder, WritesModifiersInStoredOrder) {
    MIDIRouteSetDocument document = twoAssignments();
    document.routeSets[0].routes[0].variants[1].shortcut->modifiers = {KeyboardShortcutModifier::command,
                                                                       KeyboardShortcutModifier::control};
    EXPECT_THAT(encode(document), HasSubstr("[\n                  \"command\",\n                  \"control\"\n"));
    EXPECT_EQ(decode(encode(document)), document);
}

TEST(RouteSetDocumentCoder, EscapesWhatMustBeEscapedAndTheSlash) {
    EXPECT_EQ(writtenName("a\"b"), R"("a\"b")");
    EXPECT_EQ(writtenName("a\\b"), R"("a\\b")");
    EXPECT_EQ(writtenName("In/Out"), R"("In\/Out")");
    EXPECT_EQ(writtenName("//a/"), R"("\/\/a\/")");
    EXPECT_EQ(writtenName("\b\f\n\r\t"), R"("\b\f\n\r\t")");
    EXPECT_EQ(writtenName("\0\x01\x07\x0B\x0E\x1F"sv), R"("\u0000\u0001\u0007\u000b\u000e\u001f")");
}

TEST(RouteSetDocumentCoder, WritesAllOtherCharactersRaw) {
    EXPECT_EQ(writtenName(" !#.0:[]'~\x7F"), "\" !#.0:[]'~\x7F\"");
    EXPECT_EQ(writtenName("é漢\u0080\u2028\uFFFF\U0001F3B9"), "\"é漢\u0080\u2028\uFFFF\U0001F3B9\"");
}

TEST(RouteSetDocumentCoder, RepairsTextsThatAreNotUTF8) {
    EXPECT_EQ(writtenName("Caf\xE9 Piano"), "\"Caf\uFFFD Piano\"");
    EXPECT_EQ(writtenName("\xFF\xFE"), "\"\uFFFD\uFFFD\"");
    MIDIRouteSetDocument document = twoAssignments();
    MIDIRoute& route = document.routeSets[0].routes[0];
    route.variants[1].name = "n\xFF";
    route.variants[1].shortcut->key = "\xFF";
    route.variants[1].sourceName = "\xFFs";
    route.variants[1].sourceManufacturer = "m\xFF";
    route.variants[1].destinationName = "d\xFF";
    route.variants[1].destinationManufacturer = "\xFF";
    route.applyActiveVariant();
    MIDIRouteSetDocument repaired = document;
    MIDIRoute& repairedRoute = repaired.routeSets[0].routes[0];
    repairedRoute.variants[1].name = "n\uFFFD";
    repairedRoute.variants[1].shortcut->key = "\uFFFD";
    repairedRoute.variants[1].sourceName = "\uFFFDs";
    repairedRoute.variants[1].sourceManufacturer = "m\uFFFD";
    repairedRoute.variants[1].destinationName = "d\uFFFD";
    repairedRoute.variants[1].destinationManufacturer = "\uFFFD";
    repairedRoute.applyActiveVariant();
    EXPECT_EQ(decode(encode(document)), repaired);
}

TEST(RouteSetDocumentCoder, WritesNeitherAByteOrderMarkNorAFinalNewline) {
    const std::string text = encode(twoAssignments());
    EXPECT_EQ(text.front(), '{');
    EXPECT_EQ(text.back(), '}');
    EXPECT_THAT(text, Not(HasSubstr("\r")));
    EXPECT_THAT(text, Not(HasSubstr("\t")));
}

TEST(RouteSetDocumentCoder, WritesThatItReadsTheSameForAnyDocument) {
    tests::RandomDocuments documents(11);
    for (int round = 0; round < 300; ++round) {
        const MIDIRouteSetDocument document = documents.document();
        const std::string text = encode(document);
        ASSERT_EQ(decode(text), document) << text;
        ASSERT_EQ(encode(decode(text)), text);
    }
}

/// The text with some bytes changed, inserted, removed, repeated or replaced by characters that have a meaning in JSON.
std::string mutated(std::string text, tests::RandomSource& random) {
    static constexpr std::array<std::string_view, 14> kTokens{
        "{", "}", "[", "]", ",", ":", "\"", "null", "1e9", "-1", "\\u", "{}", "\"Default\"", "\xED\xA0\x80"};
    for (std::size_t count = 1 + random.below(2); count > 0 && !text.empty(); --count) {
        const std::size_t place = random.below(text.size());
        switch (random.below(5)) {
            case 0:
                text[place] = static_cast<char>(random.byte());
                break;
            case 1:
                text.erase(place, 1 + random.below(30));
                break;
            case 2:
                text.insert(place, text.substr(random.below(text.size()), random.below(200)));
                break;
            case 3:
                text.insert(place, kTokens.at(random.below(kTokens.size())));
                break;
            default:
                text.replace(place, 1, kTokens.at(random.below(kTokens.size())));
        }
    }
    return text;
}

TEST(RouteSetDocumentCoder, EitherRefusesADamagedTextOrReadsAValidDocument) {
    tests::RandomDocuments documents(12);
    tests::RandomSource random(13);
    int readable = 0;
    int refused = 0;
    for (int round = 0; round < 3'000; ++round) {
        const std::string text = mutated(encode(documents.document()), random);
        try {
            const MIDIRouteSetDocument document = decode(text);
            ++readable;
            ASSERT_FALSE(document.routeSets.empty());
            ASSERT_EQ(document.selectedRouteSet().id, document.selectedSetID);
            for (const MIDIRouteSet& set : document.routeSets) {
                for (const MIDIRoute& route : set.routes) {
                    ASSERT_NE(route.activeVariant(), nullptr);
                    ASSERT_EQ(route.activeVariant()->channelMode, route.channelMode);
                }
            }
            ASSERT_EQ(decode(encode(document)), document);
        } catch (const RouteSetDocumentCoder::DecodingError&) {
            ++refused;
        }
    }
    EXPECT_GT(readable, 100);
    EXPECT_GT(refused, 1000);
}

}  // namespace
}  // namespace corvel
