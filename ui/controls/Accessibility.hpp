#pragma once

#include <QAccessible>

class QWidget;

/// How assistive technologies see the window's own controls.
namespace corvel::ui {

/// Gives this role to a widget without an interface of its own. Must be called before its interface is first used.
void setAccessibleRole(QWidget& widget, QAccessible::Role role);

/// Makes assistive technologies see the role and states of every `LookButton`. May be called more than once.
void installControlAccessibility();

/// Makes screen readers read out a widget of the role `Notification`; its name is the text.
void announce(QWidget& notification);

}  // namespace corvel::ui
