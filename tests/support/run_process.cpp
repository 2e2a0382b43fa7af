#include "support/run_process.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace tess::test {

Process::Process(const std::vector<std::string>& argv, const std::string& directory,
                 const std::vector<std::string>& env) {
    int out[2], err[2];
    if (::pipe2(out, O_CLOEXEC) != 0 || ::pipe2(err, O_CLOEXEC) != 0)
        throw std::runtime_error("pipe failed");
    pid_ = ::fork();
    if (pid_ == 0) {
        int null = ::open("/dev/null", O_RDONLY);
        ::dup2(null, 0);
        ::dup2(out[1], 1);
        ::dup2(err[1], 2);
        if (::chdir(directory.c_str()) != 0) ::_exit(127);
        for (const auto& variable : env)
            ::putenv(const_cast<char*>(variable.c_str()));
        std::vector<char*> args;
        for (const auto& a : argv)
            args.push_back(const_cast<char*>(a.c_str()));
        args.push_back(nullptr);
        ::execv(args[0], args.data());
        ::_exit(127);
    }
    ::close(out[1]);
    ::close(err[1]);
    out_fd_ = out[0];
    err_fd_ = err[0];
}

Process::~Process() {
    if (!reaped_ && pid_ > 0) {
        ::kill(pid_, SIGKILL);
        ::waitpid(pid_, &status_, 0);
    }
    if (out_fd_ >= 0) ::close(out_fd_);
    if (err_fd_ >= 0) ::close(err_fd_);
}

bool Process::Running() {
    if (reaped_) return false;
    if (::waitpid(pid_, &status_, WNOHANG) == pid_) reaped_ = true;
    return !reaped_;
}

void Process::Signal(int signal) {
    if (!reaped_) ::kill(pid_, signal);
}

ProcessResult Process::Wait(double timeout_seconds) {
    ProcessResult result;
    auto deadline =
        std::chrono::steady_clock::now() + std::chrono::duration<double>(timeout_seconds);
    pollfd fds[2] = {{out_fd_, POLLIN, 0}, {err_fd_, POLLIN, 0}};
    int open_fds = 2;
    bool killed = false;
    while (open_fds > 0) {
        if (!killed && std::chrono::steady_clock::now() > deadline) {
            ::kill(pid_, SIGKILL);
            killed = true;
        }
        if (::poll(fds, 2, 100) < 0 && errno != EINTR) break;
        for (int i = 0; i < 2; ++i) {
            if (fds[i].fd < 0 || !(fds[i].revents & (POLLIN | POLLHUP))) continue;
            char buffer[4096];
            ssize_t n = ::read(fds[i].fd, buffer, sizeof buffer);
            if (n <= 0) {
                fds[i].fd = -1;
                --open_fds;
            } else {
                (i == 0 ? result.out : result.err).append(buffer, static_cast<std::size_t>(n));
            }
        }
    }
    if (!reaped_) {
        ::waitpid(pid_, &status_, 0);
        reaped_ = true;
    }
    result.exit_code = (!killed && WIFEXITED(status_)) ? WEXITSTATUS(status_) : -1;
    return result;
}

ProcessResult RunProcess(const std::vector<std::string>& argv, const std::string& directory,
                         double timeout_seconds, const std::vector<std::string>& env) {
    Process process(argv, directory, env);
    return process.Wait(timeout_seconds);
}

ProcessResult BrowserScreenshot(const std::string& url, const std::string& shot, int width,
                                int height, const std::string& directory) {
    // Without the background networking switches, Chromium keeps calling hosts this machine
    // cannot reach.
    return RunProcess({"/usr/bin/chromium", "--headless", "--no-sandbox", "--disable-gpu",
                       "--disable-quic", "--no-first-run", "--disable-background-networking",
                       "--disable-component-update", "--disable-sync",
                       "--user-data-dir=" + directory + "/chromium-profile",
                       "--window-size=" + std::to_string(width) + "," + std::to_string(height),
                       "--screenshot=" + shot, url},
                      directory, 60);
}

} // namespace tess::test
