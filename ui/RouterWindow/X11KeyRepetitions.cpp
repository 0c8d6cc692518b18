#include "ui/RouterWindow/X11KeyRepetitions.hpp"

#include <QCoreApplication>
#include <QKeyEvent>
#include <xcb/xcb.h>

namespace corvel::ui {

X11KeyRepetitions::X11KeyRepetitions() {
    QCoreApplication::instance()->installNativeEventFilter(this);
}

X11KeyRepetitions::~X11KeyRepetitions() {
    QCoreApplication::instance()->removeNativeEventFilter(this);
}

bool X11KeyRepetitions::contain(const QKeyEvent& press) {
    instants_.erase(instants_.begin(), instants_.lower_bound(press.timestamp()));
    return instants_.contains(press.timestamp());
}

bool X11KeyRepetitions::nativeEventFilter(const QByteArray& eventType, void* message, qintptr* /*result*/) {
    if (eventType != "xcb_generic_event_t") {
        return false;
    }
    // The highest bit tells events that another program sent.
    constexpr unsigned kTypeBits = 0x7F;
    const unsigned type = static_cast<const xcb_generic_event_t*>(message)->response_type & kTypeBits;
    if (type == XCB_KEY_RELEASE || type == XCB_KEY_PRESS) {
        const auto& key = *static_cast<const xcb_key_press_event_t*>(message);
        if (type == XCB_KEY_RELEASE) {
            releasedKey_ = key.detail;
            releasedAt_ = key.time;
        } else if (key.detail == releasedKey_ && key.time == releasedAt_) {
            instants_.insert(key.time);
        }
    }
    return false;
}

}  // namespace corvel::ui
