#pragma once

// The web server's listening socket: it accepts connections and hands each to a free pool
// member, or, with the pool full, to one taken from a client over its share or idle long
// enough to be reclaimed, or refuses it; once a second it closes
// members idle past the limit (a live stream only when its client stopped taking its parts)
// and ends the streams whose schedule has closed. Pending handlers hold the listener, so
// stopping it while they are queued is safe.

#include <cstdint>
#include <memory>
#include <string>
#include <system_error>

#include <asio/ip/tcp.hpp>
#include <asio/steady_timer.hpp>

namespace tess {

class WebConnection;
class WebServer;

class WebListener : public std::enable_shared_from_this<WebListener> {
public:
    WebListener(asio::io_context& loop, WebServer& server);

    // Binds every IPv4 address on `port` (0: a free one) and listens.
    bool Listen(std::uint16_t port, std::error_code& ec);
    void Start();
    void Stop();
    std::uint16_t Port() const { return port_; }

private:
    void AcceptNext();
    void Socket_ConnectionRequest(asio::ip::tcp::socket socket);
    WebConnection* MemberFor(double now, const std::string& address);
    WebConnection* OldestOverShare(const std::string& address);
    WebConnection* Reclaimable(double now);
    void ScheduleSweep();
    void SweepIdle();

    asio::ip::tcp::acceptor acceptor_;
    asio::steady_timer sweep_;
    asio::steady_timer retry_;
    WebServer* server_; // null once stopped
    std::uint16_t port_ = 0;
};

} // namespace tess
