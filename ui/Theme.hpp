#pragma once

#include "app/AppAppearanceMode.hpp"

#include <QColor>

namespace corvel::ui {

/// The colours of one appearance. Contrast is at least 4.5 : 1 for text and 3 : 1 for marks and icons.
struct Theme {
    /// Header, set bar, columns, list and status bar.
    QColor surface;
    /// The graph.
    QColor stage;
    /// Endpoint row, pop-up, choice card.
    QColor raised;
    /// The same, hovered; quiet button.
    QColor raisedHover;
    /// The same, pressed.
    QColor raisedPressed;
    /// List row, hovered.
    QColor rowHover;
    /// List row, pressed.
    QColor rowPressed;
    /// Endpoint row, menu item, choice card.
    QColor selected;
    /// List row, because it is wide.
    QColor selectedQuiet;
    /// Outline of selected cards.
    QColor selectedEdge;
    /// Endpoint row under a drag.
    QColor drop;
    /// Log, shortcut field, text field.
    QColor field;
    /// Dialog, settings, menu.
    QColor sheet;
    /// Primary button.
    QColor accentFill;
    /// The same, hovered.
    QColor accentFillHover;
    /// The same, pressed.
    QColor accentFillPressed;
    /// The same, disabled.
    QColor disabledFill;
    /// Names, buttons.
    QColor text;
    /// Labels, status texts, icons.
    QColor text2;
    /// Icons and arrow of list rows at rest.
    QColor text3;
    /// Text of disabled items.
    QColor disabled;
    /// Selected icon, focus ring, tab line, check.
    QColor accent;
    /// Filled status dot.
    QColor online;
    /// Hollow status dot.
    QColor offline;
    /// Connection without an endpoint.
    QColor missing;
    /// Delete icons while hovered, text of a delete button.
    QColor danger;
    /// Triangle of a warning.
    QColor warning;
    /// Dividers.
    QColor hairline;
    /// Outline of pop-ups, badge, sheets; scroll handles.
    QColor edge;
    /// Tooltip.
    QColor tip;
    /// Text of a tooltip.
    QColor tipInk;
    /// Text of a primary button.
    QColor accentInk;
    /// Drawn over the window behind a dialog.
    QColor scrim;

    /// The theme of an appearance.
    [[nodiscard]] static const Theme& of(AppAppearanceMode mode);
};

}  // namespace corvel::ui
