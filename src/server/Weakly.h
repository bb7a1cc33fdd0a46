#pragma once

#include <memory>
#include <utility>

namespace quorvel::server {

/// Wraps a step for later: it runs with the owner if that still exists, else it is skipped.
template <class Owner, class Step>
auto weakly(std::weak_ptr<Owner> owner, Step step) {
    return [owner = std::move(owner),
            step = std::move(step)]<class... Arguments>(Arguments&&... arguments) mutable {
        if (const auto alive = owner.lock()) step(*alive, std::forward<Arguments>(arguments)...);
    };
}

} // namespace quorvel::server
