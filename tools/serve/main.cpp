#include "ConsoleMainQueue.h"
#include "Options.h"
#include "TerminationSignals.h"

#include "model/ServerModel.h"
#include "platform/Process.h"
#include "platform/files/SettingsStore.h"
#include "platform/network/WorkQueue.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <span>
#include <string_view>
#include <utility>

namespace quorvel::serve {

namespace {

constexpr int exitFailed = 1;
constexpr int exitUsage = 2;

std::shared_ptr<model::ServerModel> makeModel(std::shared_ptr<model::MainQueue> mainQueue,
                                              const Options& options) {
    model::Services services;
    services.mainQueue = std::move(mainQueue);
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

/// Serves until a signal or a failure and returns the program's exit status.
int serve(const Options& options) {
    const auto queue = std::make_shared<ConsoleMainQueue>();
    const auto model = makeModel(queue, options);
    int status = EXIT_SUCCESS;
    const auto subscription = model->onChange([&] {
        using Case = model::State::Case;
        if (model->state().kind == Case::running)
            std::cout << model->infoText() << '\n' << std::flush;
        if (model->state().kind != Case::failed) return;
        std::cout << model->statusText() << '\n' << std::flush;
        status = exitFailed;
        queue->quit();
    });
    const TerminationSignals signals(*queue, [&] {
        model->stop();
        queue->quit();
    });
    model->start();
    queue->run();
    return status;
}

} // namespace

} // namespace quorvel::serve

int main(int argumentCount, char** arguments) {
    using namespace quorvel;
    platform::prepareProcess();
    const std::span<char* const> all(arguments, static_cast<std::size_t>(argumentCount));
    const auto given = all.subspan(all.empty() ? 0 : 1);
    if (std::ranges::find(given, std::string_view("--help")) != given.end()) {
        std::cout << serve::usage << serve::help;
        return EXIT_SUCCESS;
    }
    const auto options = serve::parseOptions(given);
    if (!options) {
        std::cerr << serve::usage;
        return serve::exitUsage;
    }
    const int status = serve::serve(*options);
    if (platform::waitUntilThreadsEnded(std::chrono::milliseconds(500))) return status;
    // A thread is stuck on a disk that does not respond. It must not see main() tear down statics.
    std::_Exit(status);
}
