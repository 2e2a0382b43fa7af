#include "support/web_client.h"

#include <arpa/inet.h>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace tess::test {

namespace {

using Clock = std::chrono::steady_clock;

int RemainingMs(Clock::time_point deadline) {
    auto left = std::chrono::duration_cast<Millis>(deadline - Clock::now()).count();
    return left > 0 ? static_cast<int>(left) : 0;
}

// Reads what is there within the deadline: > 0 bytes, 0 at the peer's close, -1 on timeout
// or error.
ssize_t ReadSome(int fd, std::string& into, Clock::time_point deadline) {
    pollfd p{fd, POLLIN, 0};
    if (::poll(&p, 1, RemainingMs(deadline)) <= 0) return -1;
    char buffer[65536];
    ssize_t n = ::recv(fd, buffer, sizeof buffer, 0);
    if (n < 0) return errno == ECONNRESET ? 0 : -1;
    into.append(buffer, static_cast<std::size_t>(n));
    return n;
}

std::size_t ContentLength(std::string_view header) {
    constexpr std::string_view key = "\r\nContent-Length: ";
    std::size_t at = header.find(key);
    if (at == std::string_view::npos) return 0;
    return std::strtoull(std::string(header.substr(at + key.size(), 20)).c_str(), nullptr, 10);
}

} // namespace

ClientSocket::ClientSocket(std::uint16_t port, int receive_buffer, const char* source) {
    fd_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd_ < 0) return;
    if (receive_buffer > 0)
        ::setsockopt(fd_, SOL_SOCKET, SO_RCVBUF, &receive_buffer, sizeof receive_buffer);
    if (source) {
        sockaddr_in from{};
        from.sin_family = AF_INET;
        if (::inet_pton(AF_INET, source, &from.sin_addr) != 1 ||
            ::bind(fd_, reinterpret_cast<sockaddr*>(&from), sizeof from) != 0) {
            Close();
            return;
        }
    }
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (::connect(fd_, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) Close();
}

ClientSocket::~ClientSocket() {
    Close();
}

ClientSocket::ClientSocket(ClientSocket&& other) noexcept
    : fd_(other.fd_), pending_(std::move(other.pending_)) {
    other.fd_ = -1;
}

void ClientSocket::Close() {
    if (fd_ >= 0) ::close(fd_);
    fd_ = -1;
}

bool ClientSocket::Send(std::string_view bytes) {
    while (!bytes.empty()) {
        ssize_t n = ::send(fd_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (n <= 0) return false;
        bytes.remove_prefix(static_cast<std::size_t>(n));
    }
    return true;
}

std::optional<std::string> ClientSocket::ReadResponse(Millis timeout) {
    auto deadline = Clock::now() + timeout;
    std::string data = std::move(pending_);
    pending_.clear();
    std::size_t header_end;
    while ((header_end = data.find("\r\n\r\n")) == std::string::npos) {
        if (ReadSome(fd_, data, deadline) <= 0) return std::nullopt;
    }
    std::size_t total =
        header_end + 4 + ContentLength(std::string_view(data).substr(0, header_end));
    while (data.size() < total) {
        if (ReadSome(fd_, data, deadline) <= 0) return std::nullopt;
    }
    pending_ = data.substr(total);
    data.resize(total);
    return data;
}

std::string ClientSocket::ReadFor(Millis timeout) {
    auto deadline = Clock::now() + timeout;
    std::string data = std::move(pending_);
    pending_.clear();
    while (ReadSome(fd_, data, deadline) > 0) {
    }
    return data;
}

bool ClientSocket::WaitClosed(Millis timeout) {
    auto deadline = Clock::now() + timeout;
    std::string ignored;
    for (;;) {
        ssize_t n = ReadSome(fd_, ignored, deadline);
        if (n == 0) return true;
        if (n < 0) return false;
    }
}

void ClientSocket::Abort() {
    if (fd_ < 0) return;
    linger reset{1, 0};
    ::setsockopt(fd_, SOL_SOCKET, SO_LINGER, &reset, sizeof reset);
    Close();
}

std::string Exchange(std::uint16_t port, std::string_view request, Millis timeout) {
    ClientSocket socket(port);
    if (!socket.Connected() || !socket.Send(request)) return {};
    return socket.ReadFor(timeout);
}

std::string GetRequest(std::string_view path, bool keep_alive) {
    std::string request = "GET /" + std::string(path) + " HTTP/1.1\r\nHost: 127.0.0.1\r\n";
    if (keep_alive) request += "Connection: keep-alive\r\n";
    return request + "\r\n";
}

std::string HeaderOf(std::string_view response) {
    std::size_t end = response.find("\r\n\r\n");
    return std::string(response.substr(0, end == std::string_view::npos ? 0 : end + 4));
}

std::string BodyOf(std::string_view response) {
    std::size_t end = response.find("\r\n\r\n");
    return end == std::string_view::npos ? std::string() : std::string(response.substr(end + 4));
}

LoopThread::LoopThread(asio::io_context& loop)
    : loop_(loop), work_(asio::make_work_guard(loop)), thread_([this] { loop_.run(); }) {}

LoopThread::~LoopThread() {
    work_.reset();
    loop_.stop();
    thread_.join();
}

} // namespace tess::test
