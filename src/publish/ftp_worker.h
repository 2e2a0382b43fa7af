#pragma once

// The thread on which an FTP control's libcurl transfers run.
//
// Why FTP has a thread of its own when everything else shares the event loop: libcurl waits
// for the server's last answer of a transfer (the "226" after the data, the answer to QUIT,
// an SSH disconnect) with a blocking poll inside its own functions, whichever interface
// drives it. A slow or stalled server would stop the whole program for up to the time-out.
// Here that wait stops only this thread. It has its own multi handle (whose cache keeps the
// one connection) and its own poll loop; each transfer's end is posted back to the event loop,
// so the control, its callbacks and everything they touch stay on the loop thread.
//
// Nothing the loop thread calls here waits for the server: dropping the connection shuts its
// sockets down, which ends any wait of libcurl's at once, and flags the transfers so that the
// progress callback aborts them.

#include <atomic>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <unordered_set>
#include <vector>

#include <asio/io_context.hpp>
#include <curl/curl.h>

namespace tess {

struct CurlLibrary;

class FtpWorker {
public:
    // Runs on the loop thread once the transfer has ended.
    using Done = std::function<void(CURLcode code)>;

    // The thread starts here; `curl` must be loaded.
    FtpWorker(asio::io_context& loop, const CurlLibrary& curl);
    // Drops the connection at once and joins the thread; no transfer calls back after this.
    ~FtpWorker();
    FtpWorker(const FtpWorker&) = delete;
    FtpWorker& operator=(const FtpWorker&) = delete;

    // Runs a configured handle, which the worker owns from now on (and cleans up). `owner`
    // holds what the handle's callbacks point to; it is kept until the handle is gone.
    // False when the worker is stopping (the handle is cleaned up all the same).
    bool Add(CURL* easy, std::shared_ptr<void> owner, Done done);
    // Abandons every transfer and the connection. `at_once` shuts the sockets down first, so
    // no goodbye is waited for; otherwise the goodbye runs on the worker, never on the loop.
    void Drop(bool at_once);

private:
    struct Job {
        CURL* easy = nullptr;
        std::shared_ptr<void> owner;
        Done done;
        std::atomic<bool> abandoned{false};
    };
    struct Request {
        std::shared_ptr<Job> job; // null: drop the connection
    };

    static curl_socket_t OnOpenSocket(void* self, curlsocktype purpose, curl_sockaddr* address);
    static int OnCloseSocket(void* self, curl_socket_t fd);
    static int OnProgress(void* job, curl_off_t, curl_off_t, curl_off_t, curl_off_t);

    void Run();
    bool Take(std::vector<Request>& requests);
    void Start(const std::shared_ptr<Job>& job);
    void Collect();
    void Finish(const std::shared_ptr<Job>& job, CURLcode code);
    void Reset();
    void Wake();
    void AbandonLocked(bool shut_sockets); // flags the jobs; needs mutex_

    asio::io_context& loop_;
    const CurlLibrary& curl_;
    int wake_fd_ = -1; // an eventfd that ends the worker's poll

    std::mutex mutex_; // guards everything below it, shared by both threads
    std::vector<Request> requests_;
    std::vector<std::shared_ptr<Job>> jobs_;    // running or queued
    std::unordered_set<curl_socket_t> sockets_; // open sockets of the connection
    bool stopping_ = false;

    // The worker thread's alone.
    CURLM* multi_ = nullptr;
    std::vector<std::shared_ptr<Job>> running_;
    std::thread thread_; // last: starts once everything else is ready
};

} // namespace tess
