#include "publish/url_fetcher.h"

#include "base/log.h"
#include "publish/curl_library.h"
#include "publish/curl_multi.h"

#include <algorithm>
#include <chrono>
#include <unordered_map>

#include <curl/curl.h>
#include <fmt/format.h>

namespace tess {

namespace {

constexpr long kMaxRedirects = 5;
constexpr const char* kProtocols = "http,https";

long Milliseconds(double seconds) {
    // curl reads 0 as "no limit"; a limit set that small still means one.
    return static_cast<long>(std::clamp(seconds * 1000, 1.0, 1e12));
}

std::string SizeText(std::size_t bytes) {
    if (bytes >= (1u << 20) && bytes % (1u << 20) == 0) return fmt::format("{} MB", bytes >> 20);
    if (bytes >= 1024 && bytes % 1024 == 0) return fmt::format("{} KB", bytes >> 10);
    return fmt::format("{} bytes", bytes);
}

// Camera URLs often carry a password, and error lines end up in the log.
std::string UrlForLog(std::string url) {
    std::size_t start = url.find("://");
    if (start == std::string::npos) return url;
    start += 3;
    std::size_t end = url.find_first_of("/?#", start);
    std::size_t at = url.rfind('@', end == std::string::npos ? url.size() : end);
    if (at == std::string::npos || at < start) return url;
    std::size_t colon = url.find(':', start);
    if (colon < at) url.erase(colon, at - colon);
    return url;
}

} // namespace

// The fetcher's transfers over its own multi handle.
class UrlFetcher::Engine {
public:
    Engine(asio::io_context& loop, UrlFetchLimits limits) : limits_(limits), multi_(loop) {}
    ~Engine() { Shutdown(); }

    std::uint64_t Fetch(const std::string& url, Done done);
    void Cancel(std::uint64_t id);
    std::size_t InFlight() const { return transfers_.size(); }
    void Shutdown();

private:
    struct Transfer {
        std::uint64_t id = 0;
        CURL* easy = nullptr; // null when the transfer could not start
        std::string url;
        Done done;
        std::vector<std::uint8_t> body;
        std::size_t max_bytes = 0;
        bool too_large = false;
        char error[CURL_ERROR_SIZE] = {};
    };
    using Transfers = std::unordered_map<std::uint64_t, std::unique_ptr<Transfer>>;

    static std::size_t OnBody(char* data, std::size_t size, std::size_t count, void* transfer);

    CURLcode Configure(Transfer& transfer);
    void Finished(std::uint64_t id, CURLcode code);
    void FailUnstarted(std::uint64_t id);
    UrlFetchResult Result(Transfer& transfer, CURLcode code) const;
    std::string Problem(const Transfer& transfer, CURLcode code, long status) const;
    void Drop(Transfers::iterator it);

