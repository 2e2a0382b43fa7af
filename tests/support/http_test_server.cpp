#include "support/http_test_server.h"

#include <algorithm>

#include <asio/read_until.hpp>
#include <asio/steady_timer.hpp>
#include <asio/streambuf.hpp>
#include <asio/write.hpp>

namespace tess::test {

namespace {

using asio::ip::tcp;
using Mode = HttpTestServer::Mode;

class Connection : public std::enable_shared_from_this<Connection> {
public:
    Connection(tcp::socket socket, std::shared_ptr<HttpTestServer::State> state)
        : socket_(std::move(socket)), state_(std::move(state)) {}

    void Start() {
        asio::async_read_until(socket_, head_, "\r\n\r\n",
                               [self = shared_from_this()](std::error_code ec, std::size_t size) {
                                   if (self->state_->stopped) return;
                                   if (ec) return self->HungUp();
                                   self->Respond(size);
                               });
    }

private:
    // What follows a send: the end of our side, the same chunk again, or the next request.
    enum class Then { kEnd, kRepeat, kNextRequest };

    void Respond(std::size_t head_size) {
        std::string head(asio::buffers_begin(head_.data()),
                         asio::buffers_begin(head_.data()) + head_size);
        head_.consume(head_size);
        state_->requests.push_back(head);
        // "GET /path HTTP/1.1"
        std::size_t start = head.find(' ') + 1;
        std::string path = head.substr(start, head.find(' ', start) - start);
        auto it = state_->routes.find(path);
        if (it != state_->routes.end() && it->second.mode == Mode::kKeepOpen)
            return Send(it->second.bytes, Then::kNextRequest);

        WatchForHangUp();
        if (it == state_->routes.end())
            return Send(HttpAnswer(404, "Not Found", "none"), Then::kEnd);
        const HttpTestServer::Route& route = it->second;
        switch (route.mode) {
        case Mode::kAnswer:
            return Send(route.bytes, Then::kEnd);
        case Mode::kEndless:
            chunk_ = route.chunk;
            return Send(route.bytes, Then::kRepeat);
        case Mode::kTrickle:
            out_ = route.bytes;
            return SendPieces(0, route.piece, route.pause);
        default:
            return;
        }
    }

    void Send(std::string bytes, Then then) {
        out_ = std::move(bytes);
        asio::async_write(socket_, asio::buffer(out_),
                          [self = shared_from_this(), then](std::error_code ec, std::size_t) {
                              if (ec || self->state_->stopped) return;
                              if (then == Then::kRepeat) return self->Send(self->chunk_, then);
                              if (then == Then::kNextRequest) return self->Start();
                              self->socket_.shutdown(tcp::socket::shutdown_send, ec);
                          });
    }

    void SendPieces(std::size_t sent, std::size_t piece, std::chrono::milliseconds pause) {
        if (sent == out_.size()) {
            std::error_code ignored;
            socket_.shutdown(tcp::socket::shutdown_send, ignored);
            return;
        }
        pause_.expires_after(pause);
        pause_.async_wait([self = shared_from_this(), sent, piece, pause](std::error_code ec) {
            if (ec || self->state_->stopped) return;
            std::size_t size = std::min(piece, self->out_.size() - sent);
            asio::async_write(self->socket_, asio::buffer(self->out_.data() + sent, size),
                              [self, sent, size, piece, pause](std::error_code ec, std::size_t) {
                                  if (ec || self->state_->stopped) return;
                                  self->SendPieces(sent + size, piece, pause);
                              });
        });
    }

    // Reads (and drops) whatever else comes until the client closes.
    void WatchForHangUp() {
        socket_.async_read_some(asio::buffer(discard_),
                                [self = shared_from_this()](std::error_code ec, std::size_t) {
                                    if (self->state_->stopped) return;
                                    if (ec) return self->HungUp();
                                    self->WatchForHangUp();
                                });
    }

    void HungUp() {
        ++state_->hung_up;
        std::error_code ignored;
        socket_.close(ignored);
    }

    tcp::socket socket_;
    asio::steady_timer pause_{socket_.get_executor()};
    std::shared_ptr<HttpTestServer::State> state_;
    asio::streambuf head_{65536};
    std::string out_;
    std::string chunk_;
    char discard_[4096];
};

} // namespace

std::string HttpAnswer(int status, std::string_view reason, std::string_view body,
                       std::string_view headers) {
    std::string answer = "HTTP/1.1 " + std::to_string(status) + " " + std::string(reason) +
                         "\r\nContent-Length: " + std::to_string(body.size()) +
                         "\r\nConnection: close\r\n" + std::string(headers) + "\r\n";
    answer += body;
    return answer;
}

HttpTestServer::HttpTestServer(asio::io_context& loop)
    : acceptor_(loop, tcp::endpoint(asio::ip::address_v4::loopback(), 0)),
      state_(std::make_shared<State>()) {
    port_ = acceptor_.local_endpoint().port();
    AcceptNext();
}

HttpTestServer::~HttpTestServer() {
    state_->stopped = true;
    std::error_code ignored;
    acceptor_.close(ignored);
}

std::string HttpTestServer::Url(std::string_view path) const {
    return "http://127.0.0.1:" + std::to_string(port_) + std::string(path);
}

void HttpTestServer::Answer(const std::string& path, std::string bytes, Then then) {
    Mode mode = then == Then::kKeepOpen ? Mode::kKeepOpen : Mode::kAnswer;
    state_->routes[path] = Route{mode, std::move(bytes), {}};
}

void HttpTestServer::Silent(const std::string& path) {
    state_->routes[path] = Route{Mode::kSilent, {}, {}};
}

void HttpTestServer::Endless(const std::string& path, std::string header, std::string chunk) {
    state_->routes[path] = Route{Mode::kEndless, std::move(header), std::move(chunk)};
}

void HttpTestServer::Trickle(const std::string& path, std::string bytes, std::size_t piece,
                             std::chrono::milliseconds pause) {
    state_->routes[path] = Route{Mode::kTrickle, std::move(bytes), {}, piece, pause};
}

void HttpTestServer::AcceptNext() {
    acceptor_.async_accept([this, state = state_](std::error_code ec, tcp::socket socket) {
        if (state->stopped) return;
        if (!ec) {
            ++state->accepted;
            std::make_shared<Connection>(std::move(socket), state)->Start();
        }
        AcceptNext();
    });
}

} // namespace tess::test
