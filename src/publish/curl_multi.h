#pragma once

// libcurl's multi interface driven by the event loop: curl's sockets are watched by the loop
// and its one timer is a loop timer, so transfers never block and an idle multi costs
// nothing. The URL downloads own one; FTP does not use it, as libcurl waits for an FTP
// server's last answer with a blocking poll (see FtpWorker). Everything here runs on the loop
// thread.

#include <cstddef>
#include <functional>
#include <memory>

#include <asio/io_context.hpp>
#include <curl/curl.h>

namespace tess {

struct CurlLibrary;

class CurlMulti {
public:
    // Runs on the loop thread once the transfer has ended, after the handle has left the
    // multi; the handle itself still belongs to the caller. It may add, remove or destroy.
    using Done = std::function<void(CURL* easy, CURLcode code)>;

    explicit CurlMulti(asio::io_context& loop);
    // Abandons every transfer without calling back; the caller still owns the handles.
    ~CurlMulti();
    CurlMulti(const CurlMulti&) = delete;
    CurlMulti& operator=(const CurlMulti&) = delete;

    // libcurl with a multi handle ready, loaded on first use; null when it cannot be had.
    const CurlLibrary* Library();
    // Starts a configured handle; false when it could not be added (nothing will call back).
    bool Add(CURL* easy, Done done);
    // Takes a transfer out without calling back; a handle not in the multi is ignored.
    void Remove(CURL* easy);
    std::size_t Active() const;
    // Runs `work` on the loop later, never inside this call, and only if this multi still
    // exists then.
    void Post(std::function<void()> work);

private:
    class Engine;
    std::shared_ptr<Engine> engine_; // shared only with handlers running at this moment
};

} // namespace tess
