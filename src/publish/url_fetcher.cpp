#include "publish/url_fetcher.h"

#include "base/log.h"
#include "publish/curl_library.h"

#include <algorithm>
#include <chrono>
#include <unordered_map>

#include <asio/posix/stream_descriptor.hpp>
#include <asio/post.hpp>
#include <asio/steady_timer.hpp>
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

// The multi handle with its transfers and the loop's watches over curl's sockets. Handlers
// queued on the loop hold it only weakly, so the fetcher can go away with waits pending.
class UrlFetcher::Engine : public std::enable_shared_from_this<Engine> {
public:
    Engine(asio::io_context& loop, UrlFetchLimits limits);
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

    // One socket curl asked us to watch. The descriptor never owns it: curl closes its own
    // sockets, so a watch lets go of the number before it is dropped.
    struct Watch {
        explicit Watch(asio::io_context& loop) : descriptor(loop) {}
        asio::posix::stream_descriptor descriptor;
        std::uint64_t serial = 0; // tells a queued wait whether its watch still exists
        int wanted = 0;           // CURL_POLL_IN and CURL_POLL_OUT bits
        bool reading = false;     // a read wait is queued
        bool writing = false;
    };

    static int OnSocket(CURL* easy, curl_socket_t fd, int what, void* self, void* socketp);
    static int OnTimer(CURLM* multi, long timeout_ms, void* self);
    static std::size_t OnBody(char* data, std::size_t size, std::size_t count, void* transfer);

    bool Start();
    CURLcode Configure(Transfer& transfer);
    Watch* WatchFor(curl_socket_t fd, void* socketp);
    void Unwatch(curl_socket_t fd);
    void Arm(Watch& watch, curl_socket_t fd);
    void Ready(curl_socket_t fd, std::uint64_t serial, int direction, const std::error_code& ec);
    void SetTimer(long timeout_ms);
    void Timeout(std::uint64_t generation);
    void Deliver();
    void FailUnstarted(std::uint64_t id);
    UrlFetchResult Result(Transfer& transfer, CURLcode code) const;
    std::string Problem(const Transfer& transfer, CURLcode code, long status) const;
    void Drop(Transfers::iterator it);

    asio::io_context& loop_;
    UrlFetchLimits limits_;
    const CurlLibrary* curl_ = nullptr;
    CURLM* multi_ = nullptr; // null before the first download and once shut down
    bool shut_down_ = false;
    asio::steady_timer timer_;
    std::uint64_t timer_generation_ = 0;
    Transfers transfers_;
    std::unordered_map<curl_socket_t, std::unique_ptr<Watch>> watches_;
    std::uint64_t next_id_ = 0;
    std::uint64_t next_serial_ = 0;
};

UrlFetcher::Engine::Engine(asio::io_context& loop, UrlFetchLimits limits)
    : loop_(loop), limits_(limits), timer_(loop) {}

// The library and its multi handle come with the first download.
bool UrlFetcher::Engine::Start() {
    if (multi_) return true;
    if (shut_down_) return false;
    curl_ = Curl();
    if (!curl_) return false;
    multi_ = curl_->multi_init();
    if (!multi_) return false;
    curl_->multi_setopt(multi_, CURLMOPT_SOCKETFUNCTION, &Engine::OnSocket);
    curl_->multi_setopt(multi_, CURLMOPT_SOCKETDATA, this);
    curl_->multi_setopt(multi_, CURLMOPT_TIMERFUNCTION, &Engine::OnTimer);
    curl_->multi_setopt(multi_, CURLMOPT_TIMERDATA, this);
    return true;
}

std::uint64_t UrlFetcher::Engine::Fetch(const std::string& url, Done done) {
    auto owned = std::make_unique<Transfer>();
    Transfer& transfer = *owned;
    transfer.id = ++next_id_;
    transfer.url = url;
    transfer.done = std::move(done);
    transfer.max_bytes = limits_.max_bytes;
    transfers_.emplace(transfer.id, std::move(owned));

    transfer.easy = Start() ? curl_->easy_init() : nullptr;
    if (transfer.easy && (Configure(transfer) != CURLE_OK ||
                          curl_->multi_add_handle(multi_, transfer.easy) != CURLM_OK)) {
        curl_->easy_cleanup(transfer.easy);
        transfer.easy = nullptr;
    }
    if (!transfer.easy) {
        asio::post(loop_, [weak = weak_from_this(), id = transfer.id] {
            if (auto self = weak.lock()) self->FailUnstarted(id);
        });
    }
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
        curl_->multi_remove_handle(multi_, easy);
        curl_->easy_cleanup(easy);
    }
    transfers_.erase(it);
}

void UrlFetcher::Engine::Shutdown() {
    shut_down_ = true;
    if (!multi_) return;
    for (auto& [id, transfer] : transfers_) {
        if (!transfer->easy) continue;
        curl_->multi_remove_handle(multi_, transfer->easy);
        curl_->easy_cleanup(transfer->easy);
    }
    transfers_.clear();
    curl_->multi_cleanup(multi_);
    multi_ = nullptr;
    for (auto& [fd, watch] : watches_)
        watch->descriptor.release();
    watches_.clear();
    timer_.cancel();
}

// curl calls this from inside its own functions: it only arranges waits, never calls back
// into curl or into a caller's callback. Exceptions must not cross curl's C frames.
int UrlFetcher::Engine::OnSocket(CURL*, curl_socket_t fd, int what, void* self, void* socketp) {
    auto& engine = *static_cast<Engine*>(self);
    try {
        if (what == CURL_POLL_REMOVE) {
            engine.Unwatch(fd);
            return 0;
        }
        Watch* watch = engine.WatchFor(fd, socketp);
        if (!watch) return -1;
        watch->wanted = what;
        engine.Arm(*watch, fd);
        return 0;
    } catch (...) {
        return -1;
    }
}

