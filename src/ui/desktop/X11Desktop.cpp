#include "ui/desktop/X11Desktop.h"

#include <QGuiApplication>
#include <QWindow>
#include <cstdlib>
#include <memory>
#include <string_view>
#include <xcb/xcb.h>

namespace quorvel::ui {

namespace {

struct Freed {
    void operator()(void* reply) const { std::free(reply); }
};

xcb_connection_t* connection() {
    const auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    return x11 != nullptr ? x11->connection() : nullptr;
}

xcb_window_t rootWindow(xcb_connection_t* server) {
    return xcb_setup_roots_iterator(xcb_get_setup(server)).data->root;
}

xcb_atom_t atom(xcb_connection_t* server, std::string_view name) {
    const auto request =
        xcb_intern_atom(server, 0, static_cast<std::uint16_t>(name.size()), name.data());
    const std::unique_ptr<xcb_intern_atom_reply_t, Freed> reply(
        xcb_intern_atom_reply(server, request, nullptr));
    return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

bool announces(xcb_atom_t selection, xcb_atom_t managerMessage, const xcb_generic_event_t& event) {
    if ((event.response_type & 0x7f) != XCB_CLIENT_MESSAGE) return false;
    const auto& message = reinterpret_cast<const xcb_client_message_event_t&>(event);
    return message.type == managerMessage && message.data.data32[1] == selection;
}

bool ends(xcb_window_t window, const xcb_generic_event_t& event) {
    if ((event.response_type & 0x7f) != XCB_DESTROY_NOTIFY) return false;
    return reinterpret_cast<const xcb_destroy_notify_event_t&>(event).window == window;
}

} // namespace

X11Desktop::X11Desktop() {
    auto* server = connection();
    if (server == nullptr) return;
    managerMessage_ = atom(server, "MANAGER");
    traySelection_ = atom(server, "_NET_SYSTEM_TRAY_S0");
    // Qt listens on the root window, where a tray announces itself (ICCCM, manager selections).
    qGuiApp->installNativeEventFilter(this);
}

X11Desktop::~X11Desktop() {
    if (qGuiApp != nullptr) qGuiApp->removeNativeEventFilter(this);
}

bool X11Desktop::hasTray() {
    auto* server = connection();
    if (server == nullptr) return false;
    const auto request = xcb_get_selection_owner(server, traySelection_);
    const std::unique_ptr<xcb_get_selection_owner_reply_t, Freed> reply(
        xcb_get_selection_owner_reply(server, request, nullptr));
    tray_ = reply ? reply->owner : xcb_window_t{XCB_WINDOW_NONE};
    if (tray_ == XCB_WINDOW_NONE) return false;
    const std::uint32_t events = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    xcb_change_window_attributes(server, tray_, XCB_CW_EVENT_MASK, &events);
    return true;
}

bool X11Desktop::nativeEventFilter(const QByteArray& type, void* message, qintptr*) {
    if (type != "xcb_generic_event_t") return false;
    const auto& event = *static_cast<const xcb_generic_event_t*>(message);
    const bool gone = tray_ != XCB_WINDOW_NONE && ends(tray_, event);
    if ((gone || announces(traySelection_, managerMessage_, event)) && onTrayChange) onTrayChange();
    return false;
}

void X11Desktop::activate(const QWindow& window) {
    auto* server = connection();
    if (server == nullptr) return;
    constexpr std::uint32_t askedForByUser = 2;
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = static_cast<xcb_window_t>(window.winId());
    message.type = atom(server, "_NET_ACTIVE_WINDOW");
    message.data.data32[0] = askedForByUser;
    xcb_send_event(server, 0, rootWindow(server),
                   XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                   reinterpret_cast<const char*>(&message));
    xcb_flush(server);
}

} // namespace quorvel::ui