    UrlFetchLimits limits_;
    const CurlLibrary* curl_ = nullptr;
    Transfers transfers_;
    std::uint64_t next_id_ = 0;
    CurlMulti multi_; // last: it goes first, before the handles it may still hold
};

std::uint64_t UrlFetcher::Engine::Fetch(const std::string& url, Done done) {
    auto owned = std::make_unique<Transfer>();
    Transfer& transfer = *owned;
    transfer.id = ++next_id_;
    transfer.url = url;
    transfer.done = std::move(done);
    transfer.max_bytes = limits_.max_bytes;
    transfers_.emplace(transfer.id, std::move(owned));

    curl_ = multi_.Library();
    transfer.easy = curl_ ? curl_->easy_init() : nullptr;
    auto finished = [this, id = transfer.id](CURL*, CURLcode code) { Finished(id, code); };
    if (transfer.easy &&
        (Configure(transfer) != CURLE_OK || !multi_.Add(transfer.easy, std::move(finished)))) {
        curl_->easy_cleanup(transfer.easy);
        transfer.easy = nullptr;
    }
    if (!transfer.easy) multi_.Post([this, id = transfer.id] { FailUnstarted(id); });
    return transfer.id;
}

CURLcode UrlFetcher::Engine::Configure(Transfer& transfer) {
    CURL* easy = transfer.easy;
    CURLcode code = CURLE_OK;
    auto set = [&code](CURLcode result) {
        if (code == CURLE_OK) code = result;
    };
    set(curl_->easy_setopt(easy, CURLOPT_URL, transfer.url.c_str()));
    // A picture source is a web address; file:// or other schemes (also through a redirect)
    // would let a settings file or a remote server reach things it should not.
    set(curl_->easy_setopt(easy, CURLOPT_PROTOCOLS_STR, kProtocols));
    set(curl_->easy_setopt(easy, CURLOPT_REDIR_PROTOCOLS_STR, kProtocols));
    set(curl_->easy_setopt(easy, CURLOPT_FOLLOWLOCATION, 1L));
    set(curl_->easy_setopt(easy, CURLOPT_MAXREDIRS, kMaxRedirects));
    set(curl_->easy_setopt(easy, CURLOPT_USERAGENT, "Tessarolle"));
    // Signals belong to the program (SIGINT quits); curl must not install handlers for its
    // DNS timeouts.
    set(curl_->easy_setopt(easy, CURLOPT_NOSIGNAL, 1L));
    // Stops at the status line of an error answer instead of reading its page.
    set(curl_->easy_setopt(easy, CURLOPT_FAILONERROR, 1L));
    set(curl_->easy_setopt(easy, CURLOPT_TIMEOUT_MS, Milliseconds(limits_.timeout_seconds)));
    set(curl_->easy_setopt(easy, CURLOPT_CONNECTTIMEOUT_MS,
                           Milliseconds(limits_.connect_timeout_seconds)));
    // Catches an announced length at once; the body callback catches the rest.
    set(curl_->easy_setopt(easy, CURLOPT_MAXFILESIZE_LARGE,
                           static_cast<curl_off_t>(limits_.max_bytes)));
    set(curl_->easy_setopt(easy, CURLOPT_WRITEFUNCTION, &Engine::OnBody));
    set(curl_->easy_setopt(easy, CURLOPT_WRITEDATA, &transfer));
    set(curl_->easy_setopt(easy, CURLOPT_PRIVATE, &transfer));
    set(curl_->easy_setopt(easy, CURLOPT_ERRORBUFFER, transfer.error));
    return code;
}

void UrlFetcher::Engine::Cancel(std::uint64_t id) {
    auto it = transfers_.find(id);
    if (it != transfers_.end()) Drop(it);
}

void UrlFetcher::Engine::Drop(Transfers::iterator it) {
    if (CURL* easy = it->second->easy) {
        multi_.Remove(easy);
        curl_->easy_cleanup(easy);
    }
    transfers_.erase(it);
}

void UrlFetcher::Engine::Shutdown() {
    while (!transfers_.empty())
        Drop(transfers_.begin());
}

std::size_t UrlFetcher::Engine::OnBody(char* data, std::size_t size, std::size_t count,
                                       void* user) {
    auto& transfer = *static_cast<Transfer*>(user);
    std::size_t bytes = size * count;
    // A short count makes curl abandon the transfer.
    if (bytes > transfer.max_bytes - transfer.body.size()) {
        transfer.too_large = true;
        return 0;
    }
    try {
        if (transfer.body.empty()) {
            curl_off_t announced = -1;
            Curl()->easy_getinfo(transfer.easy, CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &announced);
            if (announced > 0)
                transfer.body.reserve(
                    std::min(static_cast<std::size_t>(announced), transfer.max_bytes));
        }
        transfer.body.insert(transfer.body.end(), data, data + bytes);
    } catch (...) {
        return 0;
    }
    return bytes;
}

// The callback may start or cancel transfers or destroy the fetcher: it runs last.
void UrlFetcher::Engine::Finished(std::uint64_t id, CURLcode code) {
    auto it = transfers_.find(id);
    if (it == transfers_.end()) return;
    UrlFetchResult result = Result(*it->second, code);
    Done done = std::move(it->second->done);
    Drop(it);
    if (done) done(std::move(result));
}

void UrlFetcher::Engine::FailUnstarted(std::uint64_t id) {
    auto it = transfers_.find(id);
    if (it == transfers_.end()) return;
    UrlFetchResult result;
    result.error = UrlForLog(it->second->url) + ": cannot start the download";
    Done done = std::move(it->second->done);
    Drop(it);
    if (done) done(std::move(result));
}

UrlFetchResult UrlFetcher::Engine::Result(Transfer& transfer, CURLcode code) const {
    UrlFetchResult result;
    curl_->easy_getinfo(transfer.easy, CURLINFO_RESPONSE_CODE, &result.http_status);
    if (code == CURLE_OK && result.http_status / 100 == 2) {
        result.ok = true;
        result.body = std::move(transfer.body);
        return result;
    }
    result.error = UrlForLog(transfer.url) + ": " + Problem(transfer, code, result.http_status);
    return result;
}

std::string UrlFetcher::Engine::Problem(const Transfer& transfer, CURLcode code,
                                        long status) const {
    if (code == CURLE_OK || code == CURLE_HTTP_RETURNED_ERROR)
        return fmt::format("HTTP {}", status);
    if (code == CURLE_FILESIZE_EXCEEDED || transfer.too_large)
        return "larger than " + SizeText(limits_.max_bytes);
    if (code == CURLE_OPERATION_TIMEDOUT) {
        curl_off_t connected = 0;
        curl_->easy_getinfo(transfer.easy, CURLINFO_CONNECT_TIME_T, &connected);
        if (connected == 0)
            return fmt::format("no connection within {:g} s",
                               std::min(limits_.connect_timeout_seconds, limits_.timeout_seconds));
        return fmt::format("timed out after {:g} s", limits_.timeout_seconds);
    }
    return transfer.error[0] ? transfer.error : curl_->easy_strerror(code);
}

UrlFetcher::UrlFetcher(asio::io_context& loop, UrlFetchLimits limits)
    : engine_(new Engine(loop, limits)) {}

UrlFetcher::~UrlFetcher() = default;

std::uint64_t UrlFetcher::Fetch(const std::string& url, Done done) {
    return engine_->Fetch(url, std::move(done));
}

void UrlFetcher::Cancel(std::uint64_t id) {
    engine_->Cancel(id);
}

std::size_t UrlFetcher::InFlight() const {
    return engine_->InFlight();
}

} // namespace tess
