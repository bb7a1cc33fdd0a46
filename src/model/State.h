#pragma once

#include <string>
#include <utility>

namespace quorvel::model {

/// The state of the server. States are equal if their cases and messages are.
struct State {
    enum class Case {
        failed,   ///< The last start or the running server failed; `message` says why.
        stopped,  ///< No server.
        starting, ///< A server was told to start and does not listen yet.
        running,  ///< The server listens.
    };

    Case kind = Case::stopped;
    /// For the user; empty in every case but `failed`.
    std::string message;

    static State failed(std::string why) { return {Case::failed, std::move(why)}; }

    bool isActive() const { return kind == Case::starting || kind == Case::running; }

    bool operator==(const State&) const = default;
};

} // namespace quorvel::model
