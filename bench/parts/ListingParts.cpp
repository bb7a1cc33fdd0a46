#include "Names.h"

#include "ftp/ListingText.h"
#include "platform/files/NameOrder.h"

#include <benchmark/benchmark.h>

namespace quorvel::bench {

namespace {

void orderByName(benchmark::State& state) {
    const auto entries = folderEntries(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state)
        benchmark::DoNotOptimize(platform::orderByName(entries));
    state.SetComplexityN(state.range(0));
}
BENCHMARK(orderByName)->Arg(1'000)->Arg(10'000)->Arg(100'000)->Complexity();

// What a listing costs beyond the disk and the sort.
void listingText(benchmark::State& state) {
    const auto entries = folderEntries(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state)
        benchmark::DoNotOptimize(ftp::listingText(entries, ftp::ListForm::lines));
    state.SetComplexityN(state.range(0));
}
BENCHMARK(listingText)->Arg(1'000)->Arg(10'000)->Arg(100'000)->Complexity();

} // namespace

} // namespace quorvel::bench
