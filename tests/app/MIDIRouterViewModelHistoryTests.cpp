#include "tests/app/ModelFixture.hpp"

#include <optional>
#include <string>

namespace corvel::tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

/// A set "Live" with a connection from the keys to the synth, and an empty set "Studio".
class MIDIRouterViewModelHistory : public ModelFixture {
protected:
    MIDIRouterViewModelHistory() {
        makeModel(MIDIRouteSetDocument(makeID(1), {{makeID(1), "Live", {original}}, {makeID(2), "Studio", {}}}));
        startModel();
    }

    static MIDIRoute keysToSynth() {
        return makeRoute({.id = makeID(11),
                          .sourceID = 1011,
                          .destinationID = 1021,
                          .sourceName = "Keys",
                          .sourceManufacturer = "Acme",
                          .destinationName = "Synth",
                          .destinationManufacturer = "Acme"});
    }

    /// Plays a note and pauses its connection, and checks that this releases the note.
    void expectReleasesTheHeldNote() {
        EXPECT_TRUE(model->releasesHeldNotes());
        EXPECT_THAT(playKeys(), SizeIs(1));
        host->sent.clear();
        model->setRouteEnabled(makeID(11), false);
        settle();
        EXPECT_THAT(host->sent, ElementsAre(FakeSentPacket{21, {0x80, 60, 64}}));
    }

    /// Undoes and redoes the last edit, and checks the document, the saved file and the engine's connections each time.
    void expectTurnsBackAndForth(const MIDIRouteSetDocument& before, const std::string& name) {
        const MIDIRouteSetDocument after = document();
        ASSERT_NE(before, after);
        EXPECT_EQ(model->undoName(), name);
        EXPECT_EQ(model->redoName(), std::nullopt);
        model->undo();
        EXPECT_EQ(document(), before);
        EXPECT_EQ(store->loadDocument(), before);
        EXPECT_EQ(model->routes(), before.selectedRouteSet().routes);
        EXPECT_EQ(model->statusMessage(), "Undone: " + name);
        EXPECT_EQ(playKeys().size(), countOfEnabled(before));
        EXPECT_EQ(model->redoName(), name);
        model->redo();
        EXPECT_EQ(document(), after);
        EXPECT_EQ(store->loadDocument(), after);
        EXPECT_EQ(model->statusMessage(), "Redone: " + name);
        EXPECT_EQ(playKeys().size(), countOfEnabled(after));
        EXPECT_EQ(model->undoName(), name);
    }

    static std::size_t countOfEnabled(const MIDIRouteSetDocument& document) {
        std::size_t count = 0;
        for (const MIDIRoute& route : document.selectedRouteSet().routes) {
            count += route.isEnabled && route.sourceID == 1011 ? 1 : 0;
        }
        return count;
    }

    const MIDIRoute original = keysToSynth();
    const KeyboardShortcutSpec optionP{"p", {KeyboardShortcutModifier::option}};
};

TEST_F(MIDIRouterViewModelHistory, IsEmptyAtFirst) {
    EXPECT_EQ(model->undoName(), std::nullopt);
    EXPECT_EQ(model->redoName(), std::nullopt);
    const MIDIRouteSetDocument before = document();
    model->undo();
    model->redo();
    EXPECT_EQ(document(), before);
    EXPECT_EQ(model->statusMessage(), "2 inputs, 2 outputs");
}

TEST_F(MIDIRouterViewModelHistory, TurnsEveryEditOfAConnectionBackAndForth) {
    MIDIRouteSetDocument before = document();
    model->connect(1011, 1022);
    expectTurnsBackAndForth(before, "Connect");
    before = document();
    model->setRouteEnabled(makeID(11), false);
    expectTurnsBackAndForth(before, "Pause Connection");
    before = document();
    model->setRouteEnabled(makeID(11), true);
    expectTurnsBackAndForth(before, "Resume Connection");
    before = document();
    model->addChannelAssignment(makeID(11), ChannelMode::force(3), optionP);
    expectTurnsBackAndForth(before, "Add Output Channel");
    before = document();
    model->updateActiveChannelAssignment(makeID(11), ChannelMode::force(4), std::nullopt);
    expectTurnsBackAndForth(before, "Change Output Channel");
    before = document();
    model->deleteActiveVariant(makeID(11));
    expectTurnsBackAndForth(before, "Delete Output Channel");
    before = document();
    model->setSelectedRouteID(makeID(11));
    model->deleteSelectedRoute();
    expectTurnsBackAndForth(before, "Delete Connection");
}

