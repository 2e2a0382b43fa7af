#include "publish/curl_multi.h"

#include "base/log.h"
#include "publish/curl_library.h"

#include <chrono>
#include <unordered_map>

#include <asio/posix/stream_descriptor.hpp>
#include <asio/post.hpp>
#include <asio/steady_timer.hpp>

namespace tess {

namespace {

// The longest the loop leaves curl alone while a transfer runs. This libcurl can leave a
// transfer in a new state without a socket to watch or a timer (an FTP data connection whose
// passive-mode answer came at once), so every transfer is run again at this pace.
constexpr long kLongestWaitMs = 2;

} // namespace

// The multi handle, its transfers and the loop's watches over curl's sockets. Handlers
// queued on the loop hold it only weakly, so the owner can go away with waits pending.
class CurlMulti::Engine : public std::enable_shared_from_this<Engine> {
public:
    explicit Engine(asio::io_context& loop) : loop_(loop), timer_(loop) {}
    ~Engine() { Shutdown(); }

    const CurlLibrary* Start();
    bool Add(CURL* easy, Done done);
    void Remove(CURL* easy);
    std::size_t Active() const { return transfers_.size(); }
    void Post(std::function<void()> work);
    void Shutdown();

private:
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

    Watch* WatchFor(curl_socket_t fd, void* socketp);
    void Unwatch(curl_socket_t fd);
    void Arm(Watch& watch, curl_socket_t fd);
    void Ready(curl_socket_t fd, std::uint64_t serial, int direction, const std::error_code& ec);
    void SetTimer(long timeout_ms);
    void RenewTimer();
    void Timeout(std::uint64_t generation);
    void Deliver();

