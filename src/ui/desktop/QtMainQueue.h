#pragma once

#include "model/MainQueue.h"

#include <QObject>
#include <chrono>

namespace quorvel::ui {

/// The main queue on Qt's event loop. Must be created and destroyed on the main thread, while a
/// QCoreApplication exists; tasks still pending on destruction are dropped.
class QtMainQueue final : public model::MainQueue {
  public:
    void post(platform::Task task) override;
    void postAfter(std::chrono::milliseconds delay, platform::Task task) override;

  private:
    QObject receiver_;
};

} // namespace quorvel::ui
