#include "Load.h"

#include <exception>
#include <future>
#include <mutex>

namespace quorvel::bench {

namespace {

// With more failures the figures are meaningless.
constexpr std::size_t failuresAllowed = 100;

Figures oneClient(LoadEnd end, const std::function<Unit()>& makeClient) {
    Figures figures;
    Unit unit;
    while (Clock::now() < end.time && (end.units == 0 || figures.units < end.units)) {
        try {
            if (!unit) unit = makeClient();
            const auto began = unit(figures.bytes, end.time);
            figures.latencies.push_back(
                std::chrono::duration<double>(Clock::now() - began).count());
            ++figures.units;
        } catch (const std::exception& error) {
            if (figures.failures++ == 0) figures.firstFailure = error.what();
            if (figures.failures > failuresAllowed) throw;
            unit = nullptr;
        }
    }
    return figures;
}

void add(Figures& sum, const Figures& part) {
    sum.units += part.units;
    sum.bytes += part.bytes;
    if (sum.failures == 0) sum.firstFailure = part.firstFailure;
    sum.failures += part.failures;
    sum.latencies.insert(sum.latencies.end(), part.latencies.begin(), part.latencies.end());
}

} // namespace

Figures load(std::size_t clients, LoadEnd end, const std::function<Unit()>& makeClient) {
    const auto began = Clock::now();
    std::vector<std::future<Figures>> running;
    for (std::size_t i = 0; i < clients; ++i)
        running.push_back(std::async(std::launch::async, oneClient, end, std::cref(makeClient)));
    Figures sum;
    for (auto& client : running)
        add(sum, client.get());
    sum.seconds = std::chrono::duration<double>(Clock::now() - began).count();
    return sum;
}

} // namespace quorvel::bench
