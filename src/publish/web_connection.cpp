#include "publish/web_connection.h"

#include "publish/web_request.h"
#include "publish/web_server.h"

#include <algorithm>
#include <array>
#include <vector>

#include <asio/write.hpp>

namespace tess {

namespace {

constexpr std::size_t kReadChunk = 4096;
constexpr std::size_t kFileChunk = 64 * 1024;
// Bytes handed to one write call: a whole canvas picture and its header in one go.
constexpr std::size_t kWriteLimit = 1024 * 1024;

} // namespace

// The socket and everything a pending operation may still touch. Handlers hold it, so it
// outlives the member's interest in it; `owner` is cleared when the member lets go, and a
// handler that finds it cleared does nothing.
struct WebConnection::Io {
    Io(asio::ip::tcp::socket s, WebConnection* o) : socket(std::move(s)), owner(o) {}

    asio::ip::tcp::socket socket;
    WebConnection* owner;
    std::array<char, kReadChunk> input{};
    WebReply reply;
    std::vector<std::uint8_t> chunk; // the part of a file being written
    std::size_t chunk_size = 0;
};

WebConnection::WebConnection(WebServer& server, int index) : server_(server), index_(index) {}

WebConnection::~WebConnection() {
    ForceClose();
}

void WebConnection::TakeConnection(asio::ip::tcp::socket socket, double now) {
    ForceClose();
    state_ = kInUse;
    last_activity_time_ = last_progress_time_ = now;
    buffer_.clear();
    keep_alive_ = false;
    io_ = std::make_shared<Io>(std::move(socket), this);
    std::error_code ec;
    // Each answer goes out in whole writes; waiting to coalesce them only adds latency.
    io_->socket.set_option(asio::ip::tcp::no_delay(true), ec);
    auto peer = io_->socket.remote_endpoint(ec);
    address_ = ec ? std::string() : peer.address().to_string();
    ReadMore();
}

void WebConnection::ForceClose() {
    if (io_) {
        io_->owner = nullptr;
        std::error_code ec;
        io_->socket.close(ec);
        io_.reset();
    }
    state_ = kFree;
    buffer_.clear();
    keep_alive_ = false;
    held_ = false;
    file_left_ = 0;
}

void WebConnection::ReadMore() {
    auto io = io_;
    io->socket.async_read_some(asio::buffer(io->input),
                               [io](const std::error_code& ec, std::size_t bytes) {
                                   if (!io->owner) return;
                                   // The client closed its end, or the socket failed.
                                   if (ec) return io->owner->ForceClose();
                                   io->owner->Socket_DataArrival(bytes);
                               });
}

void WebConnection::Socket_DataArrival(std::size_t bytes) {
    buffer_.append(io_->input.data(), bytes);
    ProcessBuffer();
}

void WebConnection::ProcessBuffer() {
    WebRequestParse parse = ParseWebRequest(buffer_);
    switch (parse.result) {
    case WebParse::Incomplete:
    case WebParse::NotAnswered: // never answered; the idle limit ends it if nothing follows
        return ReadMore();
    case WebParse::BadRequest:
    case WebParse::TooLarge:
        return ForceClose();
    case WebParse::Get:
        break;
    }
    keep_alive_ = parse.keep_alive;
    // Only this request's bytes go: a pipelined next request waits for this answer.
    buffer_.erase(0, parse.length);
    Answer(parse.path);
}

void WebConnection::Answer(const std::string& path) {
    auto io = io_;
    server_.NotifyWebRequest(address_, path);
    if (io_ != io) return; // the script's handler closed this connection or the server
    WebReplyContext context = server_.ReplyContext(*this);
    if (!AnswerNeedsEncoding(context, path)) return Send(AnswerWebRequest(context, path));
    held_ = true;
    held_path_ = path;
    server_.HoldForEncoding(*this);
}

void WebConnection::AnswerHeldRequest() {
    if (!held_) return; // closed meanwhile
    held_ = false;
    Send(AnswerWebRequest(server_.ReplyContext(*this), held_path_));
}

void WebConnection::Send(WebReply reply) {
    io_->reply = std::move(reply);
    file_left_ = io_->reply.file.IsOpen() ? io_->reply.file.Size() : 0;
    if (file_left_ > 0 && !ReadFileChunk()) return ForceClose();
    Write(true);
}

// A file is sent in chunks, so a large one never sits whole in memory.
bool WebConnection::ReadFileChunk() {
    Io& io = *io_;
    if (io.chunk.empty()) io.chunk.resize(kFileChunk);
    std::size_t want = static_cast<std::size_t>(std::min<std::uint64_t>(file_left_, kFileChunk));
    std::ptrdiff_t got = io.reply.file.Read({io.chunk.data(), want});
    // A file that shrank since it was opened cannot fill the length already announced.
    if (got <= 0) return false;
    io.chunk_size = static_cast<std::size_t>(got);
    file_left_ -= io.chunk_size;
    return true;
}

void WebConnection::Write(bool with_header) {
    auto io = io_;
    std::array<asio::const_buffer, 2> buffers{};
    if (with_header) buffers[0] = asio::buffer(io->reply.header);
    if (io->reply.picture) {
        buffers[1] = asio::buffer(*io->reply.picture);
    } else if (io->chunk_size > 0) {
        buffers[1] = asio::buffer(io->chunk.data(), io->chunk_size);
    }
    asio::async_write(
        io->socket, buffers,
        [io](const std::error_code& ec, std::size_t written) -> std::size_t {
            if (ec) return 0;
            if (written > 0 && io->owner) io->owner->NoteProgress();
            return kWriteLimit;
        },
        [io](const std::error_code& ec, std::size_t) {
            if (!io->owner) return;
            if (ec) return io->owner->ForceClose(); // Socket_Error
            io->owner->Socket_SendComplete();
        });
}

void WebConnection::Socket_SendComplete() {
    io_->chunk_size = 0;
    if (file_left_ > 0) {
        if (!ReadFileChunk()) return ForceClose();
        return Write(false);
    }
    last_progress_time_ = server_.Now();
    io_->reply = WebReply();
    if (!keep_alive_) return ForceClose();
    if (buffer_.empty()) return ReadMore();
    ProcessBuffer();
}

void WebConnection::NoteProgress() {
    last_progress_time_ = server_.Now();
}

} // namespace tess
