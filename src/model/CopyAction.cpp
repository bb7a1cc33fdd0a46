#include "model/CopyAction.h"

#include "server/Weakly.h"

#include <utility>

namespace quorvel::model {

std::shared_ptr<CopyAction> CopyAction::create(std::shared_ptr<ServerModel> model,
                                               std::shared_ptr<Pasteboard> pasteboard,
                                               std::shared_ptr<MainQueue> mainQueue) {
    return std::shared_ptr<CopyAction>(
        new CopyAction(std::move(model), std::move(pasteboard), std::move(mainQueue)));
}

CopyAction::CopyAction(std::shared_ptr<ServerModel> model, std::shared_ptr<Pasteboard> pasteboard,
                       std::shared_ptr<MainQueue> mainQueue)
    : model_(std::move(model)), pasteboard_(std::move(pasteboard)),
      mainQueue_(std::move(mainQueue)) {}

void CopyAction::copyCurrentLink() {
    if (model_->primaryURL().empty()) return;
    pasteboard_->setText(model_->copyText(model_->copyFormat()));
    setDidCopy(true);
    mainQueue_->postAfter(confirmationTime, server::weakly(weak_from_this(), [](CopyAction& self) {
                              self.setDidCopy(false);
                          }));
}

void CopyAction::chooseFormat(CopyFormat format) {
    model_->setCopyFormat(format);
    copyCurrentLink();
}

void CopyAction::setDidCopy(bool didCopy) {
    didCopy_ = didCopy;
    if (onChange) onChange();
}

} // namespace quorvel::model
