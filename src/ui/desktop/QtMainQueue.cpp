#include "ui/desktop/QtMainQueue.h"

#include <QTimer>
#include <chrono>
#include <memory>
#include <utility>

namespace quorvel::ui {

namespace {

/// Qt requires a copyable callable.
auto copyable(platform::Task task) {
    return [shared = std::make_shared<platform::Task>(std::move(task))] { (*shared)(); };
}

} // namespace

void QtMainQueue::post(platform::Task task) {
    QMetaObject::invokeMethod(&receiver_, copyable(std::move(task)), Qt::QueuedConnection);
}

void QtMainQueue::postAfter(std::chrono::milliseconds delay, platform::Task task) {
    QTimer::singleShot(delay, Qt::PreciseTimer, &receiver_, copyable(std::move(task)));
}

} // namespace quorvel::ui
