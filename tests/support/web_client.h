#pragma once

// A plain blocking HTTP client over real sockets on 127.0.0.1, for the web server tests, and
// a thread that runs an event loop while the test acts as the client.

#include <chrono>
#include <cstdint>
#include <functional>
#include <future>
#include <optional>
#include <string>
#include <string_view>
#include <thread>

#include <asio/io_context.hpp>
#include <asio/post.hpp>

namespace tess::test {

using Millis = std::chrono::milliseconds;

class ClientSocket {
public:
    // Connects to 127.0.0.1:port; Connected() is false when that failed. A receive buffer
    // size other than 0 is set before connecting (a small one makes a client that reads
    // nothing stall the server's sending soon). A `source` address of the loopback range
    // ("127.0.0.2") makes the connection come from another client as the server sees it.
    explicit ClientSocket(std::uint16_t port, int receive_buffer = 0, const char* source = nullptr);
    ~ClientSocket();
    ClientSocket(ClientSocket&& other) noexcept;
    ClientSocket(const ClientSocket&) = delete;
    ClientSocket& operator=(const ClientSocket&) = delete;

    bool Connected() const { return fd_ >= 0; }
    bool Send(std::string_view bytes);
    // One response: the header up to its empty line and Content-Length bytes after it;
    // nullopt when the connection closed or nothing complete came within `timeout`.
    std::optional<std::string> ReadResponse(Millis timeout = Millis(5000));
    // Whatever arrives within `timeout`, without waiting for more once the peer closed.
    std::string ReadFor(Millis timeout);
    // True when the peer closes (or resets) the connection within `timeout`.
    bool WaitClosed(Millis timeout);
    void Close();
    // Closes with a reset instead of the orderly end.
    void Abort();

private:
    int fd_ = -1;
    std::string pending_; // bytes read past the last response
};

// Connects, sends `request` and returns everything the server sends until it closes.
std::string Exchange(std::uint16_t port, std::string_view request, Millis timeout = Millis(5000));

// "GET /<path> HTTP/1.1" with a Host line, and keep-alive when asked.
std::string GetRequest(std::string_view path, bool keep_alive = false);

// The header part of a response and its body.
std::string HeaderOf(std::string_view response);
std::string BodyOf(std::string_view response);

// Runs an io_context on its own thread until destroyed; OnLoop runs a function there and
// waits for it, so the test never touches the server while the loop does.
class LoopThread {
public:
    explicit LoopThread(asio::io_context& loop);
    ~LoopThread();

    template <typename F>
    auto OnLoop(F f) -> decltype(f()) {
        std::packaged_task<decltype(f())()> task(std::move(f));
        auto result = task.get_future();
        asio::post(loop_, [&task] { task(); });
        return result.get();
    }

private:
    asio::io_context& loop_;
    asio::executor_work_guard<asio::io_context::executor_type> work_;
    std::thread thread_;
};

} // namespace tess::test
