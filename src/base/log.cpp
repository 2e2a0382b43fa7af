#include "base/log.h"

#include "base/text.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <sys/stat.h>

namespace tess {

namespace {

struct LogState {
    std::FILE* file = nullptr;
    std::string path;
    std::size_t max_bytes = 0;
    std::size_t written = 0;
    LogLevel level = LogLevel::Info;
    LogLevel stderr_level = LogLevel::Info;
    bool journal = StderrIsJournal();
    LogCapture* capture = nullptr;
};

LogState& State() {
    static LogState state;
    return state;
}

// sd-daemon's prefixes: <3> error, <4> warning, <6> info, <7> debug.
char JournalPriority(LogLevel level) {
    switch (level) {
    case LogLevel::Debug:
        return '7';
    case LogLevel::Info:
        return '6';
    case LogLevel::Warning:
        return '4';
    case LogLevel::Error:
        return '3';
    }
    return '6';
}

// The journal takes one entry per line: each line of a long message gets the prefix.
std::string JournalLines(LogLevel level, std::string_view text) {
    std::string out;
    std::size_t start = 0;
    for (;;) {
        const std::size_t end = text.find('\n', start);
        out += '<';
        out += JournalPriority(level);
        out += '>';
        out.append(text.substr(start, end == std::string_view::npos ? end : end - start));
        out += '\n';
        if (end == std::string_view::npos) return out;
        start = end + 1;
    }
}

const char* LevelName(LogLevel level) {
    switch (level) {
    case LogLevel::Debug:
        return "debug";
    case LogLevel::Info:
        return "info";
    case LogLevel::Warning:
        return "warning";
    case LogLevel::Error:
        return "error";
    }
    return "";
}

void RotateIfFull(LogState& s) {
    if (s.written < s.max_bytes) return;
    std::fclose(s.file);
    std::error_code ec;
    std::filesystem::rename(s.path, s.path + ".1", ec);
    s.file = std::fopen(s.path.c_str(), "a");
    s.written = 0;
}

} // namespace

std::string WallClockText() {
    std::time_t now = std::time(nullptr);
    std::tm tm{};
    localtime_r(&now, &tm);
    char text[32];
    std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &tm);
    return text;
}

void LogToFile(const std::string& path, std::size_t max_bytes) {
    LogState& s = State();
    if (s.file) std::fclose(s.file);
    s.path = path;
    s.max_bytes = max_bytes;
    s.file = std::fopen(path.c_str(), "a");
    s.written = 0;
    if (s.file) {
        std::error_code ec;
        s.written = static_cast<std::size_t>(std::filesystem::file_size(path, ec));
    } else {
        std::fprintf(stderr, "tessarolle: cannot open the log file '%s'\n", path.c_str());
    }
}

void LogSetLevel(LogLevel level) {
    State().level = level;
}

void LogSetStderrLevel(LogLevel level) {
    State().stderr_level = level;
}

bool ParseLogLevel(std::string_view text, LogLevel& level) {
    const std::string name = ToLowerAscii(text);
    for (LogLevel l : {LogLevel::Debug, LogLevel::Info, LogLevel::Warning, LogLevel::Error}) {
        if (name == LevelName(l)) {
            level = l;
            return true;
        }
    }
    return false;
}

bool StderrIsJournal() {
    const char* stream = std::getenv("JOURNAL_STREAM");
    if (!stream || !*stream) return false;
    unsigned long long device = 0, inode = 0;
    if (std::sscanf(stream, "%llu:%llu", &device, &inode) != 2) return false;
    struct stat st {};
    if (::fstat(2, &st) != 0) return false;
    return st.st_dev == device && st.st_ino == inode;
}

void LogUseJournalFormat(bool value) {
    State().journal = value;
}

void LogWrite(LogLevel level, std::string_view text, LogTarget target) {
    LogState& s = State();
    // Captured whatever the level: the command reports these itself.
    const bool captured = s.capture && level >= LogLevel::Warning && target == LogTarget::Both;
    if (captured) s.capture->Add(level, text);
    if (level < s.level) return;
    std::string line = fmt::format("{} {}: {}\n", WallClockText(), LevelName(level), text);
    if (!captured && target == LogTarget::Both && level >= s.stderr_level) {
        if (s.journal) {
            const std::string lines = JournalLines(level, text);
            std::fwrite(lines.data(), 1, lines.size(), stderr);
        } else {
            std::fwrite(line.data(), 1, line.size(), stderr);
        }
    }
    if (s.file) {
        std::fwrite(line.data(), 1, line.size(), s.file);
        std::fflush(s.file);
        s.written += line.size();
        RotateIfFull(s);
    }
}

LogCapture::LogCapture() : outer_(State().capture) {
    State().capture = this;
}

LogCapture::~LogCapture() {
    State().capture = outer_;
}

} // namespace tess