TEST_F(MIDIRouterViewModelHistory, TurnsEveryEditOfASetBackAndForth) {
    MIDIRouteSetDocument before = document();
    model->createRouteSet("Encore");
    expectTurnsBackAndForth(before, "New Set");
    model->selectRouteSet(makeID(1));
    before = document();
    model->duplicateSelectedRouteSet("");
    expectTurnsBackAndForth(before, "Duplicate Set");
    before = document();
    model->renameSelectedRouteSet("Other");
    expectTurnsBackAndForth(before, "Rename Set");
    model->selectRouteSet(makeID(1));
    before = document();
    model->deleteSelectedRouteSet();
    expectTurnsBackAndForth(before, "Delete Set");
}

TEST_F(MIDIRouterViewModelHistory, GoesAllTheWayBackAndForth) {
    const MIDIRouteSetDocument before = document();
    model->connect(1012, 1021);
    model->createRouteSet("Encore");
    model->connect(1012, 1022);
    model->setRouteEnabled(model->routes().front().id, false);
    model->deleteSelectedRouteSet();
    const MIDIRouteSetDocument after = document();
    for (int step = 0; step < 5; ++step) {
        model->undo();
    }
    EXPECT_EQ(document(), before);
    EXPECT_EQ(model->undoName(), std::nullopt);
    for (int step = 0; step < 5; ++step) {
        model->redo();
    }
    EXPECT_EQ(document(), after);
    EXPECT_EQ(model->redoName(), std::nullopt);
}

TEST_F(MIDIRouterViewModelHistory, LeavesWhatIsPerformedAsItIs) {
    model->addChannelAssignment(makeID(11), ChannelMode::force(3), optionP);
    const UUID first = model->routes()[0].variants[0].id;
    const UUID second = model->routes()[0].variants[1].id;
    model->connect(1012, 1021);
    model->setActiveVariant(first, makeID(11));
    model->undo();
    EXPECT_EQ(model->routes()[0].activeVariantID, first) << "Connect is undone, not the switch after it";
    model->setRouteEnabled(makeID(11), false);
    model->setActiveVariant(second, makeID(11));
    model->undo();
    EXPECT_TRUE(model->routes()[0].isEnabled);
    EXPECT_EQ(model->routes()[0].activeVariantID, second);
    EXPECT_EQ(model->routes()[0].channelMode, ChannelMode::force(3));
    model->redo();
    EXPECT_FALSE(model->routes()[0].isEnabled);
    EXPECT_EQ(model->routes()[0].activeVariantID, second);
}

TEST_F(MIDIRouterViewModelHistory, StaysInTheSetThatThePerformerHasGoneTo) {
    model->setSelectedRouteID(makeID(11));
    model->deleteSelectedRoute();
    model->selectRouteSet(makeID(2));
    model->undo();
    EXPECT_EQ(model->selectedRouteSetID(), makeID(2));
    EXPECT_THAT(model->routes(), IsEmpty());
    EXPECT_EQ(model->statusMessage(), "Undone: Delete Connection in set \"Live\"");
    EXPECT_THAT(model->routeSets()[0].routes, ElementsAre(original));
    EXPECT_EQ(store->loadDocument(), document());
    model->createRouteSet("Encore");
    model->selectRouteSet(makeID(1));
    model->undo();
    EXPECT_EQ(model->selectedRouteSetID(), makeID(1));
    EXPECT_THAT(model->routeSets(), SizeIs(2));
}

TEST_F(MIDIRouterViewModelHistory, BringsASetBackUnderItsIDAndSelectsIt) {
    model->deleteSelectedRouteSet();
    EXPECT_EQ(model->selectedRouteSetID(), makeID(2));
    model->undo();
    EXPECT_EQ(model->selectedRouteSetID(), makeID(1));
    EXPECT_THAT(model->routes(), ElementsAre(original));
    EXPECT_THAT(playKeys(), SizeIs(1));
}

TEST_F(MIDIRouterViewModelHistory, SelectsTheConnectionThatComesBack) {
    model->connect(1012, 1022);
    model->setSelectedRouteID(makeID(11));
    model->deleteSelectedRoute();
    model->undo();
    EXPECT_EQ(model->selectedRouteID(), makeID(11));
    EXPECT_EQ(model->routes().front().id, makeID(11)) << "in its place";
    model->redo();
    EXPECT_EQ(model->selectedRouteID(), model->routes().front().id);
}

