#pragma once

// One member of the web server's pool: it owns one accepted socket at a time, collects the
// request, answers it and, when the request asked for keep-alive, waits for the next one on
// the same socket. Everything happens on the event loop; a request is answered as soon as
// the data that completes it arrives.

#include "publish/web_reply.h"

#include <cstdint>
#include <memory>
#include <string>

#include <asio/ip/tcp.hpp>

namespace tess {

class CanvasWebServer;
class PictureStream;
class WebServer;

class WebConnection {
public:
    enum : std::int32_t { kFree = 0, kInUse = 1 };

    WebConnection(WebServer& server, int index);
    ~WebConnection();
    WebConnection(const WebConnection&) = delete;
    WebConnection& operator=(const WebConnection&) = delete;

    int Index() const { return index_; }
    std::int32_t State() const { return state_; }
    // When the member was taken: the pool's reclaim rule counts from it.
    double LastActivityTime() const { return last_activity_time_; }
    // When it was taken, or last finished a response or got a write through: the idle limit
    // counts from it. Bytes of an unfinished request do not count, so a client trickling a
    // header cannot hold a member.
    double LastProgressTime() const { return last_progress_time_; }

    // The client's address ("127.0.0.1") while in use.
    const std::string& Address() const { return address_; }

    // Copied from the server when the member is taken.
    const std::string& WebPath() const { return web_path_; }
    void SetWebPath(std::string value) { web_path_ = std::move(value); }
    bool AllowNonCanvasServes() const { return allow_non_canvas_serves_; }
    void SetAllowNonCanvasServes(bool value) { allow_non_canvas_serves_ = value; }

    // Starts serving an accepted socket: in use, activity now, buffer empty.
    void TakeConnection(asio::ip::tcp::socket socket, double now);
    // Closes the socket; the member is free again.
    void ForceClose();
    // The server's turn for a request held back because its answer encodes a picture.
    void AnswerHeldRequest();

    // Sending a canvas's live stream. Such a member is not idle while it waits for the next
    // picture; it is when its client has taken nothing of the part under way for a while.
    bool Streaming() const { return stream_ != nullptr; }
    bool StreamStalled() const { return Streaming() && sending_; }
    // Ends the stream when the canvas's schedule has closed at `now`.
    void CheckStreamSchedule(double now);
    // Bytes held in memory for this member's answer under way: for a stream, at most the
    // one part being sent, however many pictures its client did not take.
    std::size_t HeldBytes() const;

private:
    struct Io;

    void ReadMore();
    void Socket_DataArrival(std::size_t bytes);
    void ProcessBuffer();
    void Answer(const std::string& path);
    void Respond(const WebReplyContext& context, const std::string& path);
    void StartStream(const WebReplyContext& context, CanvasWebServer& canvas);
    void NextStreamStep();
    void SendStreamEnd();
    void Send(WebReply reply);
    void Write();
    void Socket_SendComplete();
    void NoteProgress();

    WebServer& server_;
    int index_;
    std::int32_t state_ = kFree;
    double last_activity_time_ = 0;
    double last_progress_time_ = 0;
    std::string web_path_;
    bool allow_non_canvas_serves_ = false;
    std::string buffer_;
    bool keep_alive_ = false;
    std::string address_;
    bool held_ = false; // waiting in the server's queue of answers that encode
    std::string held_path_;
    std::shared_ptr<Io> io_;
    bool sending_ = false; // an answer, or a stream's part, is under way

    enum class StreamPhase { Live, LastPart, Closing };
    std::shared_ptr<PictureStream> stream_;
    int stream_viewer_ = 0;
    std::uint64_t stream_revision_ = 0; // of the last part taken
    StreamPhase stream_phase_ = StreamPhase::Live;
};

} // namespace tess
