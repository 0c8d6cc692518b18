#pragma once

#include <QAccessible>

class QWidget;

/// What assistive technologies see of the window's own controls.
namespace corvel::ui {

/// Gives a widget without an interface of its own this role. To be called before anyone asks for its interface.
void setAccessibleRole(QWidget& widget, QAccessible::Role role);

/// Has every `LookButton` seen in its role and states. Once is enough; more does no harm.
void installControlAccessibility();

/// Has screen readers read a text out that shows in a widget of the role `Notification`; its name is the text.
void announce(QWidget& notification);

}  // namespace corvel::ui
