#include "ui/RouterWindow/HeaderBar.hpp"

#include "tests/ui/support/ViewProbe.hpp"
#include "tests/ui/support/WindowModelFixture.hpp"
#include "ui/controls/Badge.hpp"

#include <QSignalSpy>
#include <QTest>

#include <memory>

namespace corvel::ui {
namespace {

using ::testing::IsEmpty;
using ::testing::SizeIs;

class HeaderBarTests : public tests::WindowModelFixture {
protected:
    HeaderBarTests() {
        startModel();
        makeHeader("");
    }

    void makeHeader(const QString& demoReason) {
        header = std::make_unique<HeaderBar>(*model, look, QList<QAction*>(), demoReason, nullptr);
        header->resize(980, 56);
        follow(*header);
        header->show();
        turn();
    }

    QAbstractButton& button(const QString& name) { return tests::button(*header, name); }

    std::unique_ptr<HeaderBar> header;
};

TEST_F(HeaderBarTests, ShowsTheTitleAndThenTheButtonsFromLeftToRight) {
    EXPECT_EQ(tests::labelTexts(*header), QStringList("Corvel"));
    QWidget& title = tests::named<QLabel>(*header, "Corvel");
    QAbstractButton& refresh = button("Refresh MIDI devices");
    QAbstractButton& openSettings = button("Open settings");
    QAbstractButton& connect = button("Connect");
    QAbstractButton& remove = button("Delete selected connection");
    EXPECT_TRUE(tests::isLeftOf(button("Application menu"), title));
    EXPECT_TRUE(tests::isLeftOf(title, refresh));
    EXPECT_TRUE(tests::isLeftOf(refresh, openSettings));
    EXPECT_TRUE(tests::isLeftOf(openSettings, connect));
    EXPECT_TRUE(tests::isLeftOf(connect, remove));
    EXPECT_EQ(header->height(), 56);
}

TEST_F(HeaderBarTests, SaysWhatItsButtonsDo) {
    for (const char* const help : {"Refresh MIDI devices", "Open settings", "Delete selected connection"}) {
        EXPECT_EQ(tests::shownToolTip(button(help)), help);
    }
}

TEST_F(HeaderBarTests, DrawsTheMarkOfTheProgram) {
    // The light spot in the middle of the mark, which has a side of 28 and begins at (4, 4).
    const QColor spot = button("Application menu").grab().toImage().pixelColor(18, 18);
    EXPECT_GT(spot.red(), 240);
    EXPECT_GT(spot.green(), 180);
    EXPECT_GT(spot.blue(), 160);
}

TEST_F(HeaderBarTests, ListsTheDevicesAfresh) {
    host->listings.clear();
    host->addSource(13, {.displayName = "Foot", .uniqueID = 1013});
    button("Refresh MIDI devices").click();
    EXPECT_EQ(model->statusMessage(), "Refreshing MIDI devices...");
    settle();
    EXPECT_EQ(host->listings.front(), MIDIListing::afresh);
    EXPECT_THAT(model->sources(), SizeIs(3));
    EXPECT_EQ(model->statusMessage(), "3 inputs, 2 outputs");
}

TEST_F(HeaderBarTests, AsksForTheSettings) {
    QSignalSpy requests(header.get(), &HeaderBar::settingsRequested);
    button("Open settings").click();
    EXPECT_EQ(requests.size(), 1);
}

TEST_F(HeaderBarTests, CanConnectOnlyWithAnInputAndAnOutputSelected) {
    EXPECT_FALSE(button("Connect").isEnabled());
    model->setSelectedSourceID(1011);
    turn();
    EXPECT_FALSE(button("Connect").isEnabled());
    model->setSelectedDestinationID(1021);
    turn();
    EXPECT_TRUE(button("Connect").isEnabled());
    model->setSelectedSourceID(std::nullopt);
    turn();
    EXPECT_FALSE(button("Connect").isEnabled());
}

TEST_F(HeaderBarTests, KnowsTheSelectionOfAModelThatIsOlderThanItself) {
    model->setSelectedSourceID(1011);
    model->setSelectedDestinationID(1021);
    model->connect(1011, 1021);
    makeHeader("");
    EXPECT_TRUE(button("Connect").isEnabled());
    EXPECT_TRUE(button("Delete selected connection").isEnabled());
}

TEST_F(HeaderBarTests, ConnectsTheSelectedInputToTheSelectedOutput) {
    model->setSelectedSourceID(1012);
    model->setSelectedDestinationID(1022);
    turn();
    button("Connect").click();
    ASSERT_THAT(model->routes(), SizeIs(1));
    EXPECT_EQ(model->routes()[0].sourceID, 1012);
    EXPECT_EQ(model->routes()[0].destinationID, 1022);
    turn();
    button("Connect").click();
    EXPECT_EQ(model->statusMessage(), "Connection already exists");
}

TEST_F(HeaderBarTests, LetsTheModelSayThatASelectedEndpointIsGone) {
    model->setSelectedSourceID(1011);
    model->setSelectedDestinationID(1021);
    unplugSource(11);
    model->refreshDevices();
    turn();
    EXPECT_TRUE(button("Connect").isEnabled());
    button("Connect").click();
    EXPECT_EQ(model->statusMessage(), "Input endpoint is no longer available");
}

TEST_F(HeaderBarTests, DeletesTheSelectedConnection) {
    EXPECT_FALSE(button("Delete selected connection").isEnabled());
    model->connect(1011, 1021);
    turn();
    EXPECT_TRUE(button("Delete selected connection").isEnabled());
    button("Delete selected connection").click();
    EXPECT_THAT(model->routes(), IsEmpty());
    turn();
    EXPECT_FALSE(button("Delete selected connection").isEnabled());
}

TEST_F(HeaderBarTests, ConnectsWithControlReturn) {
    ASSERT_TRUE(QTest::qWaitForWindowActive(header.get()));
    QTest::keyClick(header->windowHandle(), Qt::Key_Return, Qt::ControlModifier);
    EXPECT_THAT(model->routes(), IsEmpty());
    model->setSelectedSourceID(1011);
    turn();
    QTest::keyClick(header->windowHandle(), Qt::Key_Return, Qt::ControlModifier);
    EXPECT_THAT(model->routes(), IsEmpty());
    EXPECT_EQ(model->statusMessage(), "2 inputs, 2 outputs");
    model->setSelectedDestinationID(1021);
    turn();
    QTest::keyClick(header->windowHandle(), Qt::Key_Return, Qt::ControlModifier);
    EXPECT_THAT(model->routes(), SizeIs(1));
}

TEST_F(HeaderBarTests, HasABadgeOnTheDemoDevicesAlone) {
    EXPECT_THAT(header->findChildren<Badge*>(), IsEmpty());
    makeHeader("The <sequencer> & its devices could not be opened");
    auto& badge = tests::only<Badge>(*header);
    EXPECT_EQ(badge.text(), "Demo devices");
    EXPECT_EQ(tests::shownToolTip(badge), "The <sequencer> & its devices could not be opened");
}

TEST_F(HeaderBarTests, IsPressedByScreenReaders) {
    QSignalSpy requests(header.get(), &HeaderBar::settingsRequested);
    tests::pressAccessibly(button("Open settings"));
    EXPECT_EQ(requests.size(), 1);
    model->connect(1011, 1021);
    turn();
    tests::pressAccessibly(button("Connect"));
    EXPECT_EQ(model->statusMessage(), "Connection already exists");
    tests::pressAccessibly(button("Delete selected connection"));
    EXPECT_THAT(model->routes(), IsEmpty());
}

TEST_F(HeaderBarTests, NamesTheConnectionThatTheBinDeletes) {
    model->connect(1011, 1022);
    turn();
    QAbstractButton& bin = button("Delete selected connection");
    EXPECT_EQ(tests::accessibleName(bin), "Delete selected connection: Keys to Drums");
    EXPECT_EQ(tests::shownToolTip(bin), "Delete selected connection: Keys to Drums");
    model->setSelectedRouteID(std::nullopt);
    turn();
    EXPECT_EQ(tests::accessibleName(bin), "Delete selected connection");
}

TEST_F(HeaderBarTests, TakesADoubleClickForAClick) {
    model->connect(1011, 1021);
    model->connect(1011, 1022);
    model->connect(1012, 1022);
    turn();
    QAbstractButton& bin = button("Delete selected connection");
    QTest::mouseClick(&bin, Qt::LeftButton);
    turn();
    // The second press, as the toolkit reports it, and its release.
    QTest::mouseDClick(&bin, Qt::LeftButton);
    QTest::mouseRelease(&bin, Qt::LeftButton);
    turn();
    EXPECT_THAT(model->routes(), SizeIs(2));
}

}  // namespace
}  // namespace corvel::ui
