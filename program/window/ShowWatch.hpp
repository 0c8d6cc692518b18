#pragma once

#include "program/window/SleepInhibitor.hpp"

#include <QEvent>
#include <QObject>
#include <QTimer>
#include <QWidget>

#include <chrono>
#include <functional>
#include <optional>

namespace corvel {

/// Keeps the screen lit and the machine awake during a show: while the window fills the screen and messages are routed.
/// Ends ten minutes after the last message, or when the window no longer fills the screen.
///
/// Main thread only. The window and the inhibitor must outlive it.
class ShowWatch final : public QObject {
public:
    /// Maximum silence in a show.
    static constexpr std::chrono::minutes kLongestSilence{10};
    /// Time between two checks while the window fills the screen.
    static constexpr std::chrono::seconds kLookInterval{5};

    /// The time since the last routed message; no value if there was none.
    using Silence = std::function<std::optional<std::chrono::nanoseconds>()>;

    ShowWatch(QWidget& window, Silence silence, SleepInhibitor& inhibitor);
    ShowWatch(const ShowWatch&) = delete;
    ShowWatch& operator=(const ShowWatch&) = delete;
    ~ShowWatch() override;

    /// Checks whether there is a show. Called automatically when the window's state changes and at each interval.
    void look();

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    [[nodiscard]] bool fillsScreen() const;

    QWidget& window_;
    const Silence silence_;
    SleepInhibitor& inhibitor_;
    bool isInhibiting_ = false;
    QTimer looks_;
};

}  // namespace corvel
