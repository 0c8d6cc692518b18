#pragma once

#include <QCoreApplication>
#include <QDragEnterEvent>
#include <QDragLeaveEvent>
#include <QDropEvent>
#include <QMimeData>
#include <QWidget>

/// A drag from elsewhere, as it reaches a widget.
namespace corvel::tests {

/// Moves a drag with this text onto the middle of the widget. Returns whether the widget accepts it.
inline bool dragOnto(QWidget& widget, const QString& text) {
    QMimeData data;
    data.setText(text);
    QDragEnterEvent enter(widget.rect().center(), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    enter.ignore();
    QCoreApplication::sendEvent(&widget, &enter);
    return enter.isAccepted();
}

inline void dragAway(QWidget& widget) {
    QDragLeaveEvent leave;
    QCoreApplication::sendEvent(&widget, &leave);
}

/// Drags data onto the middle of the widget and drops it there.
inline void drop(QWidget& widget, const QMimeData& data) {
    QDragEnterEvent enter(widget.rect().center(), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    enter.ignore();
    QCoreApplication::sendEvent(&widget, &enter);
    QDropEvent event(widget.rect().center(), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&widget, &event);
}

inline void drop(QWidget& widget, const QString& text) {
    QMimeData data;
    data.setText(text);
    drop(widget, data);
}

}  // namespace corvel::tests
