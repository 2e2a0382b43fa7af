// Visitors who misbehave: many half requests, connections opened and dropped, a client that
// never reads. The server must keep answering others and never stop.

#include "web_fixture.h"

#include <sys/resource.h>

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
    std::vector<ClientSocket> clients;
    clients.reserve(1000);
    for (int i = 0; i < 1000; ++i) {
        clients.emplace_back(port);
        ASSERT_TRUE(clients.back().Connected()) << i;
        clients.back().Send("GET /index.htm HTTP/1.1\r\nHost: slow");
    }
    ASSERT_TRUE(WaitForMembersInUse(WebServer::kPoolSize));
    int refused = 0;
    for (std::size_t i = WebServer::kPoolSize; i < clients.size(); ++i)
        refused += clients[i].WaitClosed(Millis(3000));
    EXPECT_EQ(refused, 1000 - WebServer::kPoolSize);
    EXPECT_TRUE(test::Exchange(port, test::GetRequest("index.htm"), Millis(300)).empty());

    Advance(6);
    EXPECT_EQ(BodyOf(Get("index.htm")), "<html>index</html>");
    EXPECT_EQ(BodyOf(Get("Canvas01.jpg")).size() > 0, true);
    EXPECT_TRUE(thread->OnLoop([this] { return server.Listening(); }));
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
