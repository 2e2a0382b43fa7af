#include "publish/response_sender.h"
#include "support/temp_dir.h"

#include <csignal>
#include <fcntl.h>
#include <netinet/in.h>
#include <random>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

namespace tess {
namespace {

// A connected pair of TCP sockets on 127.0.0.1 whose sending side is non-blocking and has
// a small buffer, so that a large answer takes many calls and waits in between.
class LoopbackPair {
public:
    LoopbackPair() {
        int listener = ::socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof address;
        ::bind(listener, reinterpret_cast<sockaddr*>(&address), length);
        ::listen(listener, 1);
        ::getsockname(listener, reinterpret_cast<sockaddr*>(&address), &length);
        sender = ::socket(AF_INET, SOCK_STREAM, 0);
        int small = 4096;
        ::setsockopt(sender, SOL_SOCKET, SO_SNDBUF, &small, sizeof small);
        ::connect(sender, reinterpret_cast<sockaddr*>(&address), length);
        receiver = ::accept(listener, nullptr, nullptr);
        ::close(listener);
        ::fcntl(sender, F_SETFL, ::fcntl(sender, F_GETFL) | O_NONBLOCK);
    }
    ~LoopbackPair() {
        if (sender >= 0) ::close(sender);
        if (receiver >= 0) ::close(receiver);
    }

    // Runs the sender to its end, reading whatever arrives whenever it has to wait.
    ResponseSender::Step SendAll(ResponseSender& sender_state, int& waits) {
        for (;;) {
            bool progressed = false;
            ResponseSender::Step step = sender_state.SendSome(sender, progressed);
            if (step != ResponseSender::Step::Wait) {
                ::shutdown(sender, SHUT_WR);
                Drain();
                return step;
            }
            ++waits;
            Drain(MSG_DONTWAIT);
        }
    }

    void Drain(int flags = 0) {
        char chunk[8192];
        for (ssize_t n; (n = ::recv(receiver, chunk, sizeof chunk, flags)) > 0;)
            received.append(chunk, static_cast<std::size_t>(n));
    }

