#pragma once

// Writes one answer (its header, then the picture's or the file's bytes) to a non-blocking
// socket as far as the socket takes it. Bodies held in a file (a web folder file, or a
// picture kept in an in-memory file) go with sendfile(), so the kernel sends their pages
// without copying them through this process; the header is sent with MSG_MORE so that it
// leaves in the same segment as the body's first bytes. SIGPIPE must be ignored, as Asio's
// event loop does: sendfile() to a socket closed by its peer raises it.

#include "publish/web_reply.h"

#include <cstdint>

namespace tess {

class ResponseSender {
public:
    enum class Step {
        Done,   // everything sent
        Wait,   // the socket is full: call again when it is writable
        Failed, // the socket failed, or a file shrank below the length announced
    };

    ResponseSender() = default;
    explicit ResponseSender(WebReply reply);

    // Sends what the socket takes now. `progressed` tells whether any byte went.
    Step SendSome(int socket, bool& progressed);

    // Bytes of the answer kept in memory for sending (a file's bytes stay in the file).
    std::size_t HeldBytes() const {
        return reply_.header.size() + (reply_.picture ? reply_.picture->size() : 0);
    }

private:
    std::uint64_t BodySize() const;
    Step SendHeader(int socket, bool& progressed);
    Step SendBody(int socket, bool& progressed);

    WebReply reply_;
    std::size_t header_sent_ = 0;
    std::uint64_t body_sent_ = 0;
};

} // namespace tess
