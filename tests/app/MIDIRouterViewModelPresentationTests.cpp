#include "tests/app/ModelFixture.hpp"

namespace corvel::tests {
namespace {

class MIDIRouterViewModelPresentation : public ModelFixture {
protected:
    MIDIRouterViewModelPresentation() { startModel(); }

    static MIDIRoute route(std::int32_t sourceID, std::int32_t destinationID, bool isEnabled = true) {
        return makeRoute({.sourceID = sourceID, .destinationID = destinationID, .isEnabled = isEnabled});
    }
};

TEST_F(MIDIRouterViewModelPresentation, TellsHowAConnectionStands) {
    EXPECT_EQ(model->routeAvailability(route(1011, 1021)), RouteAvailability::active);
    EXPECT_EQ(model->routeAvailability(route(1011, 1021, false)), RouteAvailability::paused);
    EXPECT_EQ(model->routeAvailability(route(1, 1021)), RouteAvailability::missingInput);
    EXPECT_EQ(model->routeAvailability(route(1011, 2, false)), RouteAvailability::missingOutput);
    EXPECT_EQ(model->routeAvailability(route(1, 2)), RouteAvailability::missingEndpoints);
    EXPECT_EQ(model->routeAvailability(route(1021, 1011)), RouteAvailability::missingEndpoints)
        << "an output is no input";
}

TEST_F(MIDIRouterViewModelPresentation, NamesEachStateForTheUser) {
    EXPECT_EQ(displayText(RouteAvailability::active), "Active");
    EXPECT_EQ(displayText(RouteAvailability::paused), "Paused");
    EXPECT_EQ(displayText(RouteAvailability::missingInput), "Input Offline");
    EXPECT_EQ(displayText(RouteAvailability::missingOutput), "Output Offline");
    EXPECT_EQ(displayText(RouteAvailability::missingEndpoints), "Offline");
}

TEST_F(MIDIRouterViewModelPresentation, DescribesAConnectionLineByLine) {
    MIDIRoute connection = route(1011, 1021);
    EXPECT_EQ(model->routeDetailText(connection), "Keys\nto\nSynth\nAs Is\nAs Is\nActive");
    connection.variants[0].shortcut = KeyboardShortcutSpec("p", {KeyboardShortcutModifier::option});
    connection.variants[0].channelMode = ChannelMode::force(4);
    EXPECT_EQ(model->routeDetailText(connection), "Keys\nto\nSynth\nCh 4\nAs Is\nActive\n\u2325P");
    connection.variants[0].channelMode = std::nullopt;
    connection.channelMode = ChannelMode::force(2);
    EXPECT_EQ(model->routeDetailText(connection), "Keys\nto\nSynth\nCh 2\nCh 2\nActive\n\u2325P");
    connection.activeVariantID = makeID(99);
    EXPECT_EQ(model->routeDetailText(connection), "Keys\nto\nSynth\nCh 2\nCh 2\nActive");
}

TEST_F(MIDIRouterViewModelPresentation, NamesMissingEndpointsByTheirStoredLabels) {
    const MIDIRoute connection = makeRoute({.sourceID = 1, .destinationID = 2, .sourceName = "Old Keys"});
    EXPECT_EQ(model->routeDetailText(connection), "Old Keys\nto\nMissing Endpoint\nAs Is\nAs Is\nOffline");
    EXPECT_EQ(MIDIRouterViewModel::endpointName(1011, model->sources(), "Old"), "Keys");
    EXPECT_EQ(MIDIRouterViewModel::endpointName(1, model->sources(), ""), "");
    EXPECT_EQ(MIDIRouterViewModel::endpointName(1, model->sources(), std::nullopt), "Missing Endpoint");
}

TEST_F(MIDIRouterViewModelPresentation, DescribesAnAssignmentLineByLine) {
    EXPECT_EQ(model->variantDetailText(makeVariant(
                  {.channelMode = std::nullopt, .sourceID = 1011, .destinationID = 5, .destinationName = "Organ"})),
              "As Is\nKeys\nOrgan");
    EXPECT_EQ(model->variantDetailText(
                  makeVariant({.shortcut = KeyboardShortcutSpec("q", {KeyboardShortcutModifier::command}),
                               .channelMode = ChannelMode::force(16),
                               .sourceID = 6,
                               .destinationID = 1022})),
              "Ch 16\n\u2318Q\nMissing Endpoint\nDrums");
}

TEST_F(MIDIRouterViewModelPresentation, DescribesTheNewestMessageByItsFirstEightBytes) {
    EXPECT_EQ(model->lastEventDescription(makeID(1)), "No MIDI yet");
    EXPECT_EQ(model->recentActivity(makeID(1)), nullptr);
    report(makeID(1), {0xF0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 0xF7});
    EXPECT_EQ(model->lastEventDescription(makeID(1)), "SysEx F0 01 02 03 04 05 06 07");
    report(makeID(1), {0x90, 60, 100});
    report(makeID(2), {0xF8});
    EXPECT_EQ(model->lastEventDescription(makeID(1)), "Note 90 3C 64");
}

TEST_F(MIDIRouterViewModelPresentation, FindsConnectionsOfTheCurrentSet) {
    EXPECT_EQ(model->route(makeID(1)), nullptr);
    model->connect(1011, 1021);
    ASSERT_NE(model->route(model->routes().front().id), nullptr);
    EXPECT_EQ(*model->route(model->routes().front().id), model->routes().front());
    EXPECT_EQ(model->selectedRouteSetName(), "Default");
}

}  // namespace
}  // namespace corvel::tests
