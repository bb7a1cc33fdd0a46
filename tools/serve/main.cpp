#include "Options.h"

#include "model/ServerModel.h"
#include "platform/Process.h"
#include "platform/files/SettingsStore.h"
#include "platform/network/EventLoop.h"

#include <cstdlib>
#include <iostream>

namespace quorvel::serve {

namespace {

constexpr int exitFailed = 1;
constexpr int exitUsage = 2;

class LoopQueue final : public model::MainQueue {
  public:
    explicit LoopQueue(platform::EventLoop& loop) : loop_(loop) {}

    void post(platform::Task task) override { loop_.post(std::move(task)); }
    void postAfter(std::chrono::milliseconds delay, platform::Task task) override {
        loop_.postAfter(delay, std::move(task));
    }

  private:
    platform::EventLoop& loop_;
};

std::shared_ptr<model::ServerModel> makeModel(platform::EventLoop& loop, const Options& options) {
    model::Services services;
    services.mainQueue = std::make_shared<LoopQueue>(loop);
    services.defaults = std::make_shared<platform::SettingsStore>();
    auto model = model::ServerModel::create(std::move(services));
    model->setServerType(options.type);
    model->setPort(options.port);
    model->setFolderPath(options.folder);
    model->setUseAuth(options.user.has_value());
    model->setUsername(options.user.value_or(""));
    model->setPassword(options.pass.value_or(""));
    return model;
}

/// Serves until a signal or a failure; the program's exit status.
int serve(platform::EventLoop& loop, const Options& options) {
    const auto model = makeModel(loop, options);
    int status = EXIT_SUCCESS;
    const auto subscription = model->onChange([&] {
        using Case = model::State::Case;
        if (model->state().kind == Case::running)
            std::cout << model->infoText() << '\n' << std::flush;
        if (model->state().kind != Case::failed) return;
        std::cout << model->statusText() << '\n' << std::flush;
        status = exitFailed;
        loop.quit();
    });
    loop.onTerminationSignal([&] {
        model->stop();
        loop.quit();
    });
    model->start();
    loop.run();
    return status;
}

} // namespace

} // namespace quorvel::serve

int main(int argumentCount, char** arguments) {
    using namespace quorvel;
    platform::prepareProcess();
    const std::span<char* const> all(arguments, static_cast<std::size_t>(argumentCount));
    const auto options = serve::parseOptions(all.subspan(all.empty() ? 0 : 1));
    if (!options) {
        std::cerr << serve::usage;
        return serve::exitUsage;
    }
    platform::EventLoop loop;
    const int status = serve::serve(loop, *options);
    if (platform::WorkQueue::waitUntilAllEnded(std::chrono::milliseconds(500))) return status;
    // A thread hangs in a disk that does not answer; what main() leaves behind is not its own.
    std::_Exit(status);
}
