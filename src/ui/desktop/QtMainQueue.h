#pragma once

#include "model/MainQueue.h"

#include <QObject>

namespace quorvel::ui {

/// The main thread's queue on Qt's event loop. To be made and destroyed on the main thread, while
/// there is a QCoreApplication; what is still waiting then is dropped.
class QtMainQueue final : public model::MainQueue {
  public:
    void post(platform::Task task) override;
    void postAfter(std::chrono::milliseconds delay, platform::Task task) override;

  private:
    QObject receiver_;
};

} // namespace quorvel::ui
