#pragma once

#include "model/FolderChooser.h"
#include "model/Pasteboard.h"
#include "model/ServerFactory.h"

#include <memory>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

namespace quorvel::test {

/// Starts as it is told to, and reports when the test calls `onReady` and `onError`.
class FakeServer final : public server::FolderServer {
  public:
    platform::Result<> start() override {
        ++startCount;
        return outcome;
    }
    void stop() override { ++stopCount; }

    model::ServerType type{};
    std::string root;
    std::uint16_t port = 0;
    std::optional<server::Credentials> credentials;
    platform::Result<> outcome;
    int startCount = 0;
    int stopCount = 0;
};

/// Every server that a model made, alive or not; each starts with `outcome`. With `exhausted`
/// none can be made.
struct FakeServers {
    platform::Result<> outcome;
    std::error_code exhausted;
    std::vector<std::weak_ptr<FakeServer>> made;

    std::shared_ptr<FakeServer> last() const { return made.empty() ? nullptr : made.back().lock(); }

    /// The factory for `model::Services`; this object must outlive the model.
    model::ServerFactory factory() {
        return [this](model::ServerType type, std::string root, std::uint16_t port,
                      std::optional<server::Credentials> credentials) {
            if (exhausted) throw std::system_error(exhausted);
            const auto server = std::make_shared<FakeServer>();
            server->type = type;
            server->root = std::move(root);
            server->port = port;
            server->credentials = std::move(credentials);
            server->outcome = outcome;
            made.push_back(server);
            return server;
        };
    }
};

class FakePasteboard final : public model::Pasteboard {
  public:
    void setText(const std::string& text) override { texts.push_back(text); }

    std::vector<std::string> texts;
};

/// Answers every panel with `choice` and keeps what the panel said.
class FakeFolderChooser final : public model::FolderChooser {
  public:
    std::optional<std::string> chooseFolder(const model::FolderPanelTexts& texts) override {
        shown.push_back(texts.prompt + "|" + texts.message);
        return choice;
    }

    std::optional<std::string> choice;
    std::vector<std::string> shown;
};

} // namespace quorvel::test
