#pragma once

#include <QAbstractNativeEventFilter>
#include <cstdint>
#include <functional>

class QWindow;

namespace quorvel::ui {

/// What Qt does not do on an X11 desktop. Does nothing on any other.
class X11Desktop final : public QAbstractNativeEventFilter {
  public:
    X11Desktop();
    ~X11Desktop() override;
    X11Desktop(const X11Desktop&) = delete;
    X11Desktop& operator=(const X11Desktop&) = delete;

    /// Whether there is a tray for embedded icons; if so, its end is watched from then on.
    bool hasTray();
    /// Called when a tray appears and when the watched one disappears.
    std::function<void()> onTrayChange;

    /// Brings the window to the front even if the window manager prevents focus stealing: the user
    /// asked for it (EWMH, _NET_ACTIVE_WINDOW, source indication 2).
    static void activate(const QWindow& window);

  private:
    bool nativeEventFilter(const QByteArray& type, void* message, qintptr* result) override;

    std::uint32_t managerMessage_ = 0;
    std::uint32_t traySelection_ = 0;
    std::uint32_t tray_ = 0;
};

} // namespace quorvel::ui
