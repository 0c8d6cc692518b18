#include "ui/WindowActivation.hpp"

#include <QByteArray>
#include <QGuiApplication>
#include <xcb/xcb.h>

#include <charconv>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

namespace corvel::ui {

namespace {

struct Free {
    void operator()(void* memory) const { std::free(memory); }  // NOLINT(cppcoreguidelines-no-malloc)
};

xcb_atom_t atom(xcb_connection_t* connection, std::string_view name) {
    const xcb_intern_atom_cookie_t cookie =
        xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(name.size()), name.data());
    const std::unique_ptr<xcb_intern_atom_reply_t, Free> reply(xcb_intern_atom_reply(connection, cookie, nullptr));
    return reply != nullptr ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

void sendToRoot(xcb_connection_t* connection, const xcb_client_message_event_t& event, std::uint32_t mask) {
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
    xcb_send_event(connection, 0, root, mask, reinterpret_cast<const char*>(&event));
}

/// Asks the window manager for the keyboard focus, with the time of the user's action.
void requestFocus(xcb_connection_t* connection, xcb_window_t window, std::uint32_t time) {
    constexpr std::uint32_t kFromApplication = 1;
    xcb_client_message_event_t event{};
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = 32;
    event.window = window;
    event.type = atom(connection, "_NET_ACTIVE_WINDOW");
    event.data.data32[0] = kFromApplication;
    event.data.data32[1] = time;
    sendToRoot(connection, event, XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT);
}

/// Tells the desktop that the start with this token is complete, so that the pointer stops showing that it waits.
void endStartup(xcb_connection_t* connection, xcb_window_t window, std::string_view token) {
    const std::string message = "remove: ID=" + std::string(token);
    const xcb_atom_t begin = atom(connection, "_NET_STARTUP_INFO_BEGIN");
    const xcb_atom_t more = atom(connection, "_NET_STARTUP_INFO");
    xcb_client_message_event_t event{};
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = 8;
    event.window = window;
    // In pieces of 20 bytes, including the terminating zero byte.
    for (std::size_t sent = 0; sent <= message.size(); sent += sizeof event.data.data8) {
        const std::string_view piece = std::string_view(message).substr(sent, sizeof event.data.data8);
        event.type = sent == 0 ? begin : more;
        event.data = {};
        std::memcpy(event.data.data8, piece.data(), piece.size());
        sendToRoot(connection, event, XCB_EVENT_MASK_PROPERTY_CHANGE);
    }
}

}  // namespace

std::optional<std::uint32_t> userTime(std::string_view token) {
    constexpr std::string_view kMark = "_TIME";
    const std::size_t mark = token.rfind(kMark);
    if (mark == std::string_view::npos) {
        return std::nullopt;
    }
    const std::string_view digits = token.substr(mark + kMark.size());
    std::uint32_t time = 0;
    const auto result = std::from_chars(digits.data(), digits.data() + digits.size(), time);
    return result.ec == std::errc() && result.ptr == digits.data() + digits.size() ? std::optional(time) : std::nullopt;
}

void activateWindow(QWidget& window, std::string_view token) {
    if (const auto* const x11 = qApp->nativeInterface<QNativeInterface::QX11Application>();
        x11 != nullptr && !token.empty()) {
        const auto id = static_cast<xcb_window_t>(window.winId());
        endStartup(x11->connection(), id, token);
        if (const auto time = userTime(token)) {
            requestFocus(x11->connection(), id, *time);
            xcb_flush(x11->connection());
            return;
        }
    } else if (!token.empty()) {
        // The toolkit passes it to the compositor with its next request.
        qputenv("XDG_ACTIVATION_TOKEN", QByteArray(token.data(), static_cast<qsizetype>(token.size())));
    }
    window.activateWindow();
}

}  // namespace corvel::ui
