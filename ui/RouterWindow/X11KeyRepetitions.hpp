#pragma once

#include <QAbstractNativeEventFilter>
#include <QByteArray>

#include <cstdint>
#include <set>
#include <utility>

class QKeyEvent;

namespace corvel::ui {

/// Knows which key events X11 made by itself because a key is held down. It releases and presses such a key at the same
/// instant; the toolkit finds that out only if both events have come when it looks at the first, and reports a new
/// press otherwise, as on a busy machine. Elsewhere the toolkit repeats keys itself and this knows of none.
class X11KeyRepetitions final : public QAbstractNativeEventFilter {
public:
    X11KeyRepetitions();
    ~X11KeyRepetitions() override;

    X11KeyRepetitions(const X11KeyRepetitions&) = delete;
    X11KeyRepetitions& operator=(const X11KeyRepetitions&) = delete;

    /// Whether X11 made this press or release, as it still bears the server's time. Forgets all earlier ones.
    [[nodiscard]] bool contain(const QKeyEvent& event);

    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;

private:
    /// When, in the server's milliseconds, and which key.
    using Moment = std::pair<quint64, std::uint32_t>;

    Moment released_;
    std::set<Moment> repetitions_;
};

}  // namespace corvel::ui
