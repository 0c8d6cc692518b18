#include "ui/RouterWindow/ShortcutMonitor.hpp"

#include "ui/RouterWindow/KeyEventShortcut.hpp"
#include "ui/controls/AlertDialog.hpp"

#include <QApplication>
#include <QKeyEvent>
#include <QWidget>

namespace corvel::ui {

namespace {

/// Identifies a key while it is down: by its position, or by its meaning if the event does not have the position.
std::uint64_t identity(const QKeyEvent& event) {
    return event.nativeScanCode() != 0 ? event.nativeScanCode() : static_cast<std::uint64_t>(event.key()) << 32U;
}

/// Whether a question or a text field now takes the keys. An open menu does not stop shortcuts.
bool areKeysSpokenFor() {
    const QWidget* const focus = QApplication::focusWidget();
    return AlertDialog::isAnyOpen() || (focus != nullptr && focus->testAttribute(Qt::WA_InputMethodEnabled));
}

}  // namespace

ShortcutMonitor::ShortcutMonitor(MIDIRouterViewModel& model) : model_(model) {
    QCoreApplication::instance()->installEventFilter(this);
}

ShortcutMonitor::~ShortcutMonitor() {
    QCoreApplication::instance()->removeEventFilter(this);
}

bool ShortcutMonitor::takes(const QKeyEvent& event) {
    if (areKeysSpokenFor()) {
        return false;
    }
    const auto shortcut = shortcutForKeyEvent(event);
    return shortcut && model_.handleShortcut(*shortcut);
}

bool ShortcutMonitor::eventFilter(QObject* watched, QEvent* event) {
    const QEvent::Type type = event->type();
    if (!watched->isWindowType() ||
        (type != QEvent::ShortcutOverride && type != QEvent::KeyPress && type != QEvent::KeyRelease)) {
        return false;
    }
    const auto& key = static_cast<const QKeyEvent&>(*event);
    if (type == QEvent::ShortcutOverride && !key.isAutoRepeat()) {
        takenKeys_.erase(identity(key));
        if (takes(key)) {
            takenKeys_.insert(identity(key));
        }
    }
    const bool isTaken = takenKeys_.contains(identity(key));
    if (isTaken) {
        event->accept();
    }
    return isTaken;
}

}  // namespace corvel::ui
