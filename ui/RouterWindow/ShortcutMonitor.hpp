#pragma once

#include "app/MIDIRouterViewModel.hpp"

#include <QObject>

#include <cstdint>
#include <set>

class QKeyEvent;

namespace corvel::ui {

/// Hands every key press of the application to the model before any view or menu sees it, for as long as it exists: a
/// performer's shortcut works wherever the focus is, but not while typing a text or answering a question.
///
/// Keys are looked at where they enter a window and while they still can be taken from the menu's shortcuts; the press
/// that follows is then withheld, and so are its repetitions; `HeldKeys` has to come first, which tells what is one.
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
    /// The keys whose latest press was a shortcut's. A release does not end that: it may be half of a repetition.
    std::set<std::uint64_t> takenKeys_;
};

}  // namespace corvel::ui
