#pragma once

// The user's command run on each motion trigger, through /bin/sh. It runs beside the
// program: starting it never waits, Poll (called with every frame) collects its output for
// the log and its exit, and a command past its time limit is stopped with its children.
//
// Placeholders in the command text:
//   %f  the feed's number, from 1        %s  the files saved, each quoted, space-separated
//   %c  the coverage, 0..1               %p  the coverage in percent of the picture
//   %t  the trigger time, YYYY-MM-DD HH:MM:SS                 %%  a percent sign

#include <chrono>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <vector>

namespace tess {

struct MotionCommandValues {
    int feed = 1;
    std::vector<std::string> files;
    float coverage = 0;
    double time = 0;
};

class MotionCommand {
public:
    static constexpr int kMaxRunning = 4; // more at once means the commands cannot keep up

    MotionCommand() = default;
    ~MotionCommand(); // commands still running are stopped
    MotionCommand(const MotionCommand&) = delete;
    MotionCommand& operator=(const MotionCommand&) = delete;

    // The command text with its placeholders filled in.
    static std::string Expand(std::string_view command, const MotionCommandValues& values);

    // Starts the expanded command; false (with a log line) when it could not be started.
    bool Start(std::string_view command, const MotionCommandValues& values, int time_limit_seconds);
    // Logs the output gathered so far, reaps finished commands, stops late ones.
    void Poll();
    int Running() const { return static_cast<int>(children_.size()); }

private:
    struct Child {
        pid_t pid = -1;
        int output = -1;     // read end of the pipe holding stdout and stderr
        std::string pending; // output not yet a whole line
        std::chrono::steady_clock::time_point deadline;
        int feed = 1;
        bool stopped = false;
    };
    // True when the child has ended and was reaped.
    bool Collect(Child& child);
    void Drain(Child& child);

    std::vector<Child> children_;
};

} // namespace tess
