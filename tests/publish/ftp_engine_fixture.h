#pragma once

// Runs an InetFTP on a loop of its own until its transfer ends, keeping every status text.

#include "publish/inet_ftp.h"

#include <chrono>
#include <string>
#include <vector>

#include <asio/io_context.hpp>

namespace tess::test {

class EngineRun {
public:
    EngineRun() : ftp(loop) {
        ftp.SetStatusObserver([this](const std::string& text) { statuses.push_back(text); });
    }

    void LogIn(const std::string& server, const std::string& user, const std::string& password,
               const std::string& server_key = "") {
        ftp.SetFTPServer(server);
        ftp.SetUserName(user);
        ftp.SetPassword(password);
        ftp.SetServerKey(server_key);
    }

    // True when the engine stopped (complete or failed) before the deadline.
    bool RunToEnd(std::chrono::seconds limit = std::chrono::seconds(60)) {
        auto deadline = std::chrono::steady_clock::now() + limit;
        while (Busy()) {
            if (std::chrono::steady_clock::now() > deadline) return false;
            if (loop.stopped()) loop.restart();
            loop.run_one_for(std::chrono::milliseconds(50));
        }
        return true;
    }
    bool Busy() const { return ftp.Active() || ftp.State() >= InetFTP::kBusyState; }

    asio::io_context loop;
    InetFTP ftp;
    std::vector<std::string> statuses;
};

} // namespace tess::test
