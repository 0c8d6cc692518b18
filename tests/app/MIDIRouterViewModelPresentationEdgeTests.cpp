#include "tests/app/ModelFixture.hpp"

#include <string>

namespace corvel::tests {
namespace {

using ::testing::IsEmpty;

/// The presentation of connections whose endpoints appear and disappear, and of messages of every length.
class MIDIRouterViewModelPresentationEdges : public ModelFixture {
protected:
    MIDIRouterViewModelPresentationEdges() {
        startModel();
        model->connect(1011, 1021);
        id = model->routes().front().id;
    }

    void unplugBoth() {
        unplugSource(11);
        unplugDestination(21);
        model->applyEndpointSnapshot();
    }

    [[nodiscard]] std::string details() const { return model->routeDetailText(model->routes().front()); }

    UUID id;
};

TEST_F(MIDIRouterViewModelPresentationEdges, FollowsAConnectionThroughEveryState) {
    EXPECT_EQ(details(), "Keys\nto\nSynth\nAs Is\nAs Is\nActive");
    model->setRouteEnabled(id, false);
    EXPECT_EQ(details(), "Keys\nto\nSynth\nAs Is\nAs Is\nPaused");
    unplugSource(11);
    model->applyEndpointSnapshot();
    EXPECT_EQ(details(), "Keys\nto\nSynth\nAs Is\nAs Is\nInput Offline");
    unplugDestination(21);
    model->applyEndpointSnapshot();
    EXPECT_EQ(details(), "Keys\nto\nSynth\nAs Is\nAs Is\nOffline");
    host->sources.push_back(11);
    model->applyEndpointSnapshot();
    EXPECT_EQ(details(), "Keys\nto\nSynth\nAs Is\nAs Is\nOutput Offline");
}

TEST_F(MIDIRouterViewModelPresentationEdges, ShowsTheNameOfToday) {
    MIDIRoute stored = model->routes().front();
    stored.sourceName = "Yesterday";
    stored.variants[0].destinationName = "Yesterday";
    EXPECT_EQ(model->routeDetailText(stored), "Keys\nto\nSynth\nAs Is\nAs Is\nActive");
    EXPECT_EQ(model->variantDetailText(stored.variants[0]), "As Is\nKeys\nSynth");
    unplugBoth();
    EXPECT_EQ(model->routeDetailText(stored), "Yesterday\nto\nSynth\nAs Is\nAs Is\nOffline")
        << "the connection's own labels";
    EXPECT_EQ(model->variantDetailText(stored.variants[0]), "As Is\nKeys\nYesterday");
}

TEST_F(MIDIRouterViewModelPresentationEdges, SaysMissingWhereNoNameIsStored) {
    unplugBoth();
    EXPECT_EQ(model->routeDetailText(makeRoute({.sourceID = 1011, .destinationID = 1021})),
              "Missing Endpoint\nto\nMissing Endpoint\nAs Is\nAs Is\nOffline");
    EXPECT_EQ(model->variantDetailText(makeVariant({.sourceID = 1011, .destinationID = 1021})),
              "As Is\nMissing Endpoint\nMissing Endpoint");
}

TEST_F(MIDIRouterViewModelPresentationEdges, TakesTheFirstEndpointOfAnID) {
    host->addSource(13, {.displayName = "Alto", .uniqueID = 1011});
    model->applyEndpointSnapshot();
    EXPECT_EQ(MIDIRouterViewModel::endpointName(1011, model->sources(), std::nullopt), "Alto");
}

TEST_F(MIDIRouterViewModelPresentationEdges, DescribesMessagesOfEveryLength) {
    EXPECT_EQ(model->lastEventDescription(id), "No MIDI yet");
    report(id, {0xFE});
    EXPECT_EQ(model->lastEventDescription(id), std::string(rawValue(MIDIMessageKind::activeSensing)) + " FE");
    report(id, {0xC0, 0x0A});
    EXPECT_EQ(model->lastEventDescription(id), std::string(rawValue(MIDIMessageKind::programChange)) + " C0 0A");
    report(id, {0xF0, 1, 2, 3, 4, 5, 6, 0xF7});
    EXPECT_EQ(model->lastEventDescription(id), "SysEx F0 01 02 03 04 05 06 F7");
    report(id, {0xF0, 1, 2, 3, 4, 5, 6, 0x7F, 0xF7});
    EXPECT_EQ(model->lastEventDescription(id), "SysEx F0 01 02 03 04 05 06 7F");
    report(id, {});
    EXPECT_EQ(model->lastEventDescription(id), std::string(rawValue(MIDIMessageKind::unknown)) + " ");
}

TEST_F(MIDIRouterViewModelPresentationEdges, RemembersTheLastMessageAcrossSetsUntilItIsPushedOut) {
    report(id, {0x90, 0x3C, 0x64});
    const UUID first = model->selectedRouteSetID();
    model->createRouteSet("Other");
    EXPECT_EQ(model->route(id), nullptr);
    EXPECT_EQ(model->lastEventDescription(id), "Note 90 3C 64");
    model->selectRouteSet(first);
    for (int count = 0; count < 199; ++count) {
        report(makeID(9), {0xF8});
    }
    EXPECT_EQ(model->lastEventDescription(id), "Note 90 3C 64");
    report(makeID(9), {0xF8});
    EXPECT_EQ(model->lastEventDescription(id), "No MIDI yet");
    EXPECT_THAT(model->graphActivities(id), IsEmpty());
}

TEST_F(MIDIRouterViewModelPresentationEdges, FindsTheFirstConnectionOfAnID) {
    MIDIRoute first = makeRoute({.id = makeID(1), .sourceID = 5});
    makeModel(MIDIRouteSetDocument::singleSet({first, makeRoute({.id = makeID(1), .sourceID = 6})}, "Default"));
    ASSERT_NE(model->route(makeID(1)), nullptr);
    EXPECT_EQ(model->route(makeID(1))->sourceID, 5);
}

}  // namespace
}  // namespace corvel::tests
