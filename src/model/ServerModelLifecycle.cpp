#include "model/ServerModel.h"
#include "model/StatusText.h"
#include "platform/files/SharedFolder.h"
#include "server/Weakly.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <system_error>
#include <utility>

namespace quorvel::model {

void ServerModel::toggle() {
    if (state_.isActive()) return stop();
    start();
}

void ServerModel::start() {
    if (state_.isActive()) return;
    const auto folder = resolveFolderURL();
    if (!folder) return refuse("Choose a folder to share first.");
    if (!platform::isDirectory(*folder)) return refuse("The chosen folder no longer exists.");
    if (port_ < 1 || port_ > 65535) return refuse("Enter a port between 1 and 65535.");
    // If this fails, the start goes on: clients are told of each failure.
    if (platform::SharedFolder(*folder).find("")) accessedURL_ = folder;
    launch(*folder, static_cast<std::uint16_t>(port_));
}

void ServerModel::launch(const std::string& root, std::uint16_t port) {
    ServerPtr server;
    try {
        server = services_.makeServer(serverType_, root, port, share().login);
    } catch (const std::system_error& exhausted) {
        return fail(exhausted.code().message());
    }
    listenTo(server);
    server_ = server;
    state_ = {State::Case::starting};
    if (const auto started = server->start(); !started) return fail(started.error().message());
    changes_.notify();
}

void ServerModel::listenTo(const ServerPtr& server) {
    // The weak reference is locked on the main thread only, so the model never ends on another.
    const auto queue = services_.mainQueue;
    const auto self = weak_from_this();
    const std::weak_ptr<server::FolderServer> reporter = server;
    server->onReady = [queue, self, reporter] {
        queue->post(server::weakly(self, [reporter](ServerModel& model) {
            if (!model.wasReplaced(reporter)) model.serverDidBecomeReady();
        }));
    };
    server->onError = [queue, self, reporter](const std::string& message) {
        queue->post(server::weakly(self, [reporter, message](ServerModel& model) {
            if (!model.wasReplaced(reporter)) model.fail(message);
        }));
    };
}

// A report may arrive after its server was stopped and another one started. It must not affect
// that one.
bool ServerModel::wasReplaced(const std::weak_ptr<server::FolderServer>& server) const {
    return server_ && server_ != server.lock();
}

void ServerModel::serverDidBecomeReady() {
    if (state_ != State{State::Case::starting}) return;
    state_ = {State::Case::running};
    refreshInfo();
    changes_.notify();
}

void ServerModel::refreshInfo() {
    const auto lanAddress = services_.localIPv4Address();
    primaryURL_ = shareLink(share(), lanAddress.value_or(std::string(loopbackHost)));
    infoText_ = runningInfoText(share(), lanAddress, folderPath_);
}

void ServerModel::stop() {
    tearDown();
    state_ = {State::Case::stopped};
    primaryURL_.clear();
    infoText_.clear();
    changes_.notify();
}

/// Ends a start that failed a check, before a server was made.
void ServerModel::refuse(const std::string& message) {
    state_ = State::failed(message);
    infoText_ = message;
    changes_.notify();
}

void ServerModel::fail(const std::string& message) {
    tearDown();
    state_ = State::failed(message);
    primaryURL_.clear();
    infoText_ = "Error: " + message;
    changes_.notify();
}

void ServerModel::tearDown() {
    if (server_) server_->stop();
    server_.reset();
    accessedURL_.reset();
}

std::string ServerModel::statusText() const {
    return model::statusText(state_, primaryURL_);
}

Share ServerModel::share() const {
    Share share{serverType_, port_, std::nullopt};
    if (withLogin()) share.login = {username_, password_};
    return share;
}

std::string ServerModel::copyText(CopyFormat format) const {
    const std::string lanHost = services_.localIPv4Address().value_or(std::string(loopbackHost));
    switch (format) {
    case CopyFormat::networkLine:
        return shareLink(share(), lanHost);
    case CopyFormat::networkJSON:
        return shareJSON(share(), lanHost);
    case CopyFormat::localLine:
        return shareLink(share(), loopbackHost);
    case CopyFormat::localJSON:
        return shareJSON(share(), loopbackHost);
    }
    return {};
}

} // namespace quorvel::model
