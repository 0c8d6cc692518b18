#pragma once

#include "app/MIDIRouterViewModel.hpp"

#include <QObject>

#include <cstdint>
#include <set>

class QKeyEvent;

namespace corvel::ui {

/// While it exists, passes every key press of the application to the model before any view or menu: a shortcut works
/// wherever the focus is, except while the user types a text or answers a question.
///
/// It handles keys as they enter a window, before the menu's shortcuts, and then drops the press that follows and its
/// repetitions. `HeldKeys` must come first, because it recognises repetitions.
class ShortcutMonitor final : public QObject {
    Q_OBJECT

public:
    explicit ShortcutMonitor(MIDIRouterViewModel& model);
    ~ShortcutMonitor() override;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    [[nodiscard]] bool takes(const QKeyEvent& event);

    MIDIRouterViewModel& model_;
    /// The keys whose latest press was a shortcut. A release does not remove a key, because it may be part of a
    /// repetition.
    std::set<std::uint64_t> takenKeys_;
};

}  // namespace corvel::ui
