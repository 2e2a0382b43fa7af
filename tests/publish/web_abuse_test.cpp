// Visitors who misbehave: many half requests, connections opened and dropped, a client that
// never reads. The server must keep answering others and never stop.

#include "web_fixture.h"

#include <atomic>
#include <sys/resource.h>
#include <thread>

namespace tess {
namespace {

using test::BodyOf;
using test::ClientSocket;
using test::Millis;

class WebAbuse : public test::WebServerFixture {
protected:
    // A thousand clients and the server's own sockets need more descriptors than some
    // shells allow by default.
    static void SetUpTestSuite() {
        rlimit limit{};
        ::getrlimit(RLIMIT_NOFILE, &limit);
        limit.rlim_cur = std::min<rlim_t>(limit.rlim_max, 8192);
        ::setrlimit(RLIMIT_NOFILE, &limit);
    }
};

TEST_F(WebAbuse, AThousandHalfHeadersHoldOnlyThePoolUntilTheyAreReclaimed) {
    // Eight clients (addresses) of 125 half headers each: every client is held to its share,
    // so together they fill the pool, and the rest are closed unanswered.
    std::vector<ClientSocket> clients;
    clients.reserve(1000);
    for (int i = 0; i < 1000; ++i) {
        const std::string from = "127.0.1." + std::to_string(i % 8 + 1);
        clients.emplace_back(port, 0, from.c_str());
        ASSERT_TRUE(clients.back().Connected()) << i;
        clients.back().Send("GET /index.htm HTTP/1.1\r\nHost: slow");
    }
    ASSERT_TRUE(WaitForMembersInUse(WebServer::kPoolSize));
    // The ones turned away were closed as they came; those still open wait in vain.
    std::vector<bool> closed(clients.size(), false);
    int count = 0;
    for (int pass = 0; pass < 50 && count < 1000 - WebServer::kPoolSize; ++pass) {
        for (std::size_t i = 0; i < clients.size(); ++i) {
            if (closed[i] || !clients[i].WaitClosed(Millis(0))) continue;
            closed[i] = true;
            ++count;
        }
        std::this_thread::sleep_for(Millis(100));
    }
    EXPECT_EQ(count, 1000 - WebServer::kPoolSize);
    EXPECT_TRUE(test::Exchange(port, test::GetRequest("index.htm"), Millis(300)).empty());

    Advance(6);
    EXPECT_EQ(BodyOf(Get("index.htm")), "<html>index</html>");
    EXPECT_EQ(BodyOf(Get("Canvas01.jpg")).size() > 0, true);
    EXPECT_TRUE(thread->OnLoop([this] { return server.Listening(); }));
}

// One client opening about fifty connections a second, each with half a header, while
// others visit: it may fill the pool while nobody else wants it, but every visitor takes one
// of its members and is answered at once.
TEST_F(WebAbuse, OneClientOpeningConnectionsWithoutEndShutsOutOnlyItself) {
    std::atomic<bool> stop{false};
    std::atomic<int> opened{0};
    std::thread attacker([&] {
        std::vector<ClientSocket> held;
        while (!stop) {
            held.emplace_back(port, 0, "127.0.0.2");
            held.back().Send("GET /index.htm HTTP/1.1\r\nHost: slow");
            ++opened;
            std::this_thread::sleep_for(Millis(20));
        }
    });
    int asked = 0, answered = 0;
    while (opened < 250) {
        ++asked;
        answered += BodyOf(test::Exchange(port, test::GetRequest("index.htm"), Millis(1000))) ==
                    "<html>index</html>";
        std::this_thread::sleep_for(Millis(25));
    }
    const int in_use = MembersInUse();
    stop = true;
    attacker.join();
    EXPECT_GE(answered * 100, asked * 95) << answered << " of " << asked;
    EXPECT_GE(in_use, WebServer::kPoolSize - 1);
}

TEST_F(WebAbuse, TenThousandConnectionsOpenedAndDropped) {
    for (int i = 0; i < 10000; ++i) {
        ClientSocket client(port);
        ASSERT_TRUE(client.Connected()) << i;
        if (i % 2) client.Abort();
    }
    ASSERT_TRUE(WaitForMembersInUse(0));
    EXPECT_EQ(BodyOf(Get("index.htm")), "<html>index</html>");
}

TEST_F(WebAbuse, AClientThatReadsNothingDoesNotHoldUpOthers) {
    test::WriteFileBytes(web + "/big.bin", std::string(16 << 20, 'x'));
    ClientSocket sink(port, 4096);
    ASSERT_TRUE(sink.Send(test::GetRequest("big.bin", true) + test::GetRequest("big.bin", true)));
    ASSERT_TRUE(WaitForMembersInUse(1));
    for (int i = 0; i < 20; ++i)
        ASSERT_EQ(BodyOf(Get("index.htm")), "<html>index</html>") << i;
    EXPECT_EQ(MembersInUse(), 1);
    // Stuck past the idle limit, it is let go.
    Advance(16);
    EXPECT_TRUE(WaitForMembersInUse(0));
}

} // namespace
} // namespace tess
