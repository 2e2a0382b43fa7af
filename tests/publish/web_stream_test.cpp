// The live stream of a served canvas ("Canvas01.mjpg") over real sockets on 127.0.0.1.

#include "publish/picture_stream.h"
#include "web_fixture.h"

#include <optional>
#include <random>

namespace tess {
namespace {

using test::BodyOf;
using test::ClientSocket;
using test::GetRequest;
using test::Millis;

using WebStreamTest = test::WebServerFixture;

// Reads a multipart stream as a browser would: the answer's header, then one whole part at a
// time, each checked against its own Content-Length and the line end that follows it.
class StreamClient {
public:
    StreamClient(std::uint16_t port, std::string_view path, int receive_buffer = 0)
        : socket_(port, receive_buffer) {
        socket_.Send(GetRequest(path));
    }

    // The answer's header, up to its empty line.
    std::optional<std::string> Header() {
        if (!Fill([this] { return buffer_.find("\r\n\r\n") != std::string::npos; }))
            return std::nullopt;
        std::size_t end = buffer_.find("\r\n\r\n") + 4;
        std::string header = buffer_.substr(0, end);
        buffer_.erase(0, end);
        return header;
    }

    struct Part {
        std::string content_type;
        std::string body;
    };
    // The next part; nullopt when none came whole in time, or the bytes break the format.
    std::optional<Part> NextPart() {
        const std::string boundary = "--" + std::string(PictureStream::kBoundary) + "\r\n";
        if (!Fill([&] { return buffer_.find("\r\n\r\n") != std::string::npos; }))
            return std::nullopt;
        std::size_t head_end = buffer_.find("\r\n\r\n") + 4;
        std::string head = buffer_.substr(0, head_end);
        if (!head.starts_with(boundary)) return std::nullopt;
        Part part;
        part.content_type = Field(head, "Content-Type: ");
        std::size_t length = std::stoul(Field(head, "Content-Length: "));
        if (!Fill([&] { return buffer_.size() >= head_end + length + 2; })) return std::nullopt;
        part.body = buffer_.substr(head_end, length);
        if (buffer_.compare(head_end + length, 2, "\r\n") != 0) return std::nullopt;
        buffer_.erase(0, head_end + length + 2);
        return part;
    }

    // What is left once the server closed.
    std::string Rest() {
        buffer_ += socket_.ReadFor(Millis(3000));
        return buffer_;
    }
    ClientSocket& Socket() { return socket_; }

private:
    static std::string Field(const std::string& head, std::string_view name) {
        std::size_t at = head.find(name);
        if (at == std::string::npos) return "0";
        at += name.size();
        return head.substr(at, head.find("\r\n", at) - at);
    }

    template <typename Ready>
    bool Fill(Ready ready) {
        for (int tries = 0; tries < 200 && !ready(); ++tries)
            buffer_ += socket_.ReadFor(Millis(25));
        return ready();
    }

