#pragma once

#include "support/TemporaryFolder.h"

#include "model/Pasteboard.h"
#include "model/ServerModel.h"
#include "platform/files/SettingsStore.h"

#include <gtest/gtest.h>
#include <map>
#include <mutex>

namespace quorvel::model {

/// A main queue whose clock moves only in `advance`. Thread-safe; tasks run on the thread that
/// calls `advance`.
class VirtualMainQueue final : public MainQueue {
  public:
    void post(platform::Task task) override { postAfter({}, std::move(task)); }
    void postAfter(std::chrono::milliseconds delay, platform::Task task) override {
        const std::lock_guard lock(mutex_);
        tasks_.emplace(now_ + delay, std::move(task));
    }
    /// Runs what falls due in this time, by due time, then in the order of posting.
    void advance(std::chrono::milliseconds time = {}) {
        std::unique_lock lock(mutex_);
        const auto end = now_ + time;
        while (!tasks_.empty() && tasks_.begin()->first <= end) {
            auto next = tasks_.extract(tasks_.begin());
            now_ = next.key();
            lock.unlock();
            std::exchange(next.mapped(), {})();
            lock.lock();
        }
        now_ = end;
    }

  private:
    std::mutex mutex_;
    std::chrono::milliseconds now_{};
    std::multimap<std::chrono::milliseconds, platform::Task> tasks_;
};

/// Starts with the given outcome and reports when the test calls `onReady` or `onError`.
struct FakeServer final : server::FolderServer {
    platform::Result<> start() override {
        ++startCount;
        return outcome;
    }
    void stop() override { ++stopCount; }

    ServerType type{};
    std::string root;
    std::uint16_t port = 0;
    std::optional<server::Credentials> credentials;
    platform::Result<> outcome;
    int startCount = 0;
    int stopCount = 0;
};

struct FakePasteboard final : Pasteboard {
    void setText(const std::string& text) override { texts.push_back(text); }

    std::vector<std::string> texts;
};

/// Answers every panel with `choice` and records the texts of the last one.
struct FakeFolderChooser final : FolderChooser {
    std::optional<std::string> chooseFolder(const FolderPanelTexts& texts) override {
        shown = texts.prompt + "|" + texts.message;
        return choice;
    }

    std::optional<std::string> choice;
    std::string shown;
};

/// A model with fakes around it. Tests set the LAN address and what servers do.
class ModelFixture : public testing::Test {
  protected:
    std::shared_ptr<ServerModel> makeModel(platform::SettingsStore::Values stored = {}) {
        store_ = std::make_shared<platform::SettingsStore>(std::move(stored));
        const auto makeServer = [this](auto type, auto root, auto port, auto credentials) {
            if (exhausted_) throw std::system_error(exhausted_);
            const auto made = std::make_shared<FakeServer>();
            std::tie(made->type, made->root, made->port, made->credentials, made->outcome) =
                std::tie(type, root, port, credentials, outcome_);
            last_ = made;
            ++made_;
            return made;
        };
        return ServerModel::create(
            {queue_, store_, chooser_, makeServer, [this] { return lanAddress_; }});
    }
    /// A model that is ready to start.
    std::shared_ptr<ServerModel> makeStartable() {
        auto model = makeModel();
        model->setPort(8080);
        model->setFolderPath(folder_.path());
        return model;
    }

    /// The last server made; null once it was released.
    std::shared_ptr<FakeServer> server() const { return last_.lock(); }
    void becomeReady() const {
        server()->onReady();
        queue_->advance();
    }
    void fail(const std::string& message) const {
        server()->onError(message);
        queue_->advance();
    }

    const test::TemporaryFolder folder_;
    std::optional<std::string> lanAddress_ = "192.168.1.20";
    /// What every server's start returns. If `exhausted_` is set, making a server throws it.
    platform::Result<> outcome_;
    std::error_code exhausted_;
    std::weak_ptr<FakeServer> last_;
    int made_ = 0;
    const std::shared_ptr<VirtualMainQueue> queue_ = std::make_shared<VirtualMainQueue>();
    const std::shared_ptr<FakeFolderChooser> chooser_ = std::make_shared<FakeFolderChooser>();
    const std::shared_ptr<FakePasteboard> pasteboard_ = std::make_shared<FakePasteboard>();
    std::shared_ptr<platform::SettingsStore> store_;
};

} // namespace quorvel::model
