#include "ui/RouterWindow/RouteAnimationTicker.hpp"

#include <array>
#include <utility>

namespace corvel::ui {

namespace {

/// Timers count whole milliseconds; these three come to three sixtieths of a second.
constexpr std::array<int, 3> kIntervals{17, 17, 16};

}  // namespace

RouteAnimationTicker::RouteAnimationTicker(std::shared_ptr<const Clock> clock, QObject* parent)
    : QObject(parent), clock_(std::move(clock)), now_(clock_->now()) {
    timer_.setTimerType(Qt::PreciseTimer);
    connect(&timer_, &QTimer::timeout, this, [this] {
        startInterval();
        tick();
    });
}

void RouteAnimationTicker::start() {
    if (!timer_.isActive()) {
        startInterval();
    }
}

void RouteAnimationTicker::stop() {
    timer_.stop();
}

void RouteAnimationTicker::tick() {
    now_ = clock_->now();
    emit nowChanged();
}

void RouteAnimationTicker::startInterval() {
    intervalIndex_ = (intervalIndex_ + 1) % kIntervals.size();
    timer_.start(kIntervals[intervalIndex_]);
}

}  // namespace corvel::ui
