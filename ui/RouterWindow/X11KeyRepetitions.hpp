#pragma once

#include <QAbstractNativeEventFilter>
#include <QByteArray>

#include <set>

class QKeyEvent;

namespace corvel::ui {

/// Knows which key presses X11 made by itself because a key is held down. It releases and presses such a key at the
/// same instant; the toolkit finds that out only if both events have come when it looks at the first, and reports a
/// new press otherwise, as on a busy machine. Elsewhere the toolkit repeats keys itself and this knows of none.
class X11KeyRepetitions final : public QAbstractNativeEventFilter {
public:
    X11KeyRepetitions();
    ~X11KeyRepetitions() override;

    X11KeyRepetitions(const X11KeyRepetitions&) = delete;
    X11KeyRepetitions& operator=(const X11KeyRepetitions&) = delete;

    /// Whether X11 made this press, as it still bears the server's time. Forgets all earlier ones.
    [[nodiscard]] bool contain(const QKeyEvent& press);

    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;

private:
    unsigned releasedKey_ = 0;
    quint64 releasedAt_ = 0;
    /// The instants of repetitions, in the server's milliseconds.
    std::set<quint64> instants_;
};

}  // namespace corvel::ui
