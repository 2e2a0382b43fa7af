#include "base/log.h"

#include <chrono>
#include <cstdio>
#include <ctime>
#include <filesystem>

namespace tess {

namespace {

struct LogState {
    std::FILE* file = nullptr;
    std::string path;
    std::size_t max_bytes = 0;
    std::size_t written = 0;
    LogLevel stderr_level = LogLevel::Info;
};

LogState& State() {
    static LogState state;
    return state;
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

void LogSetStderrLevel(LogLevel level) {
    State().stderr_level = level;
}

void LogWrite(LogLevel level, std::string_view text, LogTarget target) {
    LogState& s = State();
    std::string line = fmt::format("{} {}: {}\n", WallClockText(), LevelName(level), text);
    if (target == LogTarget::Both && level >= s.stderr_level) {
        std::fwrite(line.data(), 1, line.size(), stderr);
    }
    if (s.file) {
        std::fwrite(line.data(), 1, line.size(), s.file);
        std::fflush(s.file);
        s.written += line.size();
        RotateIfFull(s);
    }
}

} // namespace tess
