#pragma once

#include "model/Pasteboard.h"
#include "model/ServerModel.h"

#include <chrono>
#include <functional>
#include <memory>

namespace quorvel::model {

/// Copies the share text of the model's copy format and confirms it for a moment. One for each
/// window that offers it; main thread.
class CopyAction final : public std::enable_shared_from_this<CopyAction> {
  public:
    static constexpr std::chrono::milliseconds confirmationTime{1200};

    static std::shared_ptr<CopyAction> create(std::shared_ptr<ServerModel> model,
                                              std::shared_ptr<Pasteboard> pasteboard,
                                              std::shared_ptr<MainQueue> mainQueue);

    /// Does nothing while no server runs. Every copy ends the confirmation after its own 1.2 s,
    /// also that of a later copy.
    void copyCurrentLink();
    /// What choosing a format does: stores it, then copies in it.
    void chooseFormat(CopyFormat format);

    /// Whether the confirmation is to be shown.
    bool didCopy() const { return didCopy_; }
    /// Called after every assignment to `didCopy`.
    std::function<void()> onChange;

  private:
    CopyAction(std::shared_ptr<ServerModel> model, std::shared_ptr<Pasteboard> pasteboard,
               std::shared_ptr<MainQueue> mainQueue);
    void setDidCopy(bool didCopy);

    const std::shared_ptr<ServerModel> model_;
    const std::shared_ptr<Pasteboard> pasteboard_;
    const std::shared_ptr<MainQueue> mainQueue_;
    bool didCopy_ = false;
};

} // namespace quorvel::model
