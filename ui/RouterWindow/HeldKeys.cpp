#include "ui/RouterWindow/HeldKeys.hpp"

#include <QApplication>
#include <QKeyEvent>
#include <QWidget>

namespace corvel::ui {

namespace {

/// Whether the key moves the focus or scrolls.
bool moves(const QKeyEvent& event) {
    if ((event.modifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier)) != Qt::NoModifier) {
        return false;
    }
    switch (event.key()) {
        case Qt::Key_Left:
        case Qt::Key_Right:
        case Qt::Key_Up:
        case Qt::Key_Down:
        case Qt::Key_PageUp:
        case Qt::Key_PageDown:
        case Qt::Key_Home:
        case Qt::Key_End:
        case Qt::Key_Tab:
        case Qt::Key_Backtab:
            return true;
        default:
            return false;
    }
}

/// Whether the key goes to a text field. Return and Escape do not: they belong to the dialog around it.
bool types(const QKeyEvent& event) {
    const QWidget* const focus = QApplication::focusWidget();
    const bool isForDialog =
        event.key() == Qt::Key_Return || event.key() == Qt::Key_Enter || event.key() == Qt::Key_Escape;
    return focus != nullptr && focus->testAttribute(Qt::WA_InputMethodEnabled) && !isForDialog;
}

}  // namespace

HeldKeys::HeldKeys() {
    QCoreApplication::instance()->installEventFilter(this);
}

HeldKeys::~HeldKeys() {
    QCoreApplication::instance()->removeEventFilter(this);
}

bool HeldKeys::isRepetition(const QKeyEvent& event) {
    return event.isAutoRepeat() || repetitions_.contain(event);
}

bool HeldKeys::eventFilter(QObject* watched, QEvent* event) {
    const QEvent::Type type = event->type();
    if (!watched->isWindowType() ||
        (type != QEvent::ShortcutOverride && type != QEvent::KeyPress && type != QEvent::KeyRelease)) {
        return false;
    }
    const auto& key = static_cast<const QKeyEvent&>(*event);
    if (!isRepetition(key)) {
        return false;
    }
    if (type == QEvent::ShortcutOverride) {
        // Accepting an override keeps the toolkit from looking for a shortcut.
        event->accept();
        return true;
    }
    // The release of a repetition would press the button that the space bar holds down.
    return type == QEvent::KeyRelease || (!moves(key) && !types(key));
}

}  // namespace corvel::ui