TEST_F(MIDIRouterViewModelHistory, FindsTheEndpointsThatHaveGotOtherIDsMeanwhile) {
    model->setSelectedRouteID(makeID(11));
    model->deleteSelectedRoute();
    unplugDestination(21);
    host->addDestination(23, {.displayName = "Synth", .manufacturer = "Acme", .uniqueID = 1023});
    host->notify({});
    settle();
    model->undo();
    EXPECT_EQ(model->routes()[0].destinationID, 1023);
    EXPECT_THAT(playKeys(), ElementsAre(std::pair(23U, std::vector<std::uint8_t>{0x90, 60, 100})));
    EXPECT_EQ(store->loadDocument(), document());
}

TEST_F(MIDIRouterViewModelHistory, KeepsEndpointsThatWereFoundAgainAfterTheEdit) {
    model->setRouteEnabled(makeID(11), false);
    unplugDestination(21);
    host->addDestination(23, {.displayName = "Synth", .manufacturer = "Acme", .uniqueID = 1023});
    host->notify({});
    settle();
    ASSERT_EQ(model->routes()[0].destinationID, 1023);
    model->undo();
    EXPECT_TRUE(model->routes()[0].isEnabled);
    EXPECT_EQ(model->routes()[0].destinationID, 1023);
}

TEST_F(MIDIRouterViewModelHistory, ForgetsWhatWasUndoneWithTheNextEditAndTheOldestBeyondAHundred) {
    model->connect(1012, 1022);
    model->undo();
    model->setRouteEnabled(makeID(11), false);
    EXPECT_EQ(model->redoName(), std::nullopt);
    for (int count = 0; count < 100; ++count) {
        model->setRouteEnabled(makeID(11), count % 2 == 0);
    }
    for (int count = 0; count < 100; ++count) {
        EXPECT_NE(model->undoName(), std::nullopt);
        model->undo();
    }
    EXPECT_EQ(model->undoName(), std::nullopt);
    EXPECT_FALSE(model->routes()[0].isEnabled) << "the first of the 101 edits is no longer known";
}

TEST_F(MIDIRouterViewModelHistory, RecordsNothingThatChangesNothing) {
    model->setRouteEnabled(makeID(11), true);
    model->renameSelectedRouteSet("Live");
    model->renameSelectedRouteSet(" ");
    model->connect(1011, 1021);
    model->deleteActiveVariant(makeID(11));
    model->updateActiveChannelAssignment(makeID(11), ChannelMode::asIs(), std::nullopt);
    model->selectRouteSet(makeID(2));
    model->deleteSelectedRoute();
    EXPECT_EQ(model->undoName(), std::nullopt);
}

TEST_F(MIDIRouterViewModelHistory, OffersToUndoADeletionInTheStatusLineUntilAnythingElseIsSaid) {
    EXPECT_FALSE(model->offersUndo());
    model->setSelectedRouteID(makeID(11));
    model->deleteSelectedRoute();
    EXPECT_TRUE(model->offersUndo());
    model->undo();
    EXPECT_FALSE(model->offersUndo());
    model->deleteSelectedRouteSet();
    EXPECT_TRUE(model->offersUndo());
    model->refreshDevices();
    EXPECT_FALSE(model->offersUndo());
    model->undo();
    model->addChannelAssignment(makeID(11), ChannelMode::force(3), std::nullopt);
    model->deleteActiveVariant(makeID(11));
    EXPECT_TRUE(model->offersUndo());
    model->setRouteEnabled(makeID(11), false);
    EXPECT_FALSE(model->offersUndo());
}

TEST_F(MIDIRouterViewModelHistory, BringsBackAllConnectionsThatShareAnID) {
    makeModel(MIDIRouteSetDocument(makeID(1), {{makeID(1), "Live", {original, original}}}));
    startModel();
    const MIDIRouteSetDocument before = document();
    model->setSelectedRouteID(makeID(11));
    model->deleteSelectedRoute();
    ASSERT_THAT(model->routes(), IsEmpty());
    model->undo();
    EXPECT_EQ(document(), before);
}

TEST_F(MIDIRouterViewModelHistory, SaysWhenWhatIsUndoneCannotBeSaved) {
    model->connect(1012, 1022);
    breakStore();
    model->undo();
    EXPECT_THAT(model->statusMessage(), ::testing::StartsWith("Could not save sets: "));
    EXPECT_THAT(model->routes(), SizeIs(1));
}

