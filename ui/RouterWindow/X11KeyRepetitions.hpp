#pragma once

#include <QAbstractNativeEventFilter>
#include <QByteArray>

#include <cstdint>
#include <set>
#include <utility>

class QKeyEvent;

namespace corvel::ui {

/// Recognises key events that X11 generates because a key is held down. X11 releases and presses the key at the same
/// instant. The toolkit notices that only if both events have arrived when it handles the first; otherwise, for example
/// on a busy machine, it reports a new press. On other platforms the toolkit repeats keys itself and this object
/// recognises none.
class X11KeyRepetitions final : public QAbstractNativeEventFilter {
public:
    X11KeyRepetitions();
    ~X11KeyRepetitions() override;

    X11KeyRepetitions(const X11KeyRepetitions&) = delete;
    X11KeyRepetitions& operator=(const X11KeyRepetitions&) = delete;

    /// Whether X11 generated this press or release, by the server's time in the event. Forgets all earlier ones.
    [[nodiscard]] bool contain(const QKeyEvent& event);

    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;

private:
    /// The server's time in milliseconds, and the key.
    using Moment = std::pair<quint64, std::uint32_t>;

    Moment released_;
    std::set<Moment> repetitions_;
};

}  // namespace corvel::ui
