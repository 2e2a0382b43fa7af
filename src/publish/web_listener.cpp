#include "publish/web_listener.h"

#include "base/log.h"
#include "publish/web_connection.h"
#include "publish/web_server.h"

#include <chrono>
#include <string_view>
#include <unordered_map>

namespace tess {

namespace {

constexpr double kSecondsPerDay = 86400;

// Whether more than `seconds` passed since `since`. A clock set back leaves times in the
// future; such a member counts as past the limit rather than being kept until the clock
// catches up.
bool LongerThan(double since, double now, double seconds) {
    double elapsed = now - since;
    return elapsed * kSecondsPerDay > seconds || elapsed < 0;
}

// Out of descriptors or memory: accepting again at once would only spin.
bool NeedsPause(const std::error_code& ec) {
    return ec == asio::error::no_descriptors || ec == asio::error::no_buffer_space ||
           ec == asio::error::no_memory;
}

// A stream waiting for its next picture is being fed, however long that takes; one whose
// client has taken nothing of the part under way for `seconds` is idle.
bool StreamIdle(const WebConnection& member, double now, double seconds) {
    return member.StreamStalled() && LongerThan(member.LastProgressTime(), now, seconds);
}

} // namespace

WebListener::WebListener(asio::io_context& loop, WebServer& server)
    : acceptor_(loop), sweep_(loop), retry_(loop), server_(&server) {}

bool WebListener::Listen(std::uint16_t port, std::error_code& ec) {
    asio::ip::tcp::endpoint endpoint(asio::ip::address_v4::any(), port);
    acceptor_.open(endpoint.protocol(), ec);
    // Lets a restarted server listen again while old connections linger in TIME_WAIT; a
    // port that another program listens on still fails.
    if (!ec) acceptor_.set_option(asio::socket_base::reuse_address(true), ec);
    if (!ec) acceptor_.bind(endpoint, ec);
    if (!ec) acceptor_.listen(asio::socket_base::max_listen_connections, ec);
    if (!ec) port_ = acceptor_.local_endpoint(ec).port();
    if (ec) {
        std::error_code ignored;
        acceptor_.close(ignored);
        return false;
    }
    return true;
}

void WebListener::Start() {
    AcceptNext();
    ScheduleSweep();
}

void WebListener::Stop() {
    server_ = nullptr;
    std::error_code ignored;
    acceptor_.close(ignored);
    sweep_.cancel();
    retry_.cancel();
}

void WebListener::AcceptNext() {
    acceptor_.async_accept(
        [self = shared_from_this()](const std::error_code& ec, asio::ip::tcp::socket socket) {
            if (!self->server_ || ec == asio::error::operation_aborted) return;
            if (!ec) {
                self->Socket_ConnectionRequest(std::move(socket));
            } else if (NeedsPause(ec)) {
                LogWarning("web server: cannot accept a connection: {}", ec.message());
                self->retry_.expires_after(std::chrono::milliseconds(100));
                self->retry_.async_wait([self](const std::error_code& wait) {
                    if (!wait && self->server_) self->AcceptNext();
                });
                return;
            }
            if (self->server_) self->AcceptNext();
        });
}

// A free member first. With the pool full, a client at its share gives up its own oldest
// member, a newcomer takes the oldest member of a client over its share, and otherwise one
// idle past the reclaim limit; with none of these, the connection is closed unanswered.
void WebListener::Socket_ConnectionRequest(asio::ip::tcp::socket socket) {
    double now = server_->Now();
    std::error_code ec;
    const auto peer = socket.remote_endpoint(ec);
    WebConnection* member = MemberFor(now, ec ? std::string() : peer.address().to_string());
    if (!member) {
        std::error_code ignored;
        socket.close(ignored);
        return;
    }
    member->SetWebPath(server_->WebPath());
    member->SetAllowNonCanvasServes(server_->AllowNonCanvasServes());
    member->TakeConnection(std::move(socket), now);
}

WebConnection* WebListener::MemberFor(double now, const std::string& address) {
    for (int i = 0; i < WebServer::kPoolSize; ++i) {
        WebConnection& member = server_->Connection(i);
        if (member.State() == WebConnection::kFree) return &member;
    }
    WebConnection* given_up = OldestOverShare(address);
    if (!given_up) given_up = Reclaimable(now);
    if (given_up) given_up->ForceClose();
    return given_up;
}

// The oldest member of the newcomer's own address when it holds its whole share; otherwise
// the oldest of any address holding more than its share. Counted only when the pool is
// full, so a busy client costs nothing while there is room.
WebConnection* WebListener::OldestOverShare(const std::string& address) {
    std::unordered_map<std::string_view, int> held;
    for (int i = 0; i < WebServer::kPoolSize; ++i) {
        const WebConnection& member = server_->Connection(i);
        if (member.State() == WebConnection::kInUse && !member.Address().empty())
            ++held[member.Address()];
    }
    const bool own_full = !address.empty() && held[address] >= WebServer::kMaxPerClient;
    WebConnection* oldest = nullptr;
    for (int i = 0; i < WebServer::kPoolSize; ++i) {
        WebConnection& member = server_->Connection(i);
        if (member.State() != WebConnection::kInUse || member.Address().empty()) continue;
        const bool candidate = own_full ? member.Address() == address
                                        : held[member.Address()] > WebServer::kMaxPerClient;
        if (candidate && (!oldest || member.LastActivityTime() < oldest->LastActivityTime()))
            oldest = &member;
    }
    return oldest;
}

WebConnection* WebListener::Reclaimable(double now) {
    for (int i = 0; i < WebServer::kPoolSize; ++i) {
        WebConnection& member = server_->Connection(i);
        const bool reclaimable =
            member.Streaming()
                ? StreamIdle(member, now, WebServer::kReclaimSeconds)
                : LongerThan(member.LastActivityTime(), now, WebServer::kReclaimSeconds);
        if (reclaimable) return &member;
    }
    return nullptr;
}

void WebListener::ScheduleSweep() {
    sweep_.expires_after(std::chrono::seconds(1));
    sweep_.async_wait([self = shared_from_this()](const std::error_code& ec) {
        if (ec || !self->server_) return;
        self->SweepIdle();
        self->ScheduleSweep();
    });
}

void WebListener::SweepIdle() {
    double now = server_->Now();
    for (int i = 0; i < WebServer::kPoolSize; ++i) {
        WebConnection& member = server_->Connection(i);
        if (member.State() != WebConnection::kInUse) continue;
        if (member.Streaming()) {
            member.CheckStreamSchedule(now);
            if (StreamIdle(member, now, WebServer::kIdleSeconds)) member.ForceClose();
        } else if (LongerThan(member.LastProgressTime(), now, WebServer::kIdleSeconds)) {
            member.ForceClose();
        }
    }
}

} // namespace tess