UrlFetcher::Engine::Watch* UrlFetcher::Engine::WatchFor(curl_socket_t fd, void* socketp) {
    auto it = watches_.find(fd);
    if (it != watches_.end() && it->second.get() == socketp) return it->second.get();
    // A socket new to curl under a number we still watch: the old socket was closed without
    // a word, and its registration has to go before the new one can be made.
    if (it != watches_.end()) Unwatch(fd);
    auto watch = std::make_unique<Watch>(loop_);
    std::error_code ec;
    watch->descriptor.assign(fd, ec);
    if (ec) {
        LogWarning("URL download: cannot watch a socket: {}", ec.message());
        return nullptr;
    }
    watch->serial = ++next_serial_;
    Watch* raw = watch.get();
    watches_[fd] = std::move(watch);
    curl_->multi_assign(multi_, fd, raw);
    return raw;
}

void UrlFetcher::Engine::Unwatch(curl_socket_t fd) {
    auto it = watches_.find(fd);
    if (it == watches_.end()) return;
    // Queued waits come back aborted and find no watch with their serial.
    it->second->descriptor.release();
    watches_.erase(it);
}

// A wait is queued once per direction and renewed after each report; a wait curl no longer
// wants is left to finish and then ignored, since cancelling would cancel both directions.
void UrlFetcher::Engine::Arm(Watch& watch, curl_socket_t fd) {
    auto wait = [&](asio::posix::stream_descriptor::wait_type type, int direction) {
        watch.descriptor.async_wait(type, [weak = weak_from_this(), fd, serial = watch.serial,
                                           direction](const std::error_code& ec) {
            if (auto self = weak.lock()) self->Ready(fd, serial, direction, ec);
        });
    };
    if ((watch.wanted & CURL_POLL_IN) && !watch.reading) {
        watch.reading = true;
        wait(asio::posix::stream_descriptor::wait_read, CURL_CSELECT_IN);
    }
    if ((watch.wanted & CURL_POLL_OUT) && !watch.writing) {
        watch.writing = true;
        wait(asio::posix::stream_descriptor::wait_write, CURL_CSELECT_OUT);
    }
}

void UrlFetcher::Engine::Ready(curl_socket_t fd, std::uint64_t serial, int direction,
                               const std::error_code& ec) {
    if (!multi_) return;
    auto it = watches_.find(fd);
    if (it == watches_.end() || it->second->serial != serial) return;
    Watch& watch = *it->second;
    bool in = direction == CURL_CSELECT_IN;
    (in ? watch.reading : watch.writing) = false;
    if (ec == asio::error::operation_aborted) return;
    if (!(watch.wanted & (in ? CURL_POLL_IN : CURL_POLL_OUT))) return;

    int running = 0;
    curl_->multi_socket_action(multi_, fd, direction | (ec ? CURL_CSELECT_ERR : 0), &running);
    // curl may have dropped the socket, or taken a new one under the same number.
    it = watches_.find(fd);
    if (it != watches_.end() && it->second->serial == serial) Arm(*it->second, fd);
    Deliver();
}

int UrlFetcher::Engine::OnTimer(CURLM*, long timeout_ms, void* self) {
    try {
        static_cast<Engine*>(self)->SetTimer(timeout_ms);
        return 0;
    } catch (...) {
        return -1;
    }
}

// -1 means curl needs no timer: nothing stays queued on the loop for an idle fetcher.
void UrlFetcher::Engine::SetTimer(long timeout_ms) {
    std::uint64_t generation = ++timer_generation_;
    if (timeout_ms < 0) {
        timer_.cancel();
        return;
    }
    timer_.expires_after(std::chrono::milliseconds(timeout_ms));
    timer_.async_wait([weak = weak_from_this(), generation](const std::error_code& ec) {
        if (ec) return;
        if (auto self = weak.lock()) self->Timeout(generation);
    });
}

void UrlFetcher::Engine::Timeout(std::uint64_t generation) {
    // A wait that had already expired when curl moved its timer is not curl's timeout.
    if (!multi_ || generation != timer_generation_) return;
    int running = 0;
    curl_->multi_socket_action(multi_, CURL_SOCKET_TIMEOUT, 0, &running);
    Deliver();
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

// A callback may start or cancel transfers or destroy the fetcher, so finished transfers
// are taken one at a time and the state is checked again after each callback.
void UrlFetcher::Engine::Deliver() {
    while (multi_) {
        int left = 0;
        CURLMsg* message = curl_->multi_info_read(multi_, &left);
        if (!message) return;
        if (message->msg != CURLMSG_DONE) continue;
        CURLcode code = message->data.result;
        char* pointer = nullptr;
        curl_->easy_getinfo(message->easy_handle, CURLINFO_PRIVATE, &pointer);
        auto& transfer = *reinterpret_cast<Transfer*>(pointer);
        UrlFetchResult result = Result(transfer, code);
        Done done = std::move(transfer.done);
        Drop(transfers_.find(transfer.id));
        if (done) done(std::move(result));
    }
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

// Not make_shared: the engine's memory then goes with the fetcher instead of waiting for the
// last queued handler, so a handler that kept a plain pointer would show up under ASan.
UrlFetcher::UrlFetcher(asio::io_context& loop, UrlFetchLimits limits)
    : engine_(new Engine(loop, limits)) {}

UrlFetcher::~UrlFetcher() {
    engine_->Shutdown();
}

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
