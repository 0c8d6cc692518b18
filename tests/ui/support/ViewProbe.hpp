#pragma once

#include <QAbstractButton>
#include <QAccessible>
#include <QAccessibleActionInterface>
#include <QAnyStringView>
#include <QCoreApplication>
#include <QEventLoop>
#include <QLabel>
#include <QString>
#include <QStringList>
#include <QTextDocument>
#include <QTextFrame>
#include <QWidget>

#include <algorithm>
#include <chrono>
#include <ostream>
#include <stdexcept>
#include <string>

/// Prints a text as a text in failures. GoogleTest looks for this name.
inline void PrintTo(const QString& text, std::ostream* stream) {  // NOLINT(readability-identifier-naming)
    *stream << '"' << text.toStdString() << '"';
}

/// Finds views as users do: by their texts and by their names for screen readers.
namespace corvel::tests {

/// The widget's name for screen readers.
[[nodiscard]] inline QString accessibleName(QWidget& widget) {
    return QAccessible::queryAccessibleInterface(&widget)->text(QAccessible::Name);
}

/// The tooltip as it appears on the screen, with markup applied.
[[nodiscard]] inline QString shownToolTip(const QWidget& widget) {
    QString tip = widget.toolTip();
    if (!Qt::mightBeRichText(tip)) {
        return tip;
    }
    QTextDocument document;
    document.setHtml(tip);
    // A table has an invisible empty line before and after it.
    const bool isTable = !document.rootFrame()->childFrames().isEmpty();
    QString text = document.toPlainText();
    return isTable ? text.sliced(1).chopped(1) : text;
}

/// The view of a type with this name for screen readers, in the parent's window. After a colon the name may continue.
template <typename View>
[[nodiscard]] View& named(const QWidget& parent, QAnyStringView name) {
    const QString wanted = name.toString();
    for (View* const view : parent.findChildren<View*>()) {
        if (view->window() == parent.window() &&
            (accessibleName(*view) + QStringLiteral(": ")).startsWith(wanted + QStringLiteral(": "))) {
            return *view;
        }
    }
    throw std::runtime_error("nothing is named \"" + wanted.toStdString() + "\"");
}

[[nodiscard]] inline QAbstractButton& button(const QWidget& parent, QAnyStringView name) {
    return named<QAbstractButton>(parent, name);
}

/// The only view of a type.
template <typename View>
[[nodiscard]] View& only(const QWidget& parent) {
    const auto views = parent.findChildren<View*>();
    if (views.size() != 1) {
        throw std::runtime_error(std::to_string(views.size()) + " views where one is expected");
    }
    return *views.front();
}

/// The labels that are not hidden, from top to bottom and from left to right.
[[nodiscard]] inline QStringList labelTexts(const QWidget& parent) {
    QList<QLabel*> labels;
    for (QLabel* const label : parent.findChildren<QLabel*>()) {
        if (label->window() == parent.window() && label->isVisibleTo(&parent)) {
            labels.append(label);
        }
    }
    std::stable_sort(labels.begin(), labels.end(), [&parent](const QLabel* left, const QLabel* right) {
        const QPoint l = left->mapTo(&parent, QPoint());
        const QPoint r = right->mapTo(&parent, QPoint());
        return l.y() != r.y() ? l.y() < r.y() : l.x() < r.x();
    });
    QStringList texts;
    for (QLabel* const label : labels) {
        if (const QString text = accessibleName(*label); !text.isEmpty()) {
            texts.append(text);
        }
    }
    return texts;
}

/// Presses a button as a screen reader does, which takes a moment.
inline void pressAccessibly(QAbstractButton& button) {
    QAccessibleActionInterface* const actions = QAccessible::queryAccessibleInterface(&button)->actionInterface();
    if (actions == nullptr) {
        throw std::runtime_error("a button without actions");
    }
    bool isPressed = false;
    QObject context;
    QObject::connect(&button, &QAbstractButton::clicked, &context, [&isPressed] { isPressed = true; });
    actions->doAction(QAccessibleActionInterface::pressAction());
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(2);
    while (!isPressed && std::chrono::steady_clock::now() < deadline) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 20);
    }
    if (!isPressed) {
        throw std::runtime_error("a press has no effect");
    }
}

/// Whether the first view lies completely to the left of the second.
[[nodiscard]] inline bool isLeftOf(const QWidget& first, const QWidget& second) {
    return first.mapToGlobal(QPoint(first.width(), 0)).x() <= second.mapToGlobal(QPoint()).x();
}

}  // namespace corvel::tests
