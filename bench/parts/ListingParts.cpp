#include "Names.h"

#include "ftp/ListingLine.h"
#include "server/SortByName.h"

#include <benchmark/benchmark.h>
#include <string>

namespace quorvel::bench {

namespace {

void sortByName(benchmark::State& state) {
    const auto entries = folderEntries(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state) {
        state.PauseTiming();
        auto copy = entries;
        state.ResumeTiming();
        server::sortByName(copy);
        benchmark::DoNotOptimize(copy.data());
    }
    state.SetComplexityN(state.range(0));
}
BENCHMARK(sortByName)->Arg(1'000)->Arg(10'000)->Arg(100'000)->Complexity();

// What a listing costs beyond the disk and the sort.
void listingLines(benchmark::State& state) {
    const auto entries = folderEntries(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state) {
        std::string listing;
        ftp::ListingDateFormatter dates;
        for (const auto& entry : entries)
            ftp::appendListingLine(listing, entry, dates);
        benchmark::DoNotOptimize(listing.data());
    }
    state.SetComplexityN(state.range(0));
}
BENCHMARK(listingLines)->Arg(1'000)->Arg(10'000)->Arg(100'000)->Complexity();

} // namespace

} // namespace quorvel::bench
