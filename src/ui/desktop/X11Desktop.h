#pragma once

#include <QAbstractNativeEventFilter>
#include <cstdint>
#include <functional>

class QWindow;

namespace quorvel::ui {

/// What Qt does not do on an X11 desktop. On every other one nothing happens.
class X11Desktop final : public QAbstractNativeEventFilter {
  public:
    X11Desktop();
    ~X11Desktop() override;
    X11Desktop(const X11Desktop&) = delete;
    X11Desktop& operator=(const X11Desktop&) = delete;

    /// Whether a tray for embedded icons is there now. Its end is watched from then on.
    bool hasTray();
    /// Called when a tray has come, or the one that was there has gone.
    std::function<void()> onTrayChange;

    /// Brings the window forward, whatever the window manager thinks of windows that do so by
    /// themselves: the user asked for it (EWMH, _NET_ACTIVE_WINDOW, source indication 2).
    static void activate(const QWindow& window);

  private:
    bool nativeEventFilter(const QByteArray& type, void* message, qintptr* result) override;

    std::uint32_t managerMessage_ = 0;
    std::uint32_t traySelection_ = 0;
    std::uint32_t tray_ = 0;
};

} // namespace quorvel::ui
