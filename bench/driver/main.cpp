// The load driver: runs one load on one server and prints its figures as one line of JSON.
//
//   http | ftp-sessions | ftp-downloads | ftp-listings   port=N clients=N seconds=S [cut=1] ...
//   http-idle | http-stalled | ftp-idle                  port=N clients=N ...: opens the clients,
//       prints the figures and keeps the clients open until its input ends.

#include "FtpJob.h"
#include "HttpJob.h"
#include "Load.h"
#include "Options.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <stdexcept>

using namespace quorvel::bench;

namespace {

// How many clients open at the same time if all of them stay: within every server's backlog.
constexpr std::size_t openingAtOnce = 32;

HttpPlan httpPlan(const Options& options) {
    HttpPlan plan;
    plan.port = static_cast<std::uint16_t>(options.number("port"));
    plan.path = options.text("path");
    plan.fileSize = options.number("file", 0);
    plan.rangeSize = options.number("range", 0);
    if (plan.rangeSize > 0) plan.status = 206;
    if (options.has("body")) plan.bodySize = options.number("body");
    if (options.mode() == "http-idle") plan.until = HttpPlan::Until::headBegun;
    if (options.mode() == "http-stalled") plan.until = HttpPlan::Until::bodyBegun;
    return plan;
}

FtpPlan ftpPlan(const Options& options) {
    FtpPlan plan;
    plan.port = static_cast<std::uint16_t>(options.number("port"));
    plan.user = options.text("user");
    plan.password = options.text("password");
    if (options.has("path")) plan.path = options.text("path");
    if (options.has("body")) plan.transferSize = options.number("body");
    if (options.mode() == "ftp-downloads") plan.goal = FtpPlan::Goal::downloads;
    if (options.mode() == "ftp-listings") plan.goal = FtpPlan::Goal::listings;
    if (options.mode() == "ftp-idle") plan.goal = FtpPlan::Goal::login;
    return plan;
}

template <class SomeJob, class Plan>
Load::Jobs clients(std::size_t count, const Plan& plan) {
    Load::Jobs jobs;
    for (std::size_t i = 0; i < count; ++i) {
        if constexpr (std::is_same_v<SomeJob, HttpJob>)
            jobs.push_back(std::make_unique<HttpJob>(plan, static_cast<std::uint32_t>(i + 1)));
        else
            jobs.push_back(std::make_unique<FtpJob>(plan));
    }
    return jobs;
}

double percentile(std::vector<double>& sorted, double share) {
    if (sorted.empty()) return 0;
    const auto place = static_cast<std::size_t>(share * static_cast<double>(sorted.size()));
    return sorted[std::min(place, sorted.size() - 1)];
}

void print(LoadResult result) {
    std::ranges::sort(result.latencies);
    std::string failure = result.firstFailure;
    std::ranges::replace_if(failure, [](char c) { return c < ' ' || c == '"' || c == '\\'; }, ' ');
    std::printf("{\"units\": %zu, \"failures\": %zu, \"failure\": \"%s\", \"bytes\": %llu, "
                "\"seconds\": %.6f, \"p50\": %.9f, \"p99\": %.9f}\n",
                result.units, result.failures, failure.c_str(),
                static_cast<unsigned long long>(result.bytes), result.seconds,
                percentile(result.latencies, 0.5), percentile(result.latencies, 0.99));
    std::fflush(stdout);
}

void drive(const Options& options, Load& load) {
    if (!options.mode().ends_with("-idle") && !options.mode().ends_with("-stalled")) {
        LoadEnd end;
        end.time = std::chrono::duration<double>(options.seconds("seconds"));
        end.units = options.number("units", 0);
        end.cut = options.number("cut", 0) != 0;
        return print(load.run(end));
    }
    print(load.runEachOnce(openingAtOnce));
    while (std::getchar() != EOF)
        ;
}

} // namespace

int main(int count, char** words) {
    try {
        const Options options(count, words);
        const auto number = options.number("clients");
        if (options.mode().starts_with("http")) {
            const HttpPlan plan = httpPlan(options);
            Load load(clients<HttpJob>(number, plan));
            drive(options, load);
        } else {
            const FtpPlan plan = ftpPlan(options);
            Load load(clients<FtpJob>(number, plan));
            drive(options, load);
        }
        return EXIT_SUCCESS;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return EXIT_FAILURE;
    }
}