    asio::io_context& loop_;
    const CurlLibrary* curl_ = nullptr;
    CURLM* multi_ = nullptr; // null before the first transfer and once shut down
    bool shut_down_ = false;
    asio::steady_timer timer_;
    std::uint64_t timer_generation_ = 0;
    std::unordered_map<CURL*, Done> transfers_;
    std::unordered_map<curl_socket_t, std::unique_ptr<Watch>> watches_;
    std::uint64_t next_serial_ = 0;
};

// The library and the multi handle come with the first transfer.
const CurlLibrary* CurlMulti::Engine::Start() {
    if (multi_) return curl_;
    if (shut_down_) return nullptr;
    curl_ = Curl();
    if (!curl_) return nullptr;
    multi_ = curl_->multi_init();
    if (!multi_) return nullptr;
    curl_->multi_setopt(multi_, CURLMOPT_SOCKETFUNCTION, &Engine::OnSocket);
    curl_->multi_setopt(multi_, CURLMOPT_SOCKETDATA, this);
    curl_->multi_setopt(multi_, CURLMOPT_TIMERFUNCTION, &Engine::OnTimer);
    curl_->multi_setopt(multi_, CURLMOPT_TIMERDATA, this);
    return curl_;
}

bool CurlMulti::Engine::Add(CURL* easy, Done done) {
    if (!Start() || !easy) return false;
    if (curl_->multi_add_handle(multi_, easy) != CURLM_OK) return false;
    transfers_[easy] = std::move(done);
    RenewTimer();
    return true;
}

void CurlMulti::Engine::Remove(CURL* easy) {
    auto it = transfers_.find(easy);
    if (it == transfers_.end()) return;
    curl_->multi_remove_handle(multi_, easy);
    transfers_.erase(it);
    // Lets go of the pace kept for running transfers.
    if (transfers_.empty()) RenewTimer();
}

void CurlMulti::Engine::Post(std::function<void()> work) {
    asio::post(loop_, [weak = weak_from_this(), work = std::move(work)] {
        if (auto self = weak.lock(); self && !self->shut_down_) work();
    });
}

void CurlMulti::Engine::Shutdown() {
    shut_down_ = true;
    if (!multi_) return;
    for (auto& [easy, done] : transfers_)
        curl_->multi_remove_handle(multi_, easy);
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
int CurlMulti::Engine::OnSocket(CURL*, curl_socket_t fd, int what, void* self, void* socketp) {
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

CurlMulti::Engine::Watch* CurlMulti::Engine::WatchFor(curl_socket_t fd, void* socketp) {
    auto it = watches_.find(fd);
    if (it != watches_.end() && it->second.get() == socketp) return it->second.get();
    // A socket new to curl under a number we still watch: the old socket was closed without
    // a word, and its registration has to go before the new one can be made.
    if (it != watches_.end()) Unwatch(fd);
    auto watch = std::make_unique<Watch>(loop_);
    std::error_code ec;
    watch->descriptor.assign(fd, ec);
    if (ec) {
        LogWarning("network transfer: cannot watch a socket: {}", ec.message());
        return nullptr;
    }
    watch->serial = ++next_serial_;
    Watch* raw = watch.get();
    watches_[fd] = std::move(watch);
    curl_->multi_assign(multi_, fd, raw);
    return raw;
}

void CurlMulti::Engine::Unwatch(curl_socket_t fd) {
    auto it = watches_.find(fd);
    if (it == watches_.end()) return;
    // Queued waits come back aborted and find no watch with their serial.
    it->second->descriptor.release();
    watches_.erase(it);
}

// A wait is queued once per direction and renewed after each report; a wait curl no longer
// wants is left to finish and then ignored, since cancelling would cancel both directions.
void CurlMulti::Engine::Arm(Watch& watch, curl_socket_t fd) {
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

void CurlMulti::Engine::Ready(curl_socket_t fd, std::uint64_t serial, int direction,
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

int CurlMulti::Engine::OnTimer(CURLM*, long timeout_ms, void* self) {
    try {
        static_cast<Engine*>(self)->SetTimer(timeout_ms);
        return 0;
    } catch (...) {
        return -1;
    }
}

// -1 means curl needs no timer: nothing stays queued on the loop for an idle multi.
void CurlMulti::Engine::SetTimer(long timeout_ms) {
    std::uint64_t generation = ++timer_generation_;
    if (!transfers_.empty() && (timeout_ms < 0 || timeout_ms > kLongestWaitMs))
        timeout_ms = kLongestWaitMs;
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

void CurlMulti::Engine::Timeout(std::uint64_t generation) {
    // A wait that had already expired when curl moved its timer is not curl's timeout.
    if (!multi_ || generation != timer_generation_) return;
    int running = 0;
    if (transfers_.empty())
        curl_->multi_socket_action(multi_, CURL_SOCKET_TIMEOUT, 0, &running);
    else
        curl_->multi_socket_all(multi_, &running);
    if (generation == timer_generation_) RenewTimer();
    Deliver();
}

// curl moves its timer only when its wish changes; the cap above needs a new wait each time.
void CurlMulti::Engine::RenewTimer() {
    long timeout_ms = -1;
    curl_->multi_timeout(multi_, &timeout_ms);
    SetTimer(timeout_ms);
}

// A callback may start or remove transfers or destroy the owner, so finished transfers are
// taken one at a time and the state is checked again after each callback.
void CurlMulti::Engine::Deliver() {
    auto keep = shared_from_this();
    while (multi_) {
        int left = 0;
        CURLMsg* message = curl_->multi_info_read(multi_, &left);
        if (!message) return;
        if (message->msg != CURLMSG_DONE) continue;
        CURL* easy = message->easy_handle;
        CURLcode code = message->data.result;
        auto it = transfers_.find(easy);
        if (it == transfers_.end()) continue;
        Done done = std::move(it->second);
        Remove(easy);
        if (done) done(easy, code);
    }
}

// Not make_shared: the engine's memory then goes with its owner instead of waiting for the
// last queued handler, so a handler that kept a plain pointer would show up under ASan.
CurlMulti::CurlMulti(asio::io_context& loop) : engine_(new Engine(loop)) {}

CurlMulti::~CurlMulti() {
    engine_->Shutdown();
}

const CurlLibrary* CurlMulti::Library() {
    return engine_->Start();
}

bool CurlMulti::Add(CURL* easy, Done done) {
    return engine_->Add(easy, std::move(done));
}

void CurlMulti::Remove(CURL* easy) {
    engine_->Remove(easy);
}

std::size_t CurlMulti::Active() const {
    return engine_->Active();
}

void CurlMulti::Post(std::function<void()> work) {
    engine_->Post(std::move(work));
}

} // namespace tess
