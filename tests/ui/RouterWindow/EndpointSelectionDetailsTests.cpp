#include "ui/RouterWindow/EndpointSelectionDetails.hpp"

#include "tests/ui/support/EndpointBuilders.hpp"
#include "tests/ui/support/ViewProbe.hpp"

#include <QClipboard>
#include <QGuiApplication>
#include <QMimeData>
#include <QTest>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace corvel::ui {
namespace {

class EndpointSelectionDetailsTests : public ::testing::Test {
protected:
    EndpointSelectionDetailsTests() { details.resize(300, 104); }

    QAbstractButton& button() { return tests::only<QAbstractButton>(details); }

    /// The text in the clipboard after a click on the details of this endpoint.
    std::string copied(const MIDIEndpointModel& endpoint) {
        QGuiApplication::clipboard()->setText("before");
        details.setEndpoint(&endpoint);
        QTest::mouseClick(&button(), Qt::LeftButton);
        return QGuiApplication::clipboard()->text().toStdString();
    }

    Look look{AppAppearanceMode::dark};
    QWidget window;
    EndpointSelectionDetails details{look, &window};
    MIDIEndpointModel keys = [] {
        MIDIEndpointModel endpoint = tests::makeInput(1011, "Keys");
        endpoint.manufacturer = "Acme";
        return endpoint;
    }();
};

TEST_F(EndpointSelectionDetailsTests, AreNotThereWithoutAnEndpoint) {
    EXPECT_FALSE(details.isVisibleTo(&window));
    details.setEndpoint(&keys);
    EXPECT_TRUE(details.isVisibleTo(&window));
    details.setEndpoint(nullptr);
    EXPECT_FALSE(details.isVisibleTo(&window));
}

TEST_F(EndpointSelectionDetailsTests, AreHeadedSelected) {
    details.setEndpoint(&keys);
    EXPECT_EQ(tests::labelTexts(details), QStringList("Selected"));
}

TEST_F(EndpointSelectionDetailsTests, SayWhatAPressDoes) {
    details.setEndpoint(&keys);
    EXPECT_EQ(tests::shownToolTip(button()), "Copy full endpoint name");
    EXPECT_NE(tests::accessibleName(button()), "");
}

TEST_F(EndpointSelectionDetailsTests, TellScreenReadersTheDetails) {
    details.setEndpoint(&keys);
    QAccessibleInterface* const interface = QAccessible::queryAccessibleInterface(&button());
    const QString said = interface->text(QAccessible::Name) + "\n" + interface->text(QAccessible::Description);
    for (const char* const part : {"Keys", "Acme", "1011"}) {
        EXPECT_TRUE(said.contains(part)) << part;
    }
}

TEST_F(EndpointSelectionDetailsTests, ShowWhatHidesItselfAndCopyItAsItIs) {
    keys.displayName = "Ke\u202Eys";
    EXPECT_EQ(copied(keys), "Ke\u202Eys\nAcme\nsource\nID 1011");
    EXPECT_EQ(button().text(), "Ke\\u202Eys\nAcme\nsource\nID 1011");
    keys.displayName = " ";
    EXPECT_EQ(copied(keys), " \nAcme\nsource\nID 1011");
    EXPECT_EQ(button().text(), "(no name)\nAcme\nsource\nID 1011");
}

TEST_F(EndpointSelectionDetailsTests, CopyTheWholeText) {
    EXPECT_EQ(copied(keys), "Keys\nAcme\nsource\nID 1011");
    EXPECT_EQ(copied(tests::makeOutput(-5, "Synth")), "Synth\ndestination\nID -5");
}

TEST_F(EndpointSelectionDetailsTests, CopyTheTextAsItIs) {
    EXPECT_EQ(copied(tests::makeInput(1, "<b>A & B</b>")), "<b>A & B</b>\nsource\nID 1");
    EXPECT_EQ(copied(tests::makeInput(1, "  two\n lines ")), "  two\n lines \nsource\nID 1");
    const std::string longName(10'000, 'x');
    EXPECT_EQ(copied(tests::makeInput(1, longName)), longName + "\nsource\nID 1");
}

TEST_F(EndpointSelectionDetailsTests, LeaveNothingElseOnTheClipboard) {
    auto* const data = new QMimeData;
    data->setHtml("<i>before</i>");
    data->setText("before");
    QGuiApplication::clipboard()->setMimeData(data);
    details.setEndpoint(&keys);
    tests::pressAccessibly(button());
    EXPECT_EQ(QGuiApplication::clipboard()->mimeData()->formats(), QStringList("text/plain"));
    EXPECT_EQ(QGuiApplication::clipboard()->text(), "Keys\nAcme\nsource\nID 1011");
}

TEST_F(EndpointSelectionDetailsTests, TakeFourLinesOfRoom) {
    window.resize(300, 404);
    details.setEndpoint(&keys);
    EXPECT_EQ(details.sizeHint().height(), 104);
}

}  // namespace
}  // namespace corvel::ui