    ClientSocket socket_;
    std::string buffer_;
};

// A picture of noise: it hardly compresses, so a few parts fill a stalled socket's buffers.
void FillNoise(DIB& dib, int width, int height, unsigned seed) {
    dib.SetWidthHeight(width, height);
    std::minstd_rand random(seed);
    for (int y = 0; y < height; ++y) {
        std::uint8_t* row = dib.scanline(y);
        for (int x = 0; x < 3 * width; ++x)
            row[x] = static_cast<std::uint8_t>(random());
    }
}

TEST_F(WebStreamTest, ViewersGetEveryRecomposedPictureFromOneSharedEncoding) {
    StreamClient first(port, "canvas01.MJPG");
    auto header = first.Header();
    ASSERT_TRUE(header);
    EXPECT_TRUE(header->starts_with("HTTP/1.1 200 OK\r\nServer: Tessarolle Web Server\r\n"));
    EXPECT_NE(header->find("\r\nContent-Type: multipart/x-mixed-replace; boundary=" +
                           std::string(PictureStream::kBoundary) + "\r\n"),
              std::string::npos);
    EXPECT_EQ(header->find("Content-Length"), std::string::npos);
    // The current picture comes at once, before any recomposition.
    auto opening = first.NextPart();
    ASSERT_TRUE(opening);
    EXPECT_TRUE(test::DecodesToQuadrants(opening->body, 64, 48));

    StreamClient second(port, "Canvas01.mjpg?t=1");
    ASSERT_TRUE(second.Header());
    auto joined = second.NextPart();
    ASSERT_TRUE(joined);
    EXPECT_EQ(joined->body, opening->body); // the kept picture, not a new encoding
    const std::uint64_t start = thread->OnLoop([this] { return canvas.Stream().Revision(); });

    for (int i = 0; i < 20; ++i) {
        thread->OnLoop([this] {
            Advance(1);
            canvas.PictureRecomposed(now.load());
            return 0;
        });
        auto a = first.NextPart();
        auto b = second.NextPart();
        ASSERT_TRUE(a && b) << "part " << i;
        EXPECT_EQ(a->content_type, "image/jpeg");
        EXPECT_TRUE(test::DecodesToQuadrants(a->body, 64, 48)) << "part " << i;
        EXPECT_EQ(a->body, b->body);
        // A plain picture request meanwhile gets the same kept encoding, not another.
        EXPECT_EQ(BodyOf(Get("Canvas01.jpg")), a->body);
    }
    // One encoding per picture, however many viewers.
    EXPECT_EQ(thread->OnLoop([this] { return canvas.Stream().Revision(); }), start + 20);
    EXPECT_EQ(MembersInUse(), 2);

    // Names that are not a served canvas's stream are not streams.
    EXPECT_NE(Get("Canvas02.mjpg").find("404 Not Found"), std::string::npos);
    EXPECT_NE(Get("Canvas01.jpg.mjpg").find("404 Not Found"), std::string::npos);
}

TEST_F(WebStreamTest, ASlowViewerSkipsPicturesAndHoldsOnePartAtMost) {
    thread->OnLoop([this] {
        FillNoise(picture, 1280, 960, 1);
        return 0;
    });
    StreamClient stalled(port, "Canvas01.mjpg", 4096); // never reads until the end
    StreamClient reader(port, "Canvas01.mjpg");
    ASSERT_TRUE(reader.Header());
    ASSERT_TRUE(reader.NextPart());

    constexpr int kPictures = 30;
    std::size_t largest = thread->OnLoop([this] { return canvas.Stream().Part()->size(); });
    for (int i = 0; i < kPictures; ++i) {
        largest = std::max(largest, thread->OnLoop([this, i] {
            FillNoise(picture, 1280, 960, 100 + i);
            canvas.PictureRecomposed(now.load());
            return canvas.Stream().Part()->size();
        }));
        ASSERT_TRUE(reader.NextPart()) << "picture " << i;
    }
    // 30 pictures of more than 500 KB each went out while the stalled client took none:
    // its member holds one part at most.
    ASSERT_GT(largest, 500'000u);
    std::size_t held = thread->OnLoop([this] {
        std::size_t most = 0;
        for (int i = 0; i < WebServer::kPoolSize; ++i)
            most = std::max(most, server.Connection(i).HeldBytes());
        return most;
    });
    EXPECT_GT(held, 0u); // the stalled one is sending
    EXPECT_LE(held, largest);

    // When it reads again it gets whole pictures, ending with the newest one: those the
    // kernel's socket buffers took before the client stalled (Linux lets a send buffer grow
    // to 4 MB), the one this member held, and the newest. The rest were skipped.
    ASSERT_TRUE(stalled.Header());
    std::string newest = BodyOf(Get("Canvas01.jpg"));
    const std::size_t most = (4u << 20) / largest + 2;
    ASSERT_LT(most, kPictures / 2u);
    std::size_t parts = 0;
    for (;;) {
        auto part = stalled.NextPart();
        ASSERT_TRUE(part) << "after " << parts << " parts";
        ++parts;
        if (part->body == newest) break;
        ASSERT_LT(parts, most);
    }
}

TEST_F(WebStreamTest, WaitingForPicturesIsNotIdleButAStalledStreamIsClosed) {
    StreamClient viewer(port, "Canvas01.mjpg");
    ASSERT_TRUE(viewer.Header());
    ASSERT_TRUE(viewer.NextPart());
    // A minute of the program's clock with nothing new: the idle sweep leaves it alone.
    Advance(60);
    std::this_thread::sleep_for(Millis(1500));
    thread->OnLoop([this] {
        canvas.PictureRecomposed(now.load());
        return 0;
    });
    ASSERT_TRUE(viewer.NextPart());

    // A client that takes nothing of a part for the idle limit loses its connection.
    thread->OnLoop([this] {
        FillNoise(picture, 2560, 1920, 7); // more than a socket takes in
        canvas.PictureRecomposed(now.load());
        return 0;
    });
    ASSERT_TRUE(viewer.NextPart());
    StreamClient stalled(port, "Canvas01.mjpg", 4096);
    ASSERT_TRUE(WaitForMembersInUse(2));
    std::this_thread::sleep_for(Millis(300));
    Advance(WebServer::kIdleSeconds + 1);
    // Reading would make progress, so the client looks only once the member is free.
    EXPECT_TRUE(WaitForMembersInUse(1));
    EXPECT_TRUE(stalled.Socket().WaitClosed(Millis(3000)));
}

TEST_F(WebStreamTest, StreamsHoldTheirMembersButCountAgainstPoolAndShare) {
    StreamClient viewer(port, "Canvas01.mjpg");
    ASSERT_TRUE(viewer.Header());
    ASSERT_TRUE(viewer.NextPart());
    // The rest of the pool taken from other addresses, each within its share.
    const char* sources[] = {"127.0.0.2", "127.0.0.3", "127.0.0.4", "127.0.0.5"};
    std::vector<ClientSocket> holders;
    for (int i = 1; i < WebServer::kPoolSize; ++i)
        holders.emplace_back(port, 0, sources[i * 4 / WebServer::kPoolSize]);
    ASSERT_TRUE(WaitForMembersInUse(WebServer::kPoolSize));

    // Every member was taken more than five seconds ago: a newcomer takes a holder's place,
    // not the stream's, though the stream was taken first.
    Advance(6);
    ClientSocket late(port);
    late.Send(GetRequest("index.htm"));
    auto response = late.ReadResponse();
    ASSERT_TRUE(response);
    EXPECT_EQ(BodyOf(*response), "<html>index</html>");
    thread->OnLoop([this] {
        canvas.PictureRecomposed(now.load());
        return 0;
    });
    ASSERT_TRUE(viewer.NextPart());
    holders.clear();
    ASSERT_TRUE(WaitForMembersInUse(1));

    // With the pool full, one client's streams are its share at most: past it, its oldest
    // gives way, and the other clients keep theirs.
    std::vector<StreamClient> own;
    own.reserve(WebServer::kMaxPerClient);
    for (int i = 1; i < WebServer::kMaxPerClient; ++i) {
        own.emplace_back(port, "Canvas01.mjpg");
        ASSERT_TRUE(own.back().Header());
    }
    for (int i = WebServer::kMaxPerClient; i < WebServer::kPoolSize; ++i)
        holders.emplace_back(port, 0,
                             sources[1 + (i - WebServer::kMaxPerClient) * 3 /
                                             (WebServer::kPoolSize - WebServer::kMaxPerClient)]);
    ASSERT_TRUE(WaitForMembersInUse(WebServer::kPoolSize));
    StreamClient one_more(port, "Canvas01.mjpg");
    ASSERT_TRUE(one_more.Header());
    EXPECT_TRUE(viewer.Socket().WaitClosed(Millis(3000)));
    EXPECT_TRUE(WaitForMembersInUse(WebServer::kPoolSize));
    for (auto& holder : holders)
        EXPECT_FALSE(holder.WaitClosed(Millis(0)));
}

TEST_F(WebStreamTest, TheStreamFollowsTheSchedule) {
    // Closed: the off-air picture is the answer, as for the plain picture.
    thread->OnLoop([this] {
        canvas.Schedule().SetScheduleMode(1);
        canvas.Schedule().SetStartAbsoluteTime(11.0 / 24);
        canvas.Schedule().SetStopAbsoluteTime(11.5 / 24);
        return 0;
    });
    std::string off = Get("Canvas01.mjpg");
    EXPECT_NE(off.find("Content-Type: image/jpeg\r\n"), std::string::npos);
    EXPECT_EQ(BodyOf(off), "off the air");

    // Open until 12:30; streaming, then the window closes while nothing is recomposed.
    thread->OnLoop([this] {
        canvas.Schedule().SetStopAbsoluteTime(12.5 / 24);
        return 0;
    });
    StreamClient viewer(port, "Canvas01.mjpg");
    ASSERT_TRUE(viewer.Header());
    ASSERT_TRUE(viewer.NextPart());
    Advance(31 * 60);
    auto last = viewer.NextPart();
    ASSERT_TRUE(last);
    EXPECT_EQ(last->content_type, "image/jpeg");
    EXPECT_EQ(last->body, "off the air");
    EXPECT_EQ(viewer.Rest(), "--" + std::string(PictureStream::kBoundary) + "--\r\n");
    EXPECT_TRUE(WaitForMembersInUse(0));

    // A recomposition outside the window ends the stream at once; without an off-air file
    // there is no last part.
    thread->OnLoop([this] {
        canvas.Schedule().SetStopAbsoluteTime(13.0 / 24);
        canvas.SetOffScheduleFile("missing.jpg");
        return 0;
    });
    StreamClient again(port, "Canvas01.mjpg");
    ASSERT_TRUE(again.Header());
    ASSERT_TRUE(again.NextPart());
    thread->OnLoop([this] {
        Advance(31 * 60);
        canvas.PictureRecomposed(now.load());
        return 0;
    });
    EXPECT_EQ(again.Rest(), "--" + std::string(PictureStream::kBoundary) + "--\r\n");
    EXPECT_TRUE(WaitForMembersInUse(0));
}

} // namespace
} // namespace tess
