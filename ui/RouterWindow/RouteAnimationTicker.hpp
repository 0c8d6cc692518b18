#pragma once

#include "core/support/Clock.hpp"

#include <QObject>
#include <QTimer>

#include <memory>

namespace corvel::ui {

/// The instant that the stage shows, moved on 60 times a second. It goes on while menus are open and windows are
/// resized.
class RouteAnimationTicker : public QObject {
    Q_OBJECT

public:
    /// Stands at the clock's present instant until it is started.
    explicit RouteAnimationTicker(std::shared_ptr<const Clock> clock, QObject* parent = nullptr);

    /// The instant to show.
    [[nodiscard]] Instant now() const { return now_; }

    [[nodiscard]] bool isRunning() const { return timer_.isActive(); }

    /// Begins to tick; does nothing while it ticks.
    void start();

    void stop();

    /// Moves on to the clock's present instant.
    void tick();

signals:
    /// `now` has been set, though perhaps to the instant that it was.
    void nowChanged();

private:
    const std::shared_ptr<const Clock> clock_;
    QTimer timer_;
    Instant now_;
};

}  // namespace corvel::ui
