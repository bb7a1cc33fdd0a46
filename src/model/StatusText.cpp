#include "model/StatusText.h"

namespace quorvel::model {

namespace {

std::string addressLines(const Share& share, const std::optional<std::string>& lanAddress) {
    const std::string local = shareLink(share, loopbackHost);
    if (!lanAddress) return "Address: " + local;
    return "Network: " + shareLink(share, *lanAddress) + "\nLocal:   " + local;
}

std::string accessLine(const Share& share) {
    if (!share.login) return "Access:  open (no login required)";
    return "Login:   " + share.login->user + " / " + share.login->pass;
}

} // namespace

std::string statusText(const State& state, std::string_view primaryURL) {
    switch (state.kind) {
    case State::Case::stopped:
        return "Server stopped";
    case State::Case::starting:
        return "Starting…";
    case State::Case::running:
        return primaryURL.empty() ? "Server running" : "Serving " + std::string(primaryURL);
    case State::Case::failed:
        return "Error: " + state.message;
    }
    return {};
}

std::string runningInfoText(const Share& share, const std::optional<std::string>& lanAddress,
                            std::string_view folderPath) {
    std::string text(rawValue(share.type));
    text += " server is running.\n";
    text += addressLines(share, lanAddress);
    text += "\nFolder:  ";
    text += folderPath;
    return text + '\n' + accessLine(share);
}

} // namespace quorvel::model
