#pragma once

#include <functional>
#include <memory>
#include <vector>

namespace quorvel::model {

/// An observer is called for as long as its subscription is kept.
using Subscription = std::shared_ptr<const void>;

/// Tells any number of observers that something has changed. One thread. Observers may
/// subscribe, unsubscribe and cause further changes while they are told.
class ChangeNotifier {
  public:
    using Observer = std::function<void()>;

    [[nodiscard]] Subscription subscribe(Observer observer);
    void notify();

  private:
    std::vector<std::weak_ptr<const Observer>> observers_;
};

} // namespace quorvel::model
