#include "ui/RouterWindow/EndpointRow.hpp"

#include "tests/ui/support/DragEvents.hpp"
#include "tests/ui/support/EndpointBuilders.hpp"
#include "tests/ui/support/ViewProbe.hpp"

#include <QDrag>
#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTest>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

namespace corvel::ui {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using tests::makeInput;
using tests::makeOutput;

/// Records the data of drags that have ended. Without a display they end at once.
class DragRecorder : public QObject {
public:
    DragRecorder() { QCoreApplication::instance()->installEventFilter(this); }

    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == QEvent::DeferredDelete) {
            if (const auto* const drag = qobject_cast<QDrag*>(watched); drag != nullptr) {
                texts.push_back(drag->mimeData()->text().toStdString());
                formats.append(drag->mimeData()->formats());
                owners.push_back(drag->parent());
            }
        }
        return false;
    }

    std::vector<std::string> texts;
    QStringList formats;
    std::vector<const QObject*> owners;
};

class EndpointRowTests : public ::testing::Test {
protected:
    EndpointRowTests() {
        output.resize(288, 40);
        input.resize(288, 40);
        // Moved away from the pointer.
        output.move(500, 500);
        input.move(500, 600);
        QObject::connect(&output, &EndpointRow::endpointDropped, &output,
                         [this](std::int32_t sourceID) { dropped.push_back(sourceID); });
        QObject::connect(&input, &EndpointRow::endpointDropped, &input,
                         [this](std::int32_t sourceID) { dropped.push_back(sourceID); });
    }

