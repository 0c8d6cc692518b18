#pragma once

#include "ui/RouterWindow/X11KeyRepetitions.hpp"

#include <QObject>

class QKeyEvent;

namespace corvel::ui {

/// Makes a held key act only once in the whole application, while this object exists.
///
/// Otherwise a key under a resting hand would press a button again and again, and answer the question that its first
/// press opened. Repetitions reach views only if they move the focus, scroll, or type into a text. They are filtered
/// where they enter a window, whatever the window shows.
class HeldKeys final : public QObject {
    Q_OBJECT

public:
    /// Comes before every event filter of the application that was installed earlier.
    HeldKeys();
    ~HeldKeys() override;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    [[nodiscard]] bool isRepetition(const QKeyEvent& event);

    X11KeyRepetitions repetitions_;
};

}  // namespace corvel::ui
