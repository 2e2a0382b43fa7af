// The engine against a server that misbehaves: garbage, a line of a megabyte, passive mode
// refused, a reply cut off by a close. It must end in its failed state with a short error.

#include "publish/ftp_engine_fixture.h"

#include <functional>
#include <memory>
#include <string>

#include <asio/ip/tcp.hpp>
#include <asio/read_until.hpp>
#include <asio/streambuf.hpp>
#include <asio/write.hpp>
#include <gtest/gtest.h>

namespace tess {
namespace {

enum class Misbehaviour { Garbage, MegabyteLine, RefusedPassive, CloseMidReply };

// One fake server on the engine's own loop: every connection gets the same treatment.
class FakeFtpServer {
public:
    FakeFtpServer(asio::io_context& loop, Misbehaviour how)
        : acceptor_(loop, {asio::ip::make_address("127.0.0.1"), 0}), how_(how) {
        Accept();
    }
    int Port() const { return acceptor_.local_endpoint().port(); }

private:
    struct Session {
        explicit Session(asio::ip::tcp::socket s) : socket(std::move(s)) {}
        asio::ip::tcp::socket socket;
        asio::streambuf in;
    };

    void Accept() {
        acceptor_.async_accept([this](std::error_code ec, asio::ip::tcp::socket socket) {
            if (ec) return;
            auto session = std::make_shared<Session>(std::move(socket));
            switch (how_) {
            case Misbehaviour::Garbage:
                Send(session, "hello, this is no FTP server\r\n");
                break;
            case Misbehaviour::MegabyteLine:
                Send(session, "220 " + std::string(1u << 20, 'A') + "\r\n");
                break;
            default:
                Send(session, "220 fake ready\r\n");
                break;
            }
            Accept();
        });
    }

    void Send(const std::shared_ptr<Session>& session, std::string text, bool close = false) {
        auto bytes = std::make_shared<std::string>(std::move(text));
        asio::async_write(session->socket, asio::buffer(*bytes),
                          [this, session, bytes, close](std::error_code ec, std::size_t) {
                              if (ec || close) {
                                  session->socket.close();
                                  return;
                              }
                              Read(session);
                          });
    }

    void Read(const std::shared_ptr<Session>& session) {
        asio::async_read_until(session->socket, session->in, "\r\n",
                               [this, session](std::error_code ec, std::size_t n) {
                                   if (ec) return;
                                   std::string line(n, '\0');
                                   session->in.sgetn(line.data(), n);
                                   Answer(session, line.substr(0, line.find(' ')));
                               });
    }

    void Answer(const std::shared_ptr<Session>& session, const std::string& verb) {
        if (how_ == Misbehaviour::Garbage) return Send(session, "\x01\x02 what?\r\n");
        if (how_ == Misbehaviour::CloseMidReply && verb.starts_with("PASS"))
            return Send(session, "23", true);
        if (verb.starts_with("USER")) return Send(session, "331 go on\r\n");
        if (verb.starts_with("PASS")) return Send(session, "230 in\r\n");
        if (verb.starts_with("PWD")) return Send(session, "257 \"/\" here\r\n");
        if (verb.starts_with("EPSV") || verb.starts_with("PASV"))
            return Send(session, "500 passive mode is not for you\r\n");
        Send(session, "200 fine\r\n");
    }

    asio::ip::tcp::acceptor acceptor_;
    Misbehaviour how_;
};

TEST(InetFTPAbuseTest, EveryMisbehaviourEndsInTheFailedStateWithAShortError) {
    for (Misbehaviour how : {Misbehaviour::Garbage, Misbehaviour::MegabyteLine,
                             Misbehaviour::RefusedPassive, Misbehaviour::CloseMidReply}) {
        SCOPED_TRACE(static_cast<int>(how));
        test::EngineRun run;
        FakeFtpServer server(run.loop, how);
        run.ftp.SetRetryPause(std::chrono::milliseconds(0));
        run.ftp.SetRequestTimeout(2); // a server that never makes sense is waited for in vain
        run.ftp.SetFTPServer("127.0.0.1:" + std::to_string(server.Port()));
        run.ftp.SetUserName("cam");
        run.ftp.SetPassword("pw");
        ASSERT_TRUE(run.ftp.SendDataFile(std::string(5000, 'x'), "", "a.jpg", 1));
        ASSERT_TRUE(run.RunToEnd(std::chrono::seconds(120)));
        EXPECT_EQ(run.ftp.State(), 1);
        EXPECT_FALSE(run.ftp.Error().empty());
        EXPECT_LE(run.ftp.Error().size(), FtpControl::kMaxResponseText);
        EXPECT_EQ(std::count(run.statuses.begin(), run.statuses.end(), "Failed.  Retry #3"), 1);
        if (how == Misbehaviour::RefusedPassive) {
            EXPECT_EQ(run.ftp.Error().substr(0, 4), "500 ") << run.ftp.Error();
        }
    }
}

} // namespace
} // namespace tess
