#pragma once

#include "model/Pasteboard.h"
#include "model/ServerModel.h"

#include <chrono>
#include <functional>
#include <memory>

namespace quorvel::model {

/// Copies the share text in the model's copy format and shows a confirmation for a moment. Each
/// window that offers it has its own. Main thread.
class CopyAction final : public std::enable_shared_from_this<CopyAction> {
  public:
    static constexpr std::chrono::milliseconds confirmationTime{1200};

    static std::shared_ptr<CopyAction> create(std::shared_ptr<ServerModel> model,
                                              std::shared_ptr<Pasteboard> pasteboard,
                                              std::shared_ptr<MainQueue> mainQueue);

    /// Does nothing while no server runs. Each copy ends the confirmation after 1.2 s, even that
    /// of a later copy.
    void copyCurrentLink();
    /// Stores the format, then copies in it.
    void chooseFormat(CopyFormat format);

    /// Whether to show the confirmation.
    bool didCopy() const { return didCopy_; }
    /// Called whenever `didCopy` is set, even to the same value.
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
