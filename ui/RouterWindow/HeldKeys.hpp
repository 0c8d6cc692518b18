#pragma once

#include "ui/RouterWindow/X11KeyRepetitions.hpp"

#include <QObject>

class QKeyEvent;

namespace corvel::ui {

/// Has a key that is held down do its work once, in the whole application, for as long as this exists.
///
/// A key that rests under a hand would otherwise press a button again and again, and answer the question that its first
/// press asked. Repetitions reach views only where they move the focus, scroll, or type into a text. They are looked at
/// where they enter a window, so it does not matter what the window shows or which windows there are.
class HeldKeys final : public QObject {
    Q_OBJECT

public:
    /// Comes before every filter of the application that was installed earlier.
    HeldKeys();
    ~HeldKeys() override;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    [[nodiscard]] bool isRepetition(const QKeyEvent& event);

    X11KeyRepetitions repetitions_;
};

}  // namespace corvel::ui
