#pragma once

#include <functional>
#include <memory>
#include <vector>

namespace quorvel::model {

/// An observer is called as long as its subscription exists.
using Subscription = std::shared_ptr<const void>;

/// Notifies any number of observers of a change. Not thread-safe. Observers may subscribe,
/// unsubscribe and cause further changes while being notified.
class ChangeNotifier {
  public:
    using Observer = std::function<void()>;

    [[nodiscard]] Subscription subscribe(Observer observer);
    void notify();

  private:
    std::vector<std::weak_ptr<const Observer>> observers_;
};

} // namespace quorvel::model
