#pragma once

#include <memory>
#include <utility>

namespace quorvel::server {

/// Binds a step of a server for later: it runs with the server while that exists, and is dropped
/// in silence afterwards. What the step holds besides, a session or a connection, it holds
/// strongly.
template <class Owner, class Step>
auto weakly(std::weak_ptr<Owner> owner, Step step) {
    return [owner = std::move(owner),
            step = std::move(step)]<class... Arguments>(Arguments&&... arguments) mutable {
        if (const auto alive = owner.lock()) step(*alive, std::forward<Arguments>(arguments)...);
    };
}

/// The same, with something to do when the server is gone.
template <class Owner, class Step, class Otherwise>
auto weakly(std::weak_ptr<Owner> owner, Step step, Otherwise otherwise) {
    return
        [owner = std::move(owner), step = std::move(step),
         otherwise = std::move(otherwise)]<class... Arguments>(Arguments&&... arguments) mutable {
            if (const auto alive = owner.lock())
                step(*alive, std::forward<Arguments>(arguments)...);
            else
                otherwise();
        };
}

} // namespace quorvel::server
