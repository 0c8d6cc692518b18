#include "ui/ModelRefresh.hpp"

#include "tests/ui/support/WindowModelFixture.hpp"

#include <QElapsedTimer>

#include <optional>
#include <string>
#include <vector>

namespace corvel::ui {
namespace {

class ModelRefreshTests : public tests::WindowModelFixture {
protected:
    ModelRefreshTests() {
        QObject::connect(&refresh, &ModelRefresh::changed, &refresh, [this](const ModelChanges& changes) {
            told.push_back(changes);
            shownMessage = model->statusMessage();
        });
    }

    void sendNote() { report(tests::makeID(1), {0x90, 60, 100}); }

    std::vector<ModelChanges> told;
    std::string shownMessage;
    ModelRefresh refresh{*model};
};

TEST_F(ModelRefreshTests, TellsNothingByItself) {
    turn();
    EXPECT_TRUE(told.empty());
}

TEST_F(ModelRefreshTests, TellsOnTheNextTurnAndNotInsideACommand) {
    model->createRouteSet("Live");
    EXPECT_TRUE(told.empty());
    turn();
    EXPECT_EQ(told.size(), 1U);
    EXPECT_EQ(shownMessage, "Created set \"Live\"");
    turn();
    EXPECT_EQ(told.size(), 1U);
}

TEST_F(ModelRefreshTests, TellsOnceOfSeveralCommands) {
    model->createRouteSet("Live");
    model->renameSelectedRouteSet("Studio");
    model->setSelectedSourceID(5);
    turn();
    EXPECT_EQ(told.size(), 1U);
    EXPECT_EQ(shownMessage, "Renamed set \"Studio\"");
}

TEST_F(ModelRefreshTests, SaysWhatMayHaveChangedAndNothingElse) {
    model->setSelectedSourceID(5);
    turn();
    ASSERT_EQ(told.size(), 1U);
    EXPECT_TRUE(told.back().containAny({Property::selectedSourceID}));
    EXPECT_FALSE(told.back().containAny(
        {Property::sources, Property::destinations, Property::routeSets, Property::selectedRouteSetID, Property::routes,
         Property::activityEvents, Property::graphActivityEvents, Property::diagnosticEvents, Property::appearanceMode,
         Property::selectedDestinationID, Property::selectedRouteID, Property::statusMessage}));

    model->setAppearanceMode(AppAppearanceMode::light);
    turn();
    ASSERT_EQ(told.size(), 2U);
    EXPECT_TRUE(told.back().containAny({Property::statusMessage, Property::appearanceMode}));
    EXPECT_FALSE(told.back().containAny({Property::selectedSourceID, Property::statusMessage}));
}

TEST_F(ModelRefreshTests, TellsAgainOfWhatAViewChangesWhileItIsTold) {
    std::optional<std::int32_t> seen;
    QObject::connect(&refresh, &ModelRefresh::changed, &refresh, [this, &seen](const ModelChanges&) {
        seen = model->selectedDestinationID();
        if (!seen) {
            model->setSelectedDestinationID(7);
        }
    });
    model->setSelectedSourceID(5);
    turn();
    turn();
    EXPECT_EQ(told.size(), 2U);
    EXPECT_EQ(seen, 7);
}

TEST_F(ModelRefreshTests, TellsOfTrafficAtMostSixtyTimesASecond) {
    QElapsedTimer time;
    time.start();
    while (time.elapsed() < 120) {
        sendNote();
        turn();
    }
    const auto most = static_cast<std::size_t>(time.elapsed() * 60 / 1000 + 1);
    EXPECT_LE(told.size(), most);
    EXPECT_GE(told.size(), 2U);
    EXPECT_TRUE(told.front().containAny({Property::activityEvents}));
    EXPECT_FALSE(told.front().containAny({Property::routes, Property::statusMessage}));
}

TEST_F(ModelRefreshTests, TellsOfTheLastTrafficTooWhenItStops) {
    sendNote();
    ASSERT_TRUE(turnUntil([&] { return told.size() == 1; }));
    sendNote();
    EXPECT_TRUE(turnUntil([&] { return told.size() == 2; }));
}

TEST_F(ModelRefreshTests, TellsOfACommandAtOnceAlsoDuringTraffic) {
    sendNote();
    model->setSelectedSourceID(5);
    turn();
    ASSERT_FALSE(told.empty());
    EXPECT_TRUE(told.back().containAny({Property::selectedSourceID}));
}

}  // namespace
}  // namespace corvel::ui
