#pragma once

// A web server on 127.0.0.1 with an ephemeral port, run on its own loop thread: a web folder
// with a few files, one served canvas ("Canvas01.jpg", a 64 x 48 picture) and a clock the
// test moves by hand.

#include "base/text.h"
#include "publish/canvas_web_server.h"
#include "publish/web_connection.h"
#include "publish/web_server.h"
#include "quadrants_picture.h"
#include "support/fixed_sun.h"
#include "support/temp_dir.h"
#include "support/web_client.h"

#include <atomic>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace tess::test {

inline constexpr double kSecond = 1.0 / 86400;
inline constexpr double kNoon = 45000.5; // 2023-03-15 12:00:00

class WebServerFixture : public ::testing::Test {
protected:
    WebServerFixture() {
        std::filesystem::create_directories(web);
        WriteFileBytes(web + "/index.htm", "<html>index</html>");
        WriteFileBytes(web + "/offair.jpg", "off the air");
        WriteFileBytes(dir.File("secret.txt"), "outside");
        FillQuadrants(picture, 64, 48);
        canvas.SetEnabled(true);
        canvas.SetFileName("Canvas01.jpg");
        canvas.SetInterval(10);
        canvas.SetPictureSource([this]() -> const DIB& { return picture; });

        WebServerHooks hooks;
        hooks.now = [this] { return now.load(); };
        hooks.find_canvas = [this](std::string_view name) -> CanvasWebServer* {
            return canvas.Enabled() && EqualsIgnoreCase(canvas.FileName(), name) ? &canvas
                                                                                 : nullptr;
        };
        hooks.listen_failed = [this](std::string_view text, std::string_view caption) {
            failures.push_back(std::string(caption) + ": " + std::string(text));
        };
        server.SetPort(0);
        server.SetWebPath(web);
        server.SetAllowNonCanvasServes(true);
        server.Attach(loop, std::move(hooks));
        server.SetEnabled(true);
        port = server.ListeningPort();
        thread.emplace(loop);
    }
    ~WebServerFixture() override { thread.reset(); }

    std::string Get(std::string_view path) { return Exchange(port, GetRequest(path)); }

    int MembersInUse() {
        return thread->OnLoop([this] {
            int in_use = 0;
            for (int i = 0; i < WebServer::kPoolSize; ++i)
                in_use += server.Connection(i).State() == WebConnection::kInUse;
            return in_use;
        });
    }

    // Waits (a little) for the loop to have taken `count` members.
    bool WaitForMembersInUse(int count) {
        for (int tries = 0; tries < 500; ++tries) {
            if (MembersInUse() == count) return true;
            std::this_thread::sleep_for(Millis(10));
        }
        return false;
    }

    void Advance(double seconds) { now.store(now.load() + seconds * kSecond); }

    TempDir dir;
    std::string web = dir.File("web");
    asio::io_context loop;
    FixedSun sun;
    DIB picture;
    DIB no_picture;
    CanvasWebServer canvas{sun};
    std::atomic<double> now{kNoon};
    std::vector<std::string> failures;
    WebServer server;
    std::uint16_t port = 0;
    std::optional<LoopThread> thread;
};

} // namespace tess::test
