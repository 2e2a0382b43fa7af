#include "publish/response_sender.h"

#include <algorithm>
#include <cerrno>
#include <sys/sendfile.h>
#include <sys/socket.h>

namespace tess {

namespace {

// sendfile() moves at most this much in one call on Linux; asking for more is harmless but
// the count must fit its size_t argument on every platform we build for.
constexpr std::uint64_t kMaxSendfile = 0x7ffff000;

using Step = ResponseSender::Step;

// After a failed call: a full socket is waited on, anything else ends the answer.
Step AfterError() {
    if (errno == EAGAIN || errno == EWOULDBLOCK) return Step::Wait;
    return Step::Failed;
}

} // namespace

ResponseSender::ResponseSender(WebReply reply) : reply_(std::move(reply)) {}

std::uint64_t ResponseSender::BodySize() const {
    if (reply_.picture) return reply_.picture->size();
    return reply_.file.IsOpen() ? reply_.file.Size() : 0;
}

ResponseSender::Step ResponseSender::SendSome(int socket, bool& progressed) {
    progressed = false;
    Step step = SendHeader(socket, progressed);
    if (step != Step::Done) return step;
    return SendBody(socket, progressed);
}

ResponseSender::Step ResponseSender::SendHeader(int socket, bool& progressed) {
    const std::string& header = reply_.header;
    int more = BodySize() > 0 ? MSG_MORE : 0;
    while (header_sent_ < header.size()) {
        ssize_t n = ::send(socket, header.data() + header_sent_, header.size() - header_sent_,
                           MSG_NOSIGNAL | more);
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) return AfterError();
        header_sent_ += static_cast<std::size_t>(n);
        progressed = true;
    }
    return Step::Done;
}

ResponseSender::Step ResponseSender::SendBody(int socket, bool& progressed) {
    const std::uint64_t size = BodySize();
    const int fd = reply_.picture ? reply_.picture->Fd() : reply_.file.Fd();
    while (body_sent_ < size) {
        std::uint64_t left = size - body_sent_;
        ssize_t n;
        if (fd >= 0) {
            off_t offset = static_cast<off_t>(body_sent_);
            n = ::sendfile(socket, fd, &offset, std::min(left, kMaxSendfile));
        } else {
            const std::uint8_t* data = reply_.picture->Bytes().data() + body_sent_;
            n = ::send(socket, data, left, MSG_NOSIGNAL);
        }
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) return AfterError();
        if (n == 0) return Step::Failed; // the file ends before the length announced
        body_sent_ += static_cast<std::uint64_t>(n);
        progressed = true;
    }
    return Step::Done;
}

} // namespace tess
