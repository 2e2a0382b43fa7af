#pragma once

// The program's log: one line per event, to stderr and, once a file is set, to a log file
// that is rotated when it grows, so a machine that runs for years never fills its disk.
// Levels mean what they say: an error is something that failed, a warning something the
// user should look at, info the program's ordinary course, debug detail for developers.
// When stderr is the systemd journal, lines there carry the journal's priority prefix and
// no time stamp of ours (the journal keeps its own).

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <fmt/format.h>

namespace tess {

enum class LogLevel { Debug, Info, Warning, Error };
enum class LogTarget { Both, FileOnly };

void LogToFile(const std::string& path, std::size_t max_bytes = 4u << 20);
// Messages below it are not logged at all (default Info).
void LogSetLevel(LogLevel level);
void LogSetStderrLevel(LogLevel level); // messages below it stay off the terminal
// "error", "warning", "info", "debug" (any case); false for anything else.
bool ParseLogLevel(std::string_view text, LogLevel& level);
// Whether JOURNAL_STREAM names the device and inode of our stderr (systemd sets it for a
// service whose output goes to the journal); the log then writes the journal's format.
bool StderrIsJournal();
void LogUseJournalFormat(bool value);
void LogWrite(LogLevel level, std::string_view text, LogTarget target = LogTarget::Both);

template <typename... Args>
void LogDebug(fmt::format_string<Args...> f, Args&&... args) {
    LogWrite(LogLevel::Debug, fmt::format(f, std::forward<Args>(args)...));
}
template <typename... Args>
void LogInfo(fmt::format_string<Args...> f, Args&&... args) {
    LogWrite(LogLevel::Info, fmt::format(f, std::forward<Args>(args)...));
}
template <typename... Args>
void LogWarning(fmt::format_string<Args...> f, Args&&... args) {
    LogWrite(LogLevel::Warning, fmt::format(f, std::forward<Args>(args)...));
}
template <typename... Args>
void LogError(fmt::format_string<Args...> f, Args&&... args) {
    LogWrite(LogLevel::Error, fmt::format(f, std::forward<Args>(args)...));
}

// While one exists, warnings and errors are collected here instead of going to stderr (the
// log file still gets them): for commands that report the problems they found themselves.
class LogCapture {
public:
    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    struct Entry {
        LogLevel level;
        std::string text;
    };
    const std::vector<Entry>& Entries() const { return entries_; }
    void Add(LogLevel level, std::string_view text) {
        entries_.push_back({level, std::string(text)});
    }

private:
    std::vector<Entry> entries_;
    LogCapture* outer_ = nullptr;
};

// Local wall-clock time as "YYYY-MM-DD HH:MM:SS", for log lines and error files.
std::string WallClockText();

} // namespace tess
