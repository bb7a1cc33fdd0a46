#include "model/ChangeNotifier.h"

#include <utility>

namespace quorvel::model {

Subscription ChangeNotifier::subscribe(Observer observer) {
    auto subscription = std::make_shared<const Observer>(std::move(observer));
    observers_.push_back(subscription);
    return subscription;
}

void ChangeNotifier::notify() {
    std::erase_if(observers_, [](const auto& observer) { return observer.expired(); });
    // A copy, because an observer may change the list, or release the owner of this object.
    const auto observers = observers_;
    for (const auto& observer : observers)
        if (const auto subscribed = observer.lock()) (*subscribed)();
}

} // namespace quorvel::model
