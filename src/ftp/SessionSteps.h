#pragma once

#include "ftp/Session.h"

#include <cstdint>
#include <functional>
#include <new>
#include <utility>

namespace quorvel::ftp {

/// Runs the step; a session that there is too little memory for ends.
template <class Step>
void FTPFileServer::Session::whileMemoryLasts(Step step) {
    try {
        step();
    } catch (const std::bad_alloc&) {
        removeSession();
    }
}

template <class Value>
void FTPFileServer::Session::awaitDisk(
    std::uint64_t disk, std::move_only_function<platform::Result<Value>()> work,
    std::move_only_function<void(Session&, platform::Result<Value>)> step) {
    awaitsDisk_ = true;
    diskWork_ = context_->queue->workers()->run<Value>(
        {disk, control_->peerAddress()}, std::move(work),
        [self = shared_from_this(), step = std::move(step)](platform::Result<Value> value) mutable {
            self->awaitsDisk_ = false;
            self->whileMemoryLasts([&] { step(*self, std::move(value)); });
            self->handleLines();
        });
}

} // namespace quorvel::ftp
