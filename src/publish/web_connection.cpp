#include "publish/web_connection.h"

#include "publish/picture_stream.h"
#include "publish/response_sender.h"
#include "publish/web_request.h"
#include "publish/web_response.h"
#include "publish/web_server.h"

#include <array>

#include <asio/post.hpp>

namespace tess {

namespace {

constexpr std::size_t kReadChunk = 4096;

} // namespace

// The socket and everything a pending operation may still touch. Handlers hold it, so it
// outlives the member's interest in it; `owner` is cleared when the member lets go, and a
// handler that finds it cleared does nothing.
struct WebConnection::Io {
    Io(asio::ip::tcp::socket s, WebConnection* o) : socket(std::move(s)), owner(o) {}

    asio::ip::tcp::socket socket;
    WebConnection* owner;
    std::array<char, kReadChunk> input{};
    ResponseSender sender;
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
    // Answers are written straight from the handlers, as far as the socket takes them.
    io_->socket.native_non_blocking(true, ec);
    // Each answer goes out in whole writes; waiting to coalesce them only adds latency.
    io_->socket.set_option(asio::ip::tcp::no_delay(true), ec);
    auto peer = io_->socket.remote_endpoint(ec);
    address_ = ec ? std::string() : peer.address().to_string();
    ReadMore();
}

void WebConnection::ForceClose() {
    if (stream_) {
        stream_->Unsubscribe(stream_viewer_);
        stream_.reset();
    }
    sending_ = false;
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
    // A stream's client has nothing more to ask; reading only tells when it leaves.
    if (Streaming()) return ReadMore();
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
    if (!AnswerNeedsEncoding(context, path)) return Respond(context, path);
    held_ = true;
    held_path_ = path;
    server_.HoldForEncoding(*this);
}

void WebConnection::AnswerHeldRequest() {
    if (!held_) return; // closed meanwhile
    held_ = false;
    Respond(server_.ReplyContext(*this), held_path_);
}

void WebConnection::Respond(const WebReplyContext& context, const std::string& path) {
    CanvasWebServer* streamed = StreamedCanvas(context, path);
    if (streamed && streamed->Schedule().EnableNow(context.now))
        return StartStream(context, *streamed);
    Send(AnswerWebRequest(context, path));
}

// The stream's header goes first; each part after it is the newest picture when the one
// before has gone out, so a slow client skips pictures rather than queueing them.
void WebConnection::StartStream(const WebReplyContext& context, CanvasWebServer& canvas) {
    keep_alive_ = false;
    buffer_.clear();
    stream_ = canvas.StartStream(context.now);
    stream_revision_ = 0;
    stream_phase_ = StreamPhase::Live;
    auto io = io_;
    stream_viewer_ = stream_->Subscribe([io] {
        if (io->owner && !io->owner->sending_) io->owner->NextStreamStep();
    });
    WebReply reply;
    reply.header = StreamResponseHeader(context.date, PictureStream::kBoundary);
    Send(std::move(reply));
    if (io_ == io) ReadMore();
}

void WebConnection::NextStreamStep() {
    WebReply reply;
    switch (stream_phase_) {
    case StreamPhase::Closing:
        return ForceClose();
    case StreamPhase::LastPart:
        stream_phase_ = StreamPhase::Closing;
        reply.header = "\r\n" + StreamEnd();
        return Send(std::move(reply));
    case StreamPhase::Live:
        break;
    }
    if (stream_->Ended()) return SendStreamEnd();
    if (!stream_->Part() || stream_->Revision() == stream_revision_) return; // fed; waits
    stream_revision_ = stream_->Revision();
    reply.picture = stream_->Part();
    Send(std::move(reply));
}

// The off-schedule picture is the last thing a viewer sees, when there is one.
void WebConnection::SendStreamEnd() {
    WebReply reply;
    WebFile last;
    if (!stream_->LastFile().empty()) last = WebFile::Open(web_path_, stream_->LastFile());
    if (!last.IsOpen()) {
        stream_phase_ = StreamPhase::Closing;
        reply.header = StreamEnd();
        return Send(std::move(reply));
    }
    stream_phase_ = StreamPhase::LastPart;
    reply.header = StreamPartHeader(ContentTypeFor(stream_->LastFile()), last.Size());
    reply.file = std::move(last);
    Send(std::move(reply));
}

void WebConnection::CheckStreamSchedule(double now) {
    if (stream_) stream_->CheckSchedule(now);
}

std::size_t WebConnection::HeldBytes() const {
    return io_ && sending_ ? io_->sender.HeldBytes() : 0;
}

void WebConnection::Send(WebReply reply) {
    io_->sender = ResponseSender(std::move(reply));
    sending_ = true;
    // A stream's part starts the stall clock afresh: waiting for a picture is not idling.
    if (Streaming()) NoteProgress();
    Write();
}

void WebConnection::Write() {
    auto io = io_;
    bool progressed = false;
    ResponseSender::Step step = io->sender.SendSome(io->socket.native_handle(), progressed);
    if (progressed) NoteProgress();
    switch (step) {
    case ResponseSender::Step::Done:
        return Socket_SendComplete();
    case ResponseSender::Step::Failed:
        return ForceClose(); // Socket_Error
    case ResponseSender::Step::Wait:
        break;
    }
    io->socket.async_wait(asio::socket_base::wait_write, [io](const std::error_code& ec) {
        if (!io->owner) return;
        if (ec) return io->owner->ForceClose();
        io->owner->Write();
    });
}

void WebConnection::Socket_SendComplete() {
    last_progress_time_ = server_.Now();
    io_->sender = ResponseSender();
    sending_ = false;
    if (Streaming()) return NextStreamStep();
    if (!keep_alive_) return ForceClose();
    if (buffer_.empty()) return ReadMore();
    // A pipelined request is answered from the loop, not from inside this answer's call.
    auto io = io_;
    asio::post(io->socket.get_executor(), [io] {
        if (io->owner) io->owner->ProcessBuffer();
    });
}

void WebConnection::NoteProgress() {
    last_progress_time_ = server_.Now();
}

} // namespace tess
