#include "capture/motion_command.h"

#include "base/log.h"
#include "capture/motion_saves.h"
#include "settings/vb_date.h"

#include <cerrno>
#include <cmath>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace tess {

namespace {

std::string Quoted(std::string_view text) {
    std::string out = "'";
    for (char c : text) {
        if (c == '\'')
            out += "'\\''";
        else
            out += c;
    }
    return out + "'";
}

std::string TimeText(double time) {
    const DateFields f = SplitDate(WholeSecond(time));
    return fmt::format("{:04}-{:02}-{:02} {:02}:{:02}:{:02}", f.year, f.month, f.day, f.hour,
                       f.minute, f.second);
}

constexpr std::size_t kMaxLine = 1000; // a command that writes no newlines is cut into lines

} // namespace

std::string MotionCommand::Expand(std::string_view command, const MotionCommandValues& v) {
    std::string out;
    for (std::size_t i = 0; i < command.size(); ++i) {
        if (command[i] != '%' || i + 1 == command.size()) {
            out += command[i];
            continue;
        }
        switch (command[++i]) {
        case 'f':
            out += std::to_string(v.feed);
            break;
        case 'c':
            out += fmt::format("{:.3f}", v.coverage);
            break;
        case 'p':
            out +=
                fmt::format("{:.4g}", v.coverage > 0 ? std::pow(10.0, 6.0 * v.coverage - 4) : 0.0);
            break;
        case 's':
            for (std::size_t k = 0; k < v.files.size(); ++k)
                out += (k ? " " : "") + Quoted(v.files[k]);
            break;
        case 't':
            out += TimeText(v.time);
            break;
        case '%':
            out += '%';
            break;
        default: // not ours: left as written
            out += '%';
            out += command[i];
            break;
        }
    }
    return out;
}

bool MotionCommand::Start(std::string_view command, const MotionCommandValues& values,
                          int time_limit_seconds) {
    Poll();
    if (Running() >= kMaxRunning) {
        LogWarning("Motion command of feed {}: {} still running, this trigger's is skipped",
                   values.feed, Running());
        return false;
    }
    const std::string text = Expand(command, values);
    int fds[2];
    if (pipe2(fds, O_CLOEXEC) != 0) {
        LogError("Motion command of feed {}: no pipe: {}", values.feed, std::strerror(errno));
        return false;
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, fds[1], 1);
    posix_spawn_file_actions_adddup2(&actions, fds[1], 2);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    // Its own process group, so that a late command is stopped with what it started.
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP);
    posix_spawnattr_setpgroup(&attributes, 0);
    const char* argv[] = {"/bin/sh", "-c", text.c_str(), nullptr};
    pid_t pid = -1;
    const int error = posix_spawn(&pid, "/bin/sh", &actions, &attributes,
                                  const_cast<char* const*>(argv), environ);
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
    close(fds[1]);
    if (error != 0) {
        close(fds[0]);
        LogError("Motion command of feed {}: cannot start /bin/sh: {}", values.feed,
                 std::strerror(error));
        return false;
    }
    fcntl(fds[0], F_SETFL, fcntl(fds[0], F_GETFL) | O_NONBLOCK);
    LogInfo("Motion command of feed {} started: {}", values.feed, text);
    Child child;
    child.pid = pid;
    child.output = fds[0];
    child.deadline = std::chrono::steady_clock::now() + std::chrono::seconds(time_limit_seconds);
    child.feed = values.feed;
    children_.push_back(std::move(child));
    return true;
}

void MotionCommand::Drain(Child& child) {
    char buffer[4096];
    for (;;) {
        const ssize_t n = read(child.output, buffer, sizeof buffer);
        if (n <= 0) break;
        child.pending.append(buffer, static_cast<std::size_t>(n));
    }
    std::size_t start = 0;
    for (;;) {
        std::size_t end = child.pending.find('\n', start);
        if (end == std::string::npos && child.pending.size() - start >= kMaxLine)
            end = start + kMaxLine;
        if (end == std::string::npos) break;
        LogInfo("Motion command of feed {}: {}", child.feed,
                std::string_view(child.pending).substr(start, end - start));
        start = end < child.pending.size() && child.pending[end] == '\n' ? end + 1 : end;
    }
    child.pending.erase(0, start);
}

bool MotionCommand::Collect(Child& child) {
    Drain(child);
    int status = 0;
    const pid_t done = waitpid(child.pid, &status, WNOHANG);
    if (done == 0) {
        if (!child.stopped && std::chrono::steady_clock::now() >= child.deadline) {
            LogWarning("Motion command of feed {} ran past its time limit and was stopped",
                       child.feed);
            kill(-child.pid, SIGKILL);
            child.stopped = true;
        }
        return false;
    }
    Drain(child);
    if (!child.pending.empty()) LogInfo("Motion command of feed {}: {}", child.feed, child.pending);
    close(child.output);
    if (done < 0) return true; // reaped elsewhere: nothing more to learn
    if (WIFEXITED(status) && WEXITSTATUS(status) != 0)
        LogWarning("Motion command of feed {} failed with exit status {}", child.feed,
                   WEXITSTATUS(status));
    else if (WIFSIGNALED(status) && !child.stopped)
        LogWarning("Motion command of feed {} ended by signal {}", child.feed, WTERMSIG(status));
    return true;
}

void MotionCommand::Poll() {
    std::erase_if(children_, [this](Child& child) { return Collect(child); });
}

MotionCommand::~MotionCommand() {
    for (Child& child : children_) {
        kill(-child.pid, SIGKILL);
        waitpid(child.pid, nullptr, 0);
        close(child.output);
    }
}

} // namespace tess
