#include "program/window/ShowWatch.hpp"

#include <utility>

namespace corvel {

ShowWatch::ShowWatch(QWidget& window, Silence silence, SleepInhibitor& inhibitor)
    : window_(window), silence_(std::move(silence)), inhibitor_(inhibitor) {
    looks_.setInterval(kLookInterval);
    looks_.setTimerType(Qt::VeryCoarseTimer);
    connect(&looks_, &QTimer::timeout, this, &ShowWatch::look);
    window_.installEventFilter(this);
}

ShowWatch::~ShowWatch() {
    if (isInhibiting_) {
        inhibitor_.release();
    }
}

void ShowWatch::look() {
    const bool mayBeShow = fillsScreen();
    if (mayBeShow != looks_.isActive()) {
        if (mayBeShow) {
            looks_.start();
        } else {
            looks_.stop();
        }
    }
    const std::optional<std::chrono::nanoseconds> silence = mayBeShow ? silence_() : std::nullopt;
    const bool isShow = silence && *silence <= kLongestSilence;
    if (isShow == isInhibiting_) {
        return;
    }
    isInhibiting_ = isShow;
    if (isShow) {
        inhibitor_.inhibit();
    } else {
        inhibitor_.release();
    }
}

bool ShowWatch::eventFilter(QObject* watched, QEvent* event) {
    switch (event->type()) {
        case QEvent::WindowStateChange:
        case QEvent::Show:
        case QEvent::Hide:
            look();
            break;
        default:
            break;
    }
    return QObject::eventFilter(watched, event);
}

bool ShowWatch::fillsScreen() const {
    return window_.isVisible() && window_.isFullScreen() && !window_.isMinimized();
}

}  // namespace corvel
