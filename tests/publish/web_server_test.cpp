// The web server over real sockets on 127.0.0.1.

#include "support/recording_script.h"
#include "support/run_process.h"
#include "web_fixture.h"

#include <algorithm>
#include <functional>

#include <asio/ip/tcp.hpp>
#include <asio/steady_timer.hpp>

namespace tess {
namespace {

using test::BodyOf;
using test::ClientSocket;
using test::GetRequest;
using test::HeaderOf;
using test::Millis;

using WebServerTest = test::WebServerFixture;

constexpr std::string_view kNotFound = "HTTP/1.0 404 Not Found\r\n"
                                       "Server: Tessarolle Web Server\r\n"
                                       "Date: 2023-03-15 12:00:00\r\n"
                                       "Content-Type: text/html\r\n"
                                       "Content-Length: 0\r\n"
                                       "\r\n";

std::string FileHeader(std::string_view type, std::size_t length) {
    return "HTTP/1.1 200 OK\r\nServer: Tessarolle Web Server\r\nDate: 2023-03-15 12:00:00\r\n"
           "Content-Type: " +
           std::string(type) +
           "\r\nPragma: no-cache\r\ncache-control: no-cache, must-revalidate\r\n"
           "Cache-control: no-cache, must-revalidate\r\nExpires: Mon, 26 Jul 1997 05:00:00 GMT\r\n"
           "Content-Length: " +
           std::to_string(length) + "\r\n\r\n";
}

TEST_F(WebServerTest, CanvasFileAndNotFoundAnswersByteForByte) {
    std::string picture = Get("canvas01.JPG");
    std::string body = BodyOf(picture);
    EXPECT_EQ(HeaderOf(picture),
              "HTTP/1.1 200 OK\r\nServer: Tessarolle Web Server\r\nDate: 2023-03-15 12:00:00\r\n"
              "Content-Type: image/jpeg\r\nPragma: no-cache\r\n"
              "cache-control: no-cache, must-revalidate\r\n"
              "Cache-control: no-cache, must-revalidate\r\n"
              "Expires: Mon, 26 Jul 1997 05:00:00 GMT\r\n"
              "Last-Modified: 2023-03-15 12:00:00\r\n"
              "Content-Length: " +
                  std::to_string(body.size()) + "\r\n\r\n");
    EXPECT_TRUE(test::DecodesToQuadrants(body, 64, 48));
    // The same name in other letter cases, the query ignored: the same kept encoding.
    EXPECT_EQ(BodyOf(Get("CANVAS01.jpg?t=12345")), body);

    EXPECT_EQ(Get("index.htm"), FileHeader("text/html", 18) + "<html>index</html>");
    // An escaped name is served with the type of the name it stands for.
    EXPECT_EQ(Get("index%2ehtm"), FileHeader("text/html", 18) + "<html>index</html>");
    EXPECT_EQ(Get("missing.htm"), kNotFound);

    // No picture composed: the 404 answer rather than an empty image.
    thread->OnLoop([this] {
        canvas.SetPictureSource([this]() -> const DIB& { return no_picture; });
        return 0;
    });
    Advance(11);
    EXPECT_EQ(HeaderOf(Get("Canvas01.jpg")).substr(0, 22), "HTTP/1.0 404 Not Found");
}

TEST_F(WebServerTest, PathsRootQueryDotsAndFilesSwitchedOff) {
    EXPECT_EQ(BodyOf(Get("?refresh=1")), "<html>index</html>");
    EXPECT_EQ(BodyOf(Get("")), "<html>index</html>");
    for (const char* path : {"../secret.txt", "../nothing.txt", "x/../index.htm", "..", "..."})
        EXPECT_EQ(Get(path), kNotFound) << path;

    // Off the canvas's schedule its off-air picture is served from the web folder, even
    // with other files switched off.
    thread->OnLoop([this] {
        server.SetAllowNonCanvasServes(false);
        canvas.Schedule().SetScheduleMode(1);
        canvas.Schedule().SetStartAbsoluteTime(1.0 / 24);
        canvas.Schedule().SetStopAbsoluteTime(2.0 / 24);
        return 0;
    });
    EXPECT_EQ(Get("Canvas01.jpg"), FileHeader("image/jpeg", 11) + "off the air");
    EXPECT_EQ(Get("index.htm"), kNotFound);
    EXPECT_EQ(Get(""), kNotFound);
}

TEST_F(WebServerTest, ASplitRequestIsAnsweredWhenItsEmptyLineArrives) {
    ClientSocket client(port);
    ASSERT_TRUE(client.Send("GET /index.htm HT"));
    EXPECT_EQ(client.ReadFor(Millis(150)), "");
    ASSERT_TRUE(client.Send("TP/1.1\r\nHost: x\r\n"));
    EXPECT_EQ(client.ReadFor(Millis(150)), "");
    ASSERT_TRUE(client.Send("\r\n"));
    auto response = client.ReadResponse();
    ASSERT_TRUE(response);
    EXPECT_EQ(BodyOf(*response), "<html>index</html>");
    EXPECT_TRUE(client.WaitClosed(Millis(2000))); // no keep-alive asked for
}

TEST_F(WebServerTest, APostIsNeverAnswered) {
    ClientSocket client(port);
    ASSERT_TRUE(
        client.Send("POST /index.htm HTTP/1.1\r\nHost: x\r\nContent-Length: 5\r\n\r\nGET=1"));
    EXPECT_EQ(client.ReadFor(Millis(300)), "");
    EXPECT_EQ(MembersInUse(), 1); // still open, waiting
}

TEST_F(WebServerTest, KeepAliveServesSeveralRequestsOnOneConnection) {
    ClientSocket client(port);
    for (const char* path : {"index.htm", "Canvas01.jpg", "missing.htm"}) {
        ASSERT_TRUE(client.Send(GetRequest(path, true)));
        auto response = client.ReadResponse();
        ASSERT_TRUE(response) << path;
    }
    // Two requests sent together are answered in turn.
    ASSERT_TRUE(client.Send(GetRequest("index.htm", true) + GetRequest("offair.jpg", true)));
    auto first = client.ReadResponse();
    auto second = client.ReadResponse();
    ASSERT_TRUE(first && second);
    EXPECT_EQ(BodyOf(*first), "<html>index</html>");
    EXPECT_EQ(BodyOf(*second), "off the air");
    // A request without keep-alive ends the connection after its answer.
    ASSERT_TRUE(client.Send(GetRequest("index.htm")));
    EXPECT_TRUE(client.ReadResponse());
    EXPECT_TRUE(client.WaitClosed(Millis(2000)));
}

TEST_F(WebServerTest, AFullPoolRefusesUntilAMemberHasBeenIdleFiveSeconds) {
    // Several clients, each within its share of the pool, fill it together.
    std::vector<ClientSocket> holders;
    for (int i = 0; i < WebServer::kPoolSize; ++i) {
        const std::string from = "127.0.2." + std::to_string(1 + i / WebServer::kMaxPerClient);
        holders.emplace_back(port, 0, from.c_str());
        ASSERT_TRUE(holders.back().Connected());
    }
    ASSERT_TRUE(WaitForMembersInUse(WebServer::kPoolSize));

    ClientSocket refused(port);
    ASSERT_TRUE(refused.Connected()); // the system accepts; the server closes it unanswered
    refused.Send(GetRequest("index.htm"));
    EXPECT_TRUE(refused.WaitClosed(Millis(2000)));

    Advance(4);
    ClientSocket still_refused(port);
    EXPECT_TRUE(still_refused.WaitClosed(Millis(2000)));
    // An answer on the first member does not renew it: the five seconds count from when the
    // member was taken.
    holders.front().Send(GetRequest("index.htm", true));
    ASSERT_TRUE(holders.front().ReadResponse());

    // Past five seconds the first member gives way; the others stay.
    Advance(2);
    ClientSocket late(port);
    late.Send(GetRequest("index.htm"));
    auto response = late.ReadResponse();
    ASSERT_TRUE(response);
    EXPECT_EQ(BodyOf(*response), "<html>index</html>");
    EXPECT_TRUE(holders.front().WaitClosed(Millis(2000)));
    EXPECT_FALSE(holders.back().WaitClosed(Millis(100)));
}

TEST_F(WebServerTest, IdleConnectionsAndOversizedHeadersAreClosed) {
    ClientSocket kept(port);
    ASSERT_TRUE(kept.Send(GetRequest("index.htm", true)));
    ASSERT_TRUE(kept.ReadResponse());
    ClientSocket half(port);
    ASSERT_TRUE(half.Send("GET /index.htm HTTP/1.1\r\nHost"));
    ASSERT_TRUE(WaitForMembersInUse(2));
    Advance(14);
    EXPECT_FALSE(kept.WaitClosed(Millis(1500)));
    Advance(2);
    EXPECT_TRUE(kept.WaitClosed(Millis(3000)));
    EXPECT_TRUE(half.WaitClosed(Millis(3000)));

    ClientSocket large(port);
    ASSERT_TRUE(large.Send("GET /index.htm HTTP/1.1\r\nX: " + std::string(17000, 'a')));
    EXPECT_TRUE(large.WaitClosed(Millis(2000)));
    // Just under the limit is still answered.
    std::string big = "GET /index.htm HTTP/1.1\r\nX: " + std::string(16000, 'a') + "\r\n\r\n";
    EXPECT_EQ(BodyOf(test::Exchange(port, big)), "<html>index</html>");
}

TEST_F(WebServerTest, TheScriptHearsEveryAnsweredRequest) {
    ScriptSettings settings;
    test::AllowEveryScriptEvent(settings);
    ScriptEvents events(settings);
    test::RecordingScript script;
    events.SetHandler(&script);
    thread->OnLoop([&] {
        server.SetScriptEvents(&events);
        return 0;
    });
    Get("Canvas01.jpg?w=1");
    Get("../secret.txt");
    test::Exchange(port, "POST / HTTP/1.1\r\n\r\nGET", Millis(100));
    thread->OnLoop([&] {
        server.SetScriptEvents(nullptr);
        return 0;
    });
    EXPECT_EQ(script.heard, (std::vector<std::string>{"WebRequest(127.0.0.1,Canvas01.jpg?w=1)",
                                                      "WebRequest(127.0.0.1,../secret.txt)"}));
}

TEST_F(WebServerTest, SwitchingOffClosesEverythingAndABusyPortIsReported) {
    ClientSocket kept(port);
    ASSERT_TRUE(kept.Send(GetRequest("index.htm", true)));
    ASSERT_TRUE(kept.ReadResponse());

    // Another server told to use the same port stays off and says why.
    asio::io_context other_loop;
    WebServer other;
    std::vector<std::string> shown;
    WebServerHooks hooks;
    hooks.listen_failed = [&](std::string_view text, std::string_view caption) {
        shown.push_back(std::string(caption) + ": " + std::string(text));
    };
    other.Attach(other_loop, std::move(hooks));
    other.SetPort(port);
    other.SetEnabled(true);
    EXPECT_FALSE(other.Enabled());
    EXPECT_FALSE(other.Listening());
    EXPECT_EQ(shown, std::vector<std::string>{
                         "Web Start Error: There was an error starting the web server.  Make "
                         "sure the port is not already in use and the network is available."});

    thread->OnLoop([this] {
        server.SetEnabled(false);
        return 0;
    });
    EXPECT_TRUE(kept.WaitClosed(Millis(2000)));
    EXPECT_FALSE(ClientSocket(port).Connected());
    // And on again, on the same port.
    other.SetEnabled(true);
    EXPECT_TRUE(other.Listening());
    EXPECT_EQ(other.ListeningPort(), port);
}

TEST_F(WebServerTest, ManyEncodingsAtOnceLeaveTimersTheirTurns) {
    // Kept-alive clients all ask at once for a picture encoded per request (Interval 0) that
    // takes longer to encode than the timer's period: a timer that waited behind the whole
    // burst would show as a long run of encodings.
    std::vector<ClientSocket> clients;
    for (int i = 0; i < 12; ++i) {
        clients.emplace_back(port);
        ASSERT_TRUE(clients.back().Send(GetRequest("index.htm", true)));
        ASSERT_TRUE(clients.back().ReadResponse());
    }
    std::string timeline; // E an encoding, T the timer, written on the loop thread only
    asio::steady_timer timer(loop);
    std::function<void()> tick = [&] {
        timer.expires_after(Millis(1));
        timer.async_wait([&](const std::error_code& ec) {
            if (ec) return;
            timeline += 'T';
            tick();
        });
    };
    thread->OnLoop([&] {
        test::FillQuadrants(picture, 1280, 720);
        canvas.SetInterval(0);
        canvas.SetPictureSource([&]() -> const DIB& {
            timeline += 'E';
            return picture;
        });
        tick();
        return 0;
    });
    // The loop is held while the requests come in, so that they all wait at once.
    std::promise<void> release;
    asio::post(loop, [held = release.get_future().share()] { held.wait(); });
    for (auto& client : clients)
        ASSERT_TRUE(client.Send(GetRequest("Canvas01.jpg", true)));
    std::this_thread::sleep_for(Millis(50));
    release.set_value();
    for (auto& client : clients) {
        auto response = client.ReadResponse(Millis(20000));
        ASSERT_TRUE(response);
        EXPECT_TRUE(test::DecodesToQuadrants(BodyOf(*response), 1280, 720));
    }
    std::string seen = thread->OnLoop([&] {
        timer.cancel();
        return timeline;
    });
    EXPECT_EQ(std::count(seen.begin(), seen.end(), 'E'), 12);
    EXPECT_EQ(seen.find("EEE"), std::string::npos) << seen;
}

TEST_F(WebServerTest, CurlAsARealClient) {
    std::string url = "http://127.0.0.1:" + std::to_string(port) + "/";
    auto result = test::RunProcess({"/usr/bin/curl", "-s", "-D", dir.File("header.txt"), "-o",
                                    dir.File("canvas.jpg"), "-w", "%{http_code} %{content_type}",
                                    url + "Canvas01.jpg"},
                                   dir.Path());
    ASSERT_EQ(result.exit_code, 0) << result.err;
    EXPECT_EQ(result.out, "200 image/jpeg");
    EXPECT_TRUE(test::DecodesToQuadrants(test::ReadFileBytes(dir.File("canvas.jpg")), 64, 48));
    EXPECT_NE(test::ReadFileBytes(dir.File("header.txt")).find("Last-Modified: 2023-03-15"),
              std::string::npos);

    result = test::RunProcess({"/usr/bin/curl", "-s", "--path-as-is", "-o", "/dev/null", "-w",
                               "%{http_code}", url + "../secret.txt"},
                              dir.Path());
    EXPECT_EQ(result.out, "404");
}

} // namespace
} // namespace tess
