#pragma once

#include <string>
#include <vector>

namespace tess::test {

struct ProcessResult {
    int exit_code = -1; // -1 when killed by a signal or timed out
    std::string out;
    std::string err;
};

// A child process started in its own folder, with stdin from /dev/null and `env` ("NAME=value")
// added to the environment.
class Process {
public:
    Process(const std::vector<std::string>& argv, const std::string& directory,
            const std::vector<std::string>& env = {});
    ~Process();
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    int Pid() const { return pid_; }
    bool Running();
    void Signal(int signal);
    // Waits for the end (killing the child after `timeout_seconds`), collecting its output.
    ProcessResult Wait(double timeout_seconds);

private:
    int pid_ = -1;
    int out_fd_ = -1, err_fd_ = -1;
    bool reaped_ = false;
    int status_ = 0;
};

ProcessResult RunProcess(const std::vector<std::string>& argv, const std::string& directory,
                         double timeout_seconds = 30, const std::vector<std::string>& env = {});

// Headless Chromium loads `url` in a window of the given size and writes a PNG screenshot to
// `shot`; its profile lives in `directory`.
ProcessResult BrowserScreenshot(const std::string& url, const std::string& shot, int width,
                                int height, const std::string& directory);

} // namespace tess::test
