#pragma once

#include "tests/ui/support/WindowModelFixture.hpp"
#include "ui/QtText.hpp"
#include "ui/RouterWindow/ChannelAssignmentDialog.hpp"
#include "ui/RouterWindow/RouteList.hpp"
#include "ui/RouterWindow/RouteNamesView.hpp"
#include "ui/RouterWindow/RouteRow.hpp"
#include "ui/RouterWindow/RouteSwatch.hpp"
#include "ui/controls/IconButton.hpp"
#include "ui/controls/LookScrollArea.hpp"
#include "ui/controls/PopUpButton.hpp"

#include <QAccessible>
#include <QApplication>
#include <QMenu>
#include <QScrollBar>
#include <QTest>

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace corvel::tests {

/// The list of connections in a window of its own, following the model.
class RouteListFixture : public WindowModelFixture {
protected:
    /// The list's size in a window of ideal size: four rows.
    static constexpr QSize kSize{1180, 228};

    /// The fields of an assignment that a test sets; no channel means "As Is".
    struct Assignment {
        std::optional<int> channel = std::nullopt;
        std::optional<KeyboardShortcutSpec> shortcut = std::nullopt;
    };

    /// Connection `number` from the keys (1011) to the synth (1021), or between others, its first assignment active.
    /// The assignments' IDs start at 100 times the number.
    static MIDIRoute route(std::uint32_t number, const std::vector<Assignment>& assignments,
                           std::int32_t sourceID = 1011, std::int32_t destinationID = 1021) {
        std::vector<MIDIRouteVariant> variants;
        for (const Assignment& assignment : assignments) {
            const ChannelMode mode = assignment.channel ? ChannelMode::force(*assignment.channel) : ChannelMode::asIs();
            variants.push_back(makeVariant({.id = makeID(100 * number + static_cast<std::uint32_t>(variants.size())),
                                            .name = mode.title(),
                                            .shortcut = assignment.shortcut,
                                            .channelMode = mode,
                                            .sourceID = sourceID,
                                            .destinationID = destinationID,
                                            .sourceName = "Stored Input",
                                            .destinationName = "Stored Output"}));
        }
        return makeRoute({.id = makeID(number), .variants = std::move(variants)});
    }

    /// Shows these connections with the present endpoints, and waits for all rows, however slow the machine is.
    void show(const std::vector<MIDIRoute>& routes, QSize size = kSize) {
        showSets({MIDIRouteSet(makeID(9000), "Set", routes)}, size);
        ASSERT_TRUE(turnUntil([this] { return rows().size() == model->routes().size(); }));
    }

    /// Shows the first of these sets.
    void showSets(const std::vector<MIDIRouteSet>& sets, QSize size = kSize) {
        list.reset();
        stopFollowing();
        makeModel(MIDIRouteSetDocument(sets.front().id, sets));
        startModel();
        list = std::make_unique<ui::RouteList>(*model, look);
        follow(*list);
        list->resize(size);
        list->show();
        list->activateWindow();
        turn();
    }

    [[nodiscard]] std::vector<ui::RouteRow*> rows() const {
        std::vector<ui::RouteRow*> result;
        for (ui::RouteRow* const row : list->findChildren<ui::RouteRow*>()) {
            if (row->isVisible()) {
                result.push_back(row);
            }
        }
        std::ranges::sort(result, {}, [](const ui::RouteRow* row) { return row->y(); });
        return result;
    }
    [[nodiscard]] ui::RouteRow& row(std::size_t index) const { return *rows().at(index); }
    [[nodiscard]] static ui::RouteNamesView& names(const ui::RouteRow& row) {
        return *row.findChild<ui::RouteNamesView*>();
    }
    [[nodiscard]] static ui::RouteSwatch& swatch(const ui::RouteRow& row) { return *row.findChild<ui::RouteSwatch*>(); }
    [[nodiscard]] static ui::PopUpButton& picker(const ui::RouteRow& row) { return *row.findChild<ui::PopUpButton*>(); }
    [[nodiscard]] static ui::IconButton& button(const ui::RouteRow& row, int index) {
        return *row.findChildren<ui::IconButton*>().at(index);
    }
    [[nodiscard]] static ui::IconButton& addButton(const ui::RouteRow& row) { return button(row, 0); }
    [[nodiscard]] static ui::IconButton& editButton(const ui::RouteRow& row) { return button(row, 1); }
    [[nodiscard]] static ui::IconButton& deleteButton(const ui::RouteRow& row) { return button(row, 2); }
    [[nodiscard]] static ui::IconButton& enableButton(const ui::RouteRow& row) { return button(row, 3); }

    [[nodiscard]] ui::LookScrollArea& scrollArea() const { return *list->findChild<ui::LookScrollArea*>(); }
    [[nodiscard]] int scrollValue() const { return scrollArea().verticalScrollBar()->value(); }

    void click(QWidget& widget) {
        QTest::mouseClick(&widget, Qt::LeftButton);
        turn();
    }

    /// Sends a key press to the view with the focus, as the toolkit does, by position on the keyboard.
    void press(QWidget& window, Qt::Key key, Qt::KeyboardModifiers modifiers = {}, quint32 scanCode = 0) {
        QWidget* const focus = window.focusWidget() == nullptr ? &window : window.focusWidget();
        for (const QEvent::Type type : {QEvent::ShortcutOverride, QEvent::KeyPress, QEvent::KeyRelease}) {
            QKeyEvent event(type, key, modifiers, scanCode, 0, 0);
            event.setAccepted(type != QEvent::ShortcutOverride);
            QCoreApplication::sendEvent(focus, &event);
        }
        turn();
    }

    [[nodiscard]] ui::ChannelAssignmentDialog* dialog() const {
        for (ui::ChannelAssignmentDialog* const found : list->window()->findChildren<ui::ChannelAssignmentDialog*>()) {
            if (found->isVisible()) {
                return found;
            }
        }
        return nullptr;
    }

    [[nodiscard]] static QMenu* openMenu() { return qobject_cast<QMenu*>(QApplication::activePopupWidget()); }

    std::unique_ptr<ui::RouteList> list;
};

}  // namespace corvel::tests
