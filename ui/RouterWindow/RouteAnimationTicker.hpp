#pragma once

#include "core/support/Clock.hpp"

#include <QObject>
#include <QTimer>

#include <memory>

namespace corvel::ui {

/// The instant that the stage shows. It advances 60 times a second, also while menus are open and windows are resized.
class RouteAnimationTicker : public QObject {
    Q_OBJECT

public:
    /// Has the clock's current instant until it is started.
    explicit RouteAnimationTicker(std::shared_ptr<const Clock> clock, QObject* parent = nullptr);

    /// The instant to show.
    [[nodiscard]] Instant now() const { return now_; }

    [[nodiscard]] bool isRunning() const { return timer_.isActive(); }

    /// Starts ticking; does nothing if it already ticks.
    void start();

    void stop();

    /// Advances to the clock's current instant.
    void tick();

signals:
    /// `now` was set, possibly to the same instant.
    void nowChanged();

private:
    const std::shared_ptr<const Clock> clock_;
    QTimer timer_;
    Instant now_;
};

}  // namespace corvel::ui
