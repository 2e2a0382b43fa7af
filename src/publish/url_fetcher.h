#pragma once

// Downloads URLs for graphic items without blocking the event loop (libcurl's multi interface
// on the loop, see CurlMulti): a fetcher with nothing in flight costs nothing. Everything here runs
// on the loop thread.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <asio/io_context.hpp>

namespace tess {

struct UrlFetchLimits {
    std::size_t max_bytes = 32u << 20;   // a larger body is abandoned, not kept growing
    double timeout_seconds = 30;         // the whole transfer, redirects included
    double connect_timeout_seconds = 10; // each connection attempt
};

struct UrlFetchResult {
    bool ok = false;                // a 2xx answer whose whole body arrived within the limits
    long http_status = 0;           // 0 when no server answered
    std::string error;              // when !ok: one log line naming the URL and the problem
    std::vector<std::uint8_t> body; // empty when !ok
};

class UrlFetcher {
public:
    using Done = std::function<void(UrlFetchResult&&)>;

    explicit UrlFetcher(asio::io_context& loop, UrlFetchLimits limits = {});
    // Abandons every transfer in flight; none of their callbacks runs afterwards.
    ~UrlFetcher();
    UrlFetcher(const UrlFetcher&) = delete;
    UrlFetcher& operator=(const UrlFetcher&) = delete;

    // Starts downloading an http or https URL. `done` runs later on the loop thread, never
    // inside Fetch; it may fetch, cancel or destroy the fetcher. The id is never 0.
    std::uint64_t Fetch(const std::string& url, Done done);
    // Abandons a transfer without calling its callback; unknown or finished ids are ignored.
    void Cancel(std::uint64_t id);
    std::size_t InFlight() const;

private:
    class Engine;
    std::unique_ptr<Engine> engine_;
};

} // namespace tess
