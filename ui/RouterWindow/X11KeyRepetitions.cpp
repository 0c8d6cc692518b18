#include "ui/RouterWindow/X11KeyRepetitions.hpp"

#include <QCoreApplication>
#include <QGuiApplication>
#include <QKeyEvent>
#include <xcb/xcb.h>

#include <array>
#include <cstdlib>
#include <memory>

namespace corvel::ui {

namespace {

/// Whether the key is down at this moment, whatever the events say. Costs one request to the server.
bool isDown(xcb_keycode_t key) {
    const auto* const x11 =
        qGuiApp != nullptr ? qGuiApp->nativeInterface<QNativeInterface::QX11Application>() : nullptr;
    xcb_connection_t* const connection = x11 != nullptr ? x11->connection() : nullptr;
    if (connection == nullptr) {
        return false;
    }
    struct Free {
        void operator()(xcb_query_keymap_reply_t* reply) const { std::free(reply); }
    };
    const std::unique_ptr<xcb_query_keymap_reply_t, Free> keymap(
        xcb_query_keymap_reply(connection, xcb_query_keymap(connection), nullptr));
    if (keymap == nullptr) {
        return false;
    }
    constexpr unsigned kBitsOfByte = 8;
    const auto keys = std::to_array(keymap->keys);
    return ((keys.at(key / kBitsOfByte) >> (key % kBitsOfByte)) & 1U) != 0;
}

}  // namespace

X11KeyRepetitions::X11KeyRepetitions() {
    QCoreApplication::instance()->installNativeEventFilter(this);
}

X11KeyRepetitions::~X11KeyRepetitions() {
    QCoreApplication::instance()->removeNativeEventFilter(this);
}

bool X11KeyRepetitions::contain(const QKeyEvent& event) {
    repetitions_.erase(repetitions_.begin(), repetitions_.lower_bound({event.timestamp(), 0}));
    return repetitions_.contains({event.timestamp(), event.nativeScanCode()});
}

bool X11KeyRepetitions::nativeEventFilter(const QByteArray& eventType, void* message, qintptr* /*result*/) {
    if (eventType != "xcb_generic_event_t") {
        return false;
    }
    // The highest bit marks events that another program sent.
    constexpr unsigned kTypeBits = 0x7F;
    const unsigned type = static_cast<const xcb_generic_event_t*>(message)->response_type & kTypeBits;
    if (type != XCB_KEY_RELEASE && type != XCB_KEY_PRESS) {
        return false;
    }
    const auto& key = *static_cast<const xcb_key_press_event_t*>(message);
    const Moment moment(key.time, key.detail);
    if (type == XCB_KEY_RELEASE) {
        released_ = moment;
    }
    // The press that belongs to a release may not have arrived yet. If the key is still down, the release is a
    // repetition's.
    if (type == XCB_KEY_RELEASE ? isDown(key.detail) : moment == released_) {
        repetitions_.insert(moment);
    }
    return false;
}

}  // namespace corvel::ui
