#include "Names.h"

#include "http/IndexPage.h"
#include "http/RequestHead.h"

#include <benchmark/benchmark.h>

namespace quorvel::bench {

namespace {

// What a browser sends for a link on an index page.
constexpr std::string_view browserHead =
    "GET /Photos/IMG_0001.jpg HTTP/1.1\r\n"
    "Host: 192.168.1.20:8080\r\n"
    "User-Agent: Mozilla/5.0 (X11; Linux x86_64; rv:128.0) Gecko/20100101 Firefox/128.0\r\n"
    "Accept: text/html,application/xhtml+xml,application/xml;q=0.9,*/*;q=0.8\r\n"
    "Accept-Language: en-US,en;q=0.5\r\n"
    "Accept-Encoding: gzip, deflate\r\n"
    "Connection: keep-alive\r\n"
    "Referer: http://192.168.1.20:8080/Photos/\r\n"
    "Upgrade-Insecure-Requests: 1\r\n"
    "Range: bytes=0-65535";

void requestHead(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(http::parseRequestHead(browserHead));
}
BENCHMARK(requestHead);

void indexPage(benchmark::State& state) {
    const auto entries = folderEntries(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state) {
        std::string page;
        http::appendIndexPage(page, entries, "/Photos/");
        benchmark::DoNotOptimize(page.data());
    }
    state.SetComplexityN(state.range(0));
}
BENCHMARK(indexPage)->Arg(1'000)->Arg(10'000)->Arg(100'000)->Complexity();

} // namespace

} // namespace quorvel::bench
