// The load driver: runs one load on one server and prints its figures as one line of JSON.
//
//   http-downloads | ftp-downloads | ftp-sessions | ftp-listings
//       port=N clients=N seconds=S path=P ...: busy for that time, or for so many units each
//   http-idle | http-stalled | ftp-idle
//       port=N clients=N ...: prints when the clients have come, and keeps them until its input
//       ends
//
// Plain HTTP requests are another program's.

#include "FtpSession.h"
#include "Load.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <map>
#include <memory>
#include <stdexcept>

using namespace quorvel::bench;

namespace {

/// The command line: a mode, then `name=value` pairs.
struct Options {
    std::string mode;
    std::map<std::string, std::string> values;

    Options(int count, char** words) : mode(count > 1 ? words[1] : "") {
        for (int i = 2; i < count; ++i) {
            const std::string word = words[i];
            values[word.substr(0, word.find('='))] = word.substr(word.find('=') + 1);
        }
    }
    std::uint64_t number(const std::string& name) const { return std::stoull(values.at(name)); }
    std::uint16_t port() const { return static_cast<std::uint16_t>(number("port")); }
    std::string request() const {
        return "GET " + values.at("path") + " HTTP/1.1\r\nHost: 127.0.0.1\r\n";
    }
    FtpSession session() const { return {port(), values.at("user"), values.at("password")}; }

    /// Throws if a transfer that has come to its end has not the size that is expected.
    void check(std::uint64_t size, Clock::time_point end) const {
        if (values.contains("body") && size != number("body") && Clock::now() < end)
            throw std::runtime_error("a body of " + std::to_string(size) + " bytes");
    }
};

Client beginDownload(const Options& options) {
    Client client(options.port());
    client.send(options.request() + "Connection: close\r\n\r\n");
    const auto head = client.until("\r\n\r\n");
    if (!head.starts_with("HTTP/1.1 200 ")) throw std::runtime_error("answered " + head);
    return client;
}

Unit httpDownloads(const Options& options) {
    return [&options](std::uint64_t& bytes, Clock::time_point end) {
        const auto began = Clock::now();
        const auto size = beginDownload(options).discard(end);
        bytes += size;
        options.check(size, end);
        return began;
    };
}

/// One session for all of the client's downloads.
Unit ftpDownloads(const Options& options) {
    const auto session = std::make_shared<FtpSession>(options.session());
    session->ask("TYPE I", "200");
    return [&options, session](std::uint64_t& bytes, Clock::time_point end) {
        const auto size = session->transfer("RETR " + options.values.at("path"), end);
        bytes += size;
        options.check(size, end);
        return session->transferBegan;
    };
}

Unit ftpListings(const Options& options) {
    const auto session = std::make_shared<FtpSession>(options.session());
    return [&options, session](std::uint64_t& bytes, Clock::time_point) {
        bytes += session->transfer("LIST " + options.values.at("path"), Clock::time_point::max());
        return session->transferBegan;
    };
}

Unit ftpSessions(const Options& options) {
    return [&options](std::uint64_t& bytes, Clock::time_point) {
        const auto began = Clock::now();
        auto session = options.session();
        const auto size =
            session.transfer("RETR " + options.values.at("path"), Clock::time_point::max());
        bytes += size;
        options.check(size, Clock::time_point::max());
        session.ask("QUIT", "221");
        return began;
    };
}

Unit clientFor(const Options& options) {
    if (options.mode == "http-downloads") return httpDownloads(options);
    if (options.mode == "ftp-downloads") return ftpDownloads(options);
    if (options.mode == "ftp-listings") return ftpListings(options);
    if (options.mode == "ftp-sessions") return ftpSessions(options);
    throw std::runtime_error("no such load: " + options.mode);
}

void print(Figures figures) {
    std::ranges::sort(figures.latencies);
    const double middle =
        figures.latencies.empty() ? 0 : figures.latencies[figures.latencies.size() / 2];
    std::ranges::replace_if(
        figures.firstFailure, [](char c) { return c < ' ' || c == '"' || c == '\\'; }, ' ');
    std::printf("{\"units\": %zu, \"failures\": %zu, \"failure\": \"%s\", \"bytes\": %llu, "
                "\"seconds\": %.6f, \"p50\": %.9f}\n",
                figures.units, figures.failures, figures.firstFailure.c_str(),
                static_cast<unsigned long long>(figures.bytes), figures.seconds, middle);
    std::fflush(stdout);
}

template <class Make>
void hold(const Options& options, Make make) {
    std::vector<decltype(make())> clients;
    for (auto left = options.number("clients"); left > 0; --left)
        clients.push_back(make());
    Figures figures;
    figures.units = clients.size();
    print(figures);
    while (std::getchar() != EOF)
        ;
}

void drive(const Options& options) {
    if (options.mode == "ftp-idle") return hold(options, [&] { return options.session(); });
    if (options.mode == "http-stalled")
        return hold(options, [&] { return beginDownload(options); });
    if (options.mode == "http-idle")
        return hold(options, [&] {
            Client client(options.port());
            client.send(options.request());
            return client;
        });
    const std::chrono::duration<double> time(std::stod(options.values.at("seconds")));
    LoadEnd end{Clock::now() + std::chrono::duration_cast<Clock::duration>(time)};
    if (options.values.contains("units")) end.units = options.number("units");
    print(load(options.number("clients"), end, [&] { return clientFor(options); }));
}

} // namespace

int main(int count, char** words) {
    try {
        drive(Options(count, words));
        return EXIT_SUCCESS;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return EXIT_FAILURE;
    }
}
