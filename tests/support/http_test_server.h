#pragma once

// A small HTTP server on 127.0.0.1 (ephemeral port) that runs on the test's own event loop,
// for testing clients: each path gets a canned answer, silence, a slow body or an endless one.
// Unknown paths answer 404. Every connection is read until the client closes it, so a test
// can see a client hang up.

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <asio/io_context.hpp>
#include <asio/ip/tcp.hpp>

namespace tess::test {

// "HTTP/1.1 <status> <reason>" with Content-Length, Connection: close, `headers` (each
// ending in CR LF) and the body.
std::string HttpAnswer(int status, std::string_view reason, std::string_view body,
                       std::string_view headers = "");

class HttpTestServer {
public:
    explicit HttpTestServer(asio::io_context& loop);
    ~HttpTestServer();
    HttpTestServer(const HttpTestServer&) = delete;
    HttpTestServer& operator=(const HttpTestServer&) = delete;

    std::uint16_t Port() const { return port_; }
    std::string Url(std::string_view path) const; // path starts with '/'

    // Whether the connection ends after an answer or waits for the next request on it.
    enum class Then { kClose, kKeepOpen };
    // Sends `bytes` as they are.
    void Answer(const std::string& path, std::string bytes, Then then = Then::kClose);
    // Reads the request and never answers.
    void Silent(const std::string& path);
    // Sends `header`, then `chunk` again and again until the client goes away.
    void Endless(const std::string& path, std::string header, std::string chunk);
    // Sends `bytes` in pieces of `piece` bytes with a pause before each, then ends its side.
    void Trickle(const std::string& path, std::string bytes, std::size_t piece,
                 std::chrono::milliseconds pause);

    // Request heads in order of arrival, request line first.
    const std::vector<std::string>& Requests() const { return state_->requests; }
    int Accepted() const { return state_->accepted; }
    // Connections the client closed (or reset).
    int HungUp() const { return state_->hung_up; }

    enum class Mode { kAnswer, kKeepOpen, kSilent, kEndless, kTrickle };
    struct Route {
        Mode mode = Mode::kAnswer;
        std::string bytes; // the answer, or the endless body's header
        std::string chunk;
        std::size_t piece = 0;
        std::chrono::milliseconds pause{0};
    };
    // Shared with the connections, which may outlive the server on the loop.
    struct State {
        std::map<std::string, Route> routes;
        std::vector<std::string> requests;
        int accepted = 0;
        int hung_up = 0;
        bool stopped = false;
    };

private:
    void AcceptNext();

    asio::ip::tcp::acceptor acceptor_;
    std::uint16_t port_ = 0;
    std::shared_ptr<State> state_;
};

} // namespace tess::test
