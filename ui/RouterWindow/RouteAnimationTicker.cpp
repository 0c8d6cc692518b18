#include "ui/RouterWindow/RouteAnimationTicker.hpp"

#include <chrono>
#include <utility>

namespace corvel::ui {

namespace {

/// A sixtieth of a second. Timers count whole milliseconds; 17 ms would sometimes skip a frame of the screen.
constexpr std::chrono::milliseconds kInterval(16);

}  // namespace

RouteAnimationTicker::RouteAnimationTicker(std::shared_ptr<const Clock> clock, QObject* parent)
    : QObject(parent), clock_(std::move(clock)), now_(clock_->now()) {
    timer_.setTimerType(Qt::PreciseTimer);
    timer_.setInterval(kInterval);
    connect(&timer_, &QTimer::timeout, this, &RouteAnimationTicker::tick);
}

void RouteAnimationTicker::start() {
    if (!timer_.isActive()) {
        timer_.start();
    }
}

void RouteAnimationTicker::stop() {
    timer_.stop();
}

void RouteAnimationTicker::tick() {
    now_ = clock_->now();
    emit nowChanged();
}

}  // namespace corvel::ui