    int sender = -1;
    int receiver = -1;
    std::string received;
};

std::vector<std::uint8_t> RandomBytes(std::size_t size) {
    std::mt19937 random(7);
    std::vector<std::uint8_t> bytes(size);
    for (auto& b : bytes)
        b = static_cast<std::uint8_t>(random());
    return bytes;
}

std::string AsString(const std::vector<std::uint8_t>& bytes) {
    return {bytes.begin(), bytes.end()};
}

WebReply PictureReply(std::vector<std::uint8_t> bytes) {
    WebReply reply;
    reply.header = "HTTP/1.1 200 OK\r\n\r\n";
    reply.picture = std::make_shared<const WebPicture>(std::move(bytes));
    return reply;
}

TEST(ResponseSender, APictureArrivesWholeAfterTheHeaderThroughAFullSocket) {
    std::vector<std::uint8_t> bytes = RandomBytes(300'000);
    WebReply reply = PictureReply(bytes);
    ASSERT_GE(reply.picture->Fd(), 0); // sent from its in-memory file
    LoopbackPair pair;
    ResponseSender sender(std::move(reply));
    int waits = 0;
    EXPECT_EQ(pair.SendAll(sender, waits), ResponseSender::Step::Done);
    EXPECT_GT(waits, 0);
    EXPECT_TRUE(pair.received == "HTTP/1.1 200 OK\r\n\r\n" + AsString(bytes));
}

TEST(ResponseSender, AMemoryOnlyPictureHasNoFileAndArrivesWhole) {
    std::vector<std::uint8_t> bytes = RandomBytes(200'000);
    WebReply reply;
    reply.header = "P\r\n\r\n";
    reply.picture = std::make_shared<const WebPicture>(bytes, WebPicture::Storage::MemoryOnly);
    EXPECT_EQ(reply.picture->Fd(), -1);
    LoopbackPair pair;
    ResponseSender sender(std::move(reply));
    int waits = 0;
    EXPECT_EQ(pair.SendAll(sender, waits), ResponseSender::Step::Done);
    EXPECT_TRUE(pair.received == "P\r\n\r\n" + AsString(bytes));
}

TEST(ResponseSender, APictureKeptInMemoryWhenNoFileCanBeMadeIsSentTheSame) {
    std::vector<std::uint8_t> bytes = RandomBytes(100'000);
    // No room for the file: a file size limit stops the write into it part way.
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit saved{};
    ::getrlimit(RLIMIT_FSIZE, &saved);
    rlimit low = saved;
    low.rlim_cur = 4096;
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &low), 0);
    auto picture = std::make_shared<const WebPicture>(bytes);
    EXPECT_EQ(picture->Fd(), -1); // the file is made when first asked for
    ::setrlimit(RLIMIT_FSIZE, &saved);
    EXPECT_EQ(picture->Fd(), -1); // and tried once only
    ASSERT_EQ(picture->size(), bytes.size());
    EXPECT_TRUE(std::equal(bytes.begin(), bytes.end(), picture->Bytes().begin()));
    WebReply reply;
    reply.header = "H\r\n\r\n";
    reply.picture = picture;
    LoopbackPair pair;
    ResponseSender sender(std::move(reply));
    int waits = 0;
    EXPECT_EQ(pair.SendAll(sender, waits), ResponseSender::Step::Done);
    EXPECT_TRUE(pair.received == "H\r\n\r\n" + AsString(bytes));
}

TEST(ResponseSender, AFileIsSentWholeAndAFileThatShrankFails) {
    test::TempDir dir;
    std::vector<std::uint8_t> bytes = RandomBytes(50'000);
    test::WriteFileBytes(dir.File("page.htm"), AsString(bytes));
    {
        WebReply reply;
        reply.header = "head";
        reply.file = WebFile::Open(dir.Path(), "page.htm");
        LoopbackPair pair;
        ResponseSender sender(std::move(reply));
        int waits = 0;
        EXPECT_EQ(pair.SendAll(sender, waits), ResponseSender::Step::Done);
        EXPECT_TRUE(pair.received == "head" + AsString(bytes));
    }
    WebReply reply;
    reply.header = "head";
    reply.file = WebFile::Open(dir.Path(), "page.htm");
    ASSERT_EQ(::truncate(dir.File("page.htm").c_str(), 1000), 0);
    LoopbackPair pair;
    ResponseSender sender(std::move(reply));
    int waits = 0;
    EXPECT_EQ(pair.SendAll(sender, waits), ResponseSender::Step::Failed);
    EXPECT_EQ(pair.received.size(), 4u + 1000u);
}

TEST(ResponseSender, AHeaderAloneAndAClosedPeer) {
    WebReply reply;
    reply.header = "HTTP/1.0 404 Not Found\r\n\r\n";
    LoopbackPair pair;
    ResponseSender alone(std::move(reply));
    int waits = 0;
    EXPECT_EQ(pair.SendAll(alone, waits), ResponseSender::Step::Done);
    EXPECT_EQ(pair.received, "HTTP/1.0 404 Not Found\r\n\r\n");

    // A peer gone mid-answer fails the answer instead of waiting for it forever. sendfile()
    // raises SIGPIPE there, which the program ignores as Asio's event loop does.
    std::signal(SIGPIPE, SIG_IGN);
    LoopbackPair gone;
    ::close(gone.receiver);
    gone.receiver = -1;
    ResponseSender sender(PictureReply(RandomBytes(200'000)));
    bool progressed = false;
    ResponseSender::Step step = ResponseSender::Step::Wait;
    for (int i = 0; i < 100 && step == ResponseSender::Step::Wait; ++i) {
        step = sender.SendSome(gone.sender, progressed);
        ::usleep(1000);
    }
    EXPECT_EQ(step, ResponseSender::Step::Failed);
}

} // namespace
} // namespace tess
