#include "publish/ftp_worker.h"

#include "base/log.h"
#include "publish/curl_library.h"

#include <algorithm>
#include <cstdint>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <asio/post.hpp>

namespace tess {

namespace {

// While a transfer runs the worker looks at it at this pace even without news from its
// sockets: this libcurl can leave an FTP transfer in a new state with nothing to wait on.
constexpr int kLongestWaitMs = 2;
// Idle, the worker sleeps until it is woken; this only bounds a lost wake-up.
constexpr int kIdleWaitMs = 1000;

} // namespace

FtpWorker::FtpWorker(asio::io_context& loop, const CurlLibrary& curl)
    : loop_(loop), curl_(curl), wake_fd_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (wake_fd_ < 0) LogWarning("FTP upload: no eventfd, the worker wakes up once a second");
    thread_ = std::thread([this] { Run(); });
}

FtpWorker::~FtpWorker() {
    {
        std::lock_guard lock(mutex_);
        stopping_ = true;
        AbandonLocked(true);
    }
    Wake();
    thread_.join();
    if (wake_fd_ >= 0) ::close(wake_fd_);
}

bool FtpWorker::Add(CURL* easy, std::shared_ptr<void> owner, Done done) {
    auto job = std::make_shared<Job>();
    job->easy = easy;
    job->owner = std::move(owner);
    job->done = std::move(done);
    curl_.easy_setopt(easy, CURLOPT_OPENSOCKETFUNCTION, &FtpWorker::OnOpenSocket);
    curl_.easy_setopt(easy, CURLOPT_OPENSOCKETDATA, this);
    curl_.easy_setopt(easy, CURLOPT_CLOSESOCKETFUNCTION, &FtpWorker::OnCloseSocket);
    curl_.easy_setopt(easy, CURLOPT_CLOSESOCKETDATA, this);
    curl_.easy_setopt(easy, CURLOPT_NOPROGRESS, 0L);
    curl_.easy_setopt(easy, CURLOPT_XFERINFOFUNCTION, &FtpWorker::OnProgress);
    curl_.easy_setopt(easy, CURLOPT_XFERINFODATA, job.get());
    {
        std::lock_guard lock(mutex_);
        if (!stopping_) {
            jobs_.push_back(job);
            requests_.push_back({job});
            job = nullptr;
        }
    }
    if (job) {
        curl_.easy_cleanup(easy);
        return false;
    }
    Wake();
    return true;
}

void FtpWorker::Drop(bool at_once) {
    {
        std::lock_guard lock(mutex_);
        AbandonLocked(at_once);
        requests_.push_back({nullptr});
    }
    Wake();
}

void FtpWorker::AbandonLocked(bool shut_sockets) {
    for (auto& job : jobs_)
        job->abandoned = true;
    if (!shut_sockets) return;
    // Shut down, not closed: the number stays curl's until it closes it, under the mutex.
    for (curl_socket_t fd : sockets_)
        ::shutdown(fd, SHUT_RDWR);
}

void FtpWorker::Wake() {
    const std::uint64_t one = 1;
    if (wake_fd_ < 0) return;
    const ssize_t written = ::write(wake_fd_, &one, sizeof one);
    (void)written; // a full counter wakes the worker all the same
}

bool FtpWorker::Take(std::vector<Request>& requests) {
    std::lock_guard lock(mutex_);
    requests.swap(requests_);
    return !stopping_;
}

void FtpWorker::Run() {
    multi_ = curl_.multi_init();
    std::vector<Request> requests;
    while (Take(requests)) {
        for (auto& request : requests)
            request.job ? Start(request.job) : Reset();
        requests.clear();
        int running = 0;
        if (multi_) curl_.multi_perform(multi_, &running);
        Collect();
        const int wait_ms = running_.empty() ? kIdleWaitMs : kLongestWaitMs;
        curl_waitfd wake{wake_fd_, CURL_WAIT_POLLIN, 0};
        if (multi_) {
            curl_.multi_poll(multi_, wake_fd_ >= 0 ? &wake : nullptr, wake_fd_ >= 0 ? 1 : 0,
                             wait_ms, nullptr);
        } else {
            pollfd only{wake_fd_, POLLIN, 0};
            ::poll(&only, 1, wait_ms);
        }
        std::uint64_t count = 0;
        if (wake_fd_ >= 0 && ::read(wake_fd_, &count, sizeof count) < 0) count = 0;
    }
    for (auto& request : requests)
        if (request.job) curl_.easy_cleanup(request.job->easy);
    Reset();
    if (multi_) curl_.multi_cleanup(multi_);
    multi_ = nullptr;
}

void FtpWorker::Start(const std::shared_ptr<Job>& job) {
    if (job->abandoned || !multi_ || curl_.multi_add_handle(multi_, job->easy) != CURLM_OK) {
        running_.push_back(job);
        return Finish(job, job->abandoned ? CURLE_ABORTED_BY_CALLBACK : CURLE_FAILED_INIT);
    }
    running_.push_back(job);
}

void FtpWorker::Collect() {
    while (multi_) {
        int left = 0;
        CURLMsg* message = curl_.multi_info_read(multi_, &left);
        if (!message) return;
        if (message->msg != CURLMSG_DONE) continue;
        auto it = std::find_if(running_.begin(), running_.end(),
                               [&](const auto& job) { return job->easy == message->easy_handle; });
        if (it != running_.end()) Finish(*it, message->data.result);
    }
}

// The handle goes here, on the thread that ran it; the loop hears of the end only after.
void FtpWorker::Finish(const std::shared_ptr<Job>& job_ref, CURLcode code) {
    std::shared_ptr<Job> job = job_ref;
    if (multi_) curl_.multi_remove_handle(multi_, job->easy);
    curl_.easy_cleanup(job->easy);
    job->easy = nullptr;
    std::erase(running_, job);
    {
        std::lock_guard lock(mutex_);
        std::erase(jobs_, job);
    }
    if (!job->abandoned && job->done)
        asio::post(loop_, [done = std::move(job->done), code] { done(code); });
}

// A new multi handle: the old one's cache takes the connection with it.
void FtpWorker::Reset() {
    while (!running_.empty()) {
        running_.front()->abandoned = true;
        Finish(running_.front(), CURLE_ABORTED_BY_CALLBACK);
    }
    if (!multi_) return;
    curl_.multi_cleanup(multi_);
    multi_ = curl_.multi_init();
}

curl_socket_t FtpWorker::OnOpenSocket(void* self, curlsocktype, curl_sockaddr* address) {
    auto& worker = *static_cast<FtpWorker*>(self);
    std::lock_guard lock(worker.mutex_);
    if (worker.stopping_) return CURL_SOCKET_BAD;
    const int fd = ::socket(address->family, address->socktype | SOCK_CLOEXEC, address->protocol);
    if (fd < 0) return CURL_SOCKET_BAD;
    try {
        worker.sockets_.insert(fd);
    } catch (...) {
        ::close(fd);
        return CURL_SOCKET_BAD;
    }
    return fd;
}

// Closed under the mutex, so the loop thread never shuts down a number already reused.
int FtpWorker::OnCloseSocket(void* self, curl_socket_t fd) {
    auto& worker = *static_cast<FtpWorker*>(self);
    std::lock_guard lock(worker.mutex_);
    worker.sockets_.erase(fd);
    return ::close(fd);
}

int FtpWorker::OnProgress(void* job, curl_off_t, curl_off_t, curl_off_t, curl_off_t) {
    return static_cast<Job*>(job)->abandoned ? 1 : 0;
}

} // namespace tess