    static void turn() {
        QCoreApplication::processEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

    /// Presses the pointer on the row and moves it this far to the right.
    static void dragBy(EndpointRow& row, int distance) {
        row.show();
        QTest::mousePress(&row, Qt::LeftButton, {}, {50, 20});
        QTest::mouseMove(&row, {50 + distance / 2, 20});
        QTest::mouseMove(&row, {50 + distance, 20});
        QTest::mouseRelease(&row, Qt::LeftButton, {}, {50 + distance, 20});
        turn();
    }

    static QRgb pixel(EndpointRow& row, int x, int y) { return row.grab().toImage().pixel(x, y); }

    /// Whether the pixel gets this colour within two seconds.
    static bool turnsInto(EndpointRow& row, int x, int y, QRgb colour) {
        QElapsedTimer time;
        time.start();
        while (pixel(row, x, y) != colour && time.elapsed() < 2000) {
            turn();
        }
        return pixel(row, x, y) == colour;
    }

    static bool iconHas(EndpointRow& row, QRgb colour) {
        const QImage image = row.grab().toImage();
        for (int x = 8; x < 40; ++x) {
            for (int y = 8; y < 32; ++y) {
                if (image.pixel(x, y) == colour) {
                    return true;
                }
            }
        }
        return false;
    }

    Look look{AppAppearanceMode::dark};
    EndpointRow input{look, makeInput(1048576, "Keys"), nullptr};
    EndpointRow output{look, makeOutput(7, "Synth"), nullptr};
    std::vector<std::int32_t> dropped;
};

TEST_F(EndpointRowTests, IsFortyPixelsHigh) {
    EXPECT_EQ(input.sizeHint().height(), 40);
    EXPECT_EQ(input.minimumSizeHint().height(), 40);
}

TEST_F(EndpointRowTests, HasTheWholeNameAsItsTooltip) {
    EXPECT_EQ(tests::shownToolTip(input), "Keys");
    for (const std::string name : {"<b>x</b>", "A & B", "a\nb"}) {
        const EndpointRow row(look, makeInput(1, name), nullptr);
        EXPECT_EQ(tests::shownToolTip(row).toStdString(), name);
    }
    const std::string longName(10'000, 'x');
    const EndpointRow row(look, makeInput(1, longName), nullptr);
    EXPECT_EQ(tests::shownToolTip(row).toStdString(), longName);
    EXPECT_LE(row.sizeHint().width(), 300);
}

TEST_F(EndpointRowTests, ShowsWhatHidesItselfInAName) {
    input.setEndpoint(makeInput(1048576, "Ke\u202Eys\u200B"));
    EXPECT_EQ(tests::accessibleName(input), "Ke\\u202Eys\\u200B");
    EXPECT_EQ(tests::shownToolTip(input), "Ke\\u202Eys\\u200B");
    input.setEndpoint(makeInput(1048576, " "));
    EXPECT_EQ(tests::accessibleName(input), "(no name)");
}

TEST_F(EndpointRowTests, IsCalledByItsNameForScreenReaders) {
    EXPECT_THAT(tests::accessibleName(input).toStdString(), ::testing::HasSubstr("Keys"));
    EndpointRow row(look, makeInput(1, "<b>A & B</b>"), nullptr);
    EXPECT_THAT(tests::accessibleName(row).toStdString(), ::testing::HasSubstr("<b>A & B</b>"));
}

TEST_F(EndpointRowTests, TellsScreenReadersWhetherItIsOffline) {
    const auto said = [](EndpointRow& row) {
        QAccessibleInterface* const interface = QAccessible::queryAccessibleInterface(&row);
        return interface->text(QAccessible::Name) + interface->text(QAccessible::Description);
    };
    MIDIEndpointModel endpoint = makeInput(1048576, "Keys");
    endpoint.isOnline = false;
    const QString online = said(input);
    input.setEndpoint(endpoint);
    EXPECT_NE(said(input), online);
    EXPECT_THAT(said(input).toLower().toStdString(), ::testing::HasSubstr("offline"));
}

TEST_F(EndpointRowTests, TakesWhatHasChangedAboutItsEndpoint) {
    input.setEndpoint(makeInput(1048576, "Piano"));
    EXPECT_EQ(input.endpoint().displayName, "Piano");
    EXPECT_EQ(tests::shownToolTip(input), "Piano");
    EXPECT_THAT(tests::accessibleName(input).toStdString(), ::testing::HasSubstr("Piano"));
}

TEST_F(EndpointRowTests, ShowsTheUsersOwnNameAndTheSystemsInItsTooltip) {
    input.setAlias("Left hand");
    EXPECT_EQ(tests::accessibleName(input), "Left hand");
    EXPECT_EQ(tests::shownToolTip(input), "Left hand\nKeys");
    input.setAlias("");
    EXPECT_EQ(tests::accessibleName(input), "Keys");
    EXPECT_EQ(tests::shownToolTip(input), "Keys");
}

TEST_F(EndpointRowTests, HasALightAroundItsDot) {
    // Seven pixels beside the dot's middle.
    EXPECT_EQ(pixel(input, 263, 20), 0xFF1F242B);
    input.setLight(1);
    EXPECT_NE(pixel(input, 263, 20), 0xFF1F242B);
    input.setLight(0);
    EXPECT_EQ(pixel(input, 263, 20), 0xFF1F242B);
}

TEST_F(EndpointRowTests, HasAGreenDotOnlineAndAHollowGreyOneOffline) {
    // Eight pixels wide, fourteen from the right.
    EXPECT_EQ(pixel(input, 270, 20), 0xFF3ECF8A);
    EXPECT_EQ(pixel(output, 270, 20), 0xFF3ECF8A);
    MIDIEndpointModel endpoint = makeInput(1048576, "Keys");
    endpoint.isOnline = false;
    input.setEndpoint(endpoint);
    EXPECT_EQ(pixel(input, 270, 20), 0xFF1F242B);
}

TEST_F(EndpointRowTests, HasAnotherGroundAndIconWhileSelected) {
    input.show();
    EXPECT_EQ(pixel(input, 250, 5), 0xFF1F242B);
    EXPECT_TRUE(iconHas(input, 0xFFA7B0BD));
    EXPECT_FALSE(iconHas(input, 0xFF6CB0FF));
    input.setSelected(true);
    EXPECT_TRUE(input.isSelected());
    EXPECT_TRUE(turnsInto(input, 250, 5, 0xFF1B3452));
    EXPECT_TRUE(iconHas(input, 0xFF6CB0FF));
    EXPECT_FALSE(iconHas(input, 0xFFA7B0BD));
    input.setSelected(false);
    EXPECT_TRUE(turnsInto(input, 250, 5, 0xFF1F242B));
}

TEST_F(EndpointRowTests, ReportsClicksAndPresses) {
    QSignalSpy clicks(&input, &QAbstractButton::clicked);
    input.show();
    QTest::mouseClick(&input, Qt::LeftButton);
    EXPECT_EQ(clicks.size(), 1);
    tests::pressAccessibly(input);
    EXPECT_EQ(clicks.size(), 2);
    QTest::keyClick(&input, Qt::Key_Space);
    EXPECT_EQ(clicks.size(), 3);
}

TEST_F(EndpointRowTests, CarriesItsSourceWhenDragged) {
    const DragRecorder drags;
    QSignalSpy starts(&input, &EndpointRow::dragStarted);
    dragBy(input, 40);
    EXPECT_THAT(drags.texts, ElementsAre("app.corvel.source:1048576"));
    EXPECT_EQ(drags.formats, QStringList("text/plain"));
    EXPECT_EQ(starts.size(), 1);
}

TEST_F(EndpointRowTests, IsNotDraggedByATremblingHand) {
    const DragRecorder drags;
    QSignalSpy clicks(&input, &QAbstractButton::clicked);
    dragBy(input, 4);
    EXPECT_THAT(drags.texts, IsEmpty());
    EXPECT_EQ(clicks.size(), 1);
}

TEST_F(EndpointRowTests, IsReadyForTheNextClickAfterADrag) {
    dragBy(input, 40);
    EXPECT_FALSE(input.isDown());
    QSignalSpy clicks(&input, &QAbstractButton::clicked);
    QTest::mouseClick(&input, Qt::LeftButton);
    EXPECT_EQ(clicks.size(), 1);
}

TEST_F(EndpointRowTests, CarriesItsDestinationWhenDraggedAsAnOutput) {
    const DragRecorder drags;
    dragBy(output, 40);
    EXPECT_THAT(drags.texts, ElementsAre("app.corvel.destination:7"));
}

TEST_F(EndpointRowTests, ReportsADroppedSourceOnALaterTurn) {
    EXPECT_TRUE(tests::dragOnto(output, "app.corvel.source:-5"));
    tests::drop(output, "app.corvel.source:-5");
    EXPECT_THAT(dropped, IsEmpty());
    turn();
    EXPECT_THAT(dropped, ElementsAre(-5));
}

TEST_F(EndpointRowTests, ForgetsADropWhenItIsGone) {
    {
        EndpointRow row(look, makeOutput(7, "Synth"), nullptr);
        QObject::connect(&row, &EndpointRow::endpointDropped, &output,
                         [this](std::int32_t sourceID) { dropped.push_back(sourceID); });
        tests::drop(row, "app.corvel.source:5");
    }
    turn();
    EXPECT_THAT(dropped, IsEmpty());
}

TEST_F(EndpointRowTests, TakesNoOtherText) {
    for (const char* const text : {"", "hello", "com.example.source:5", "app.corvel.source:", "app.corvel.source:12a",
                                   "app.corvel.source:2147483648", "app.corvel.source:5 "}) {
        tests::dragOnto(output, text);
        EXPECT_FALSE(output.isDropTarget()) << text;
        tests::drop(output, text);
        turn();
    }
    QMimeData image;
    image.setData("image/png", "app.corvel.source:5");
    tests::drop(output, image);
    turn();
    EXPECT_THAT(dropped, IsEmpty());
}

TEST_F(EndpointRowTests, TakesOnlyOutputsWhileItIsAnInput) {
    tests::dragOnto(input, "app.corvel.source:5");
    EXPECT_FALSE(input.isDropTarget());
    tests::drop(input, "app.corvel.source:5");
    turn();
    EXPECT_THAT(dropped, IsEmpty());
    tests::dragOnto(input, "app.corvel.destination:5");
    EXPECT_TRUE(input.isDropTarget());
    tests::drop(input, "app.corvel.destination:5");
    turn();
    EXPECT_THAT(dropped, ElementsAre(5));
}

TEST_F(EndpointRowTests, TakesOnlyInputsWhileItIsAnOutput) {
    tests::dragOnto(output, "app.corvel.destination:5");
    EXPECT_FALSE(output.isDropTarget());
    tests::drop(output, "app.corvel.destination:5");
    turn();
    EXPECT_THAT(dropped, IsEmpty());
}

TEST_F(EndpointRowTests, HasAnotherGroundWhileADragHoversOverIt) {
    EXPECT_FALSE(output.isDropTarget());
    tests::dragOnto(output, "app.corvel.source:5");
    EXPECT_TRUE(output.isDropTarget());
    EXPECT_EQ(pixel(output, 250, 5), 0xFF20456F);
    tests::dragAway(output);
    EXPECT_FALSE(output.isDropTarget());
    EXPECT_EQ(pixel(output, 250, 5), 0xFF1F242B);

    tests::dragOnto(output, "app.corvel.source:5");
    tests::drop(output, "app.corvel.source:5");
    EXPECT_FALSE(output.isDropTarget());
}

TEST_F(EndpointRowTests, LeavesItsDragToTheWindowSoThatItMayGoMeanwhile) {
    const DragRecorder drags;
    QWidget window;
    EndpointRow row(look, makeInput(5, "Keys"), &window);
    row.resize(288, 40);
    row.move(0, 0);
    dragBy(row, 40);
    EXPECT_THAT(drags.owners, ElementsAre(&window));
}

TEST_F(EndpointRowTests, BearsTheColourOfTheSelectedConnectionAtTheStagesSide) {
    const QColor colour(0x26, 0x7A, 0xEB);
    input.setConnectionMark(colour);
    output.setConnectionMark(colour);
    EXPECT_EQ(input.grab().toImage().pixelColor(285, 20), colour);
    EXPECT_EQ(output.grab().toImage().pixelColor(2, 20), colour);
    EXPECT_FALSE(input.isSelected());
    input.setConnectionMark(std::nullopt);
    EXPECT_NE(input.grab().toImage().pixelColor(285, 20), colour);
}

}  // namespace
}  // namespace corvel::ui