TEST_F(MIDIRouterViewModelHistory, KeepsAllLabelsOfEndpointsThatWereFoundAgainAfterTheEdit) {
    model->setRouteEnabled(makeID(11), false);
    host->properties[11] = {.displayName = "Grand", .manufacturer = "Bolt", .uniqueID = 1011};
    host->properties[21] = {.displayName = "Organ", .manufacturer = "Bolt", .uniqueID = 1021};
    model->applyEndpointSnapshot();
    host->properties[11].uniqueID = 4011;
    host->properties[21].uniqueID = 4021;
    model->applyEndpointSnapshot();
    MIDIRoute found = model->routes()[0];
    ASSERT_EQ(found.sourceID, 4011);
    ASSERT_EQ(found.destinationName, "Organ");
    model->undo();
    found.isEnabled = true;
    EXPECT_EQ(model->routes()[0], found);
}

TEST_F(MIDIRouterViewModelHistory, FindsTheEndpointsOfASetThatComesBack) {
    model->deleteSelectedRouteSet();
    host->properties[21].uniqueID = 4021;
    model->applyEndpointSnapshot();
    model->undo();
    EXPECT_EQ(model->routes()[0].destinationID, 4021);
    EXPECT_EQ(store->loadDocument(), document());
}

TEST_F(MIDIRouterViewModelHistory, ForgetsThePulsesOfTheConnectionThatItChanges) {
    model->addChannelAssignment(makeID(11), ChannelMode::force(3), std::nullopt);
    report(makeID(11), {0x90, 60, 100});
    model->undo();
    EXPECT_THAT(model->graphActivities(makeID(11)), IsEmpty());
}

TEST_F(MIDIRouterViewModelHistory, TakesASecondSetBack) {
    makeModel(MIDIRouteSetDocument(makeID(1), {{makeID(1), "Live", {}}}));
    model->createRouteSet("Encore");
    model->undo();
    EXPECT_THAT(model->routeSets(), SizeIs(1));
    EXPECT_EQ(model->selectedRouteSetID(), makeID(1));
}

TEST_F(MIDIRouterViewModelHistory, OffersToUndoNoOtherEditThatLeavesTheStatusLineAsItIs) {
    model->connect(1012, 1022);
    model->deleteSelectedRoute();
    EXPECT_TRUE(model->offersUndo());
    model->setRouteEnabled(makeID(11), false);
    EXPECT_EQ(model->statusMessage(), "Set \"Live\" saved (1 connections)") << "as after the deletion";
    EXPECT_FALSE(model->offersUndo());
}

// Other messages to the engine

TEST_F(MIDIRouterViewModelHistory, AllNotesOffReachesEachOutputOfTheCurrentSetOnce) {
    model->connect(1012, 1021);
    model->connect(1011, 1022);
    model->setRouteEnabled(model->routes().back().id, false);
    host->sent.clear();
    int doneCount = 0;
    model->allNotesOff([&] { ++doneCount; });
    EXPECT_EQ(model->statusMessage(), "All notes off on 2 outputs");
    for (int step = 0; step < 60; ++step) {
        settle();
        queue->advance(std::chrono::milliseconds(1));
    }
    settle();
    EXPECT_THAT(host->sent, SizeIs(96));
    EXPECT_EQ(doneCount, 1);
    model->selectRouteSet(makeID(2));
    model->allNotesOff();
    EXPECT_EQ(model->statusMessage(), "The current set has no output to silence");
}

TEST_F(MIDIRouterViewModelHistory, ReleasesHeldNotesOnceTheUserWantsItAndRemembersThat) {
    EXPECT_FALSE(model->releasesHeldNotes());
    model->setReleasesHeldNotes(true);
    EXPECT_EQ(settings->string("Corvel.releasesHeldNotes"), "true");
    makeModel();
    startModel();
    expectReleasesTheHeldNote();
    model->setReleasesHeldNotes(false);
    makeModel();
    EXPECT_FALSE(model->releasesHeldNotes());
}

TEST_F(MIDIRouterViewModelHistory, ReleasesHeldNotesFromTheMomentTheUserWantsIt) {
    model->setReleasesHeldNotes(true);
    expectReleasesTheHeldNote();
}

}  // namespace
}  // namespace corvel::tests
