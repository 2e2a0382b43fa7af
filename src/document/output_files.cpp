#include "document/output_files.h"

#include "base/atomic_file.h"
#include "base/error.h"
#include "base/text.h"
#include "settings/vb_date.h"

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include <fmt/format.h>

namespace tess {

namespace fs = std::filesystem;

namespace {

[[noreturn]] void Fail(ErrorNumber number, std::string description,
                       SourceLocation where = SourceLocation::current()) {
    throw TessError(number, std::move(description), where);
}

// Centiseconds since the date origin, never rounded up into the next hundredth: a file name
// shows the moment that has begun, as clocks do. The ten microseconds added cover the
// rounding of a date's last bit, which is worth a few microseconds today.
long long Centiseconds(double date) {
    return static_cast<long long>(std::floor(date * 8640000.0 + 0.001));
}

// Under the systemd unit everything but the site's folder is read-only: say so, since
// "Read-only file system" for a disk that is not read-only puzzles.
std::string ReadOnlyHint(std::string_view reason) {
    if (reason.find(std::strerror(EROFS)) == std::string_view::npos) return {};
    return " (under the tessarolle@ service only the site's folder can be written: put the "
           "file there, or allow its folder with ReadWritePaths= in a drop-in)";
}

void MakeParentFolder(const std::string& path, std::string_view what) {
    const fs::path parent = fs::path(path).parent_path();
    if (parent.empty()) return;
    std::error_code ec;
    fs::create_directories(parent, ec);
    if (ec) {
        Fail(
            ErrorNumber::PathNotFound,
            fmt::format("the {} '{}' could not be written: its folder '{}' could not be made: {}{}",
                        what, path, parent.string(), ec.message(), ReadOnlyHint(ec.message())));
    }
}

} // namespace

std::string CascadeFileName(std::string_view fixed_file, int index) {
    const std::string path(fixed_file);
    const std::size_t slash = path.find_last_of("/\\");
    const std::size_t dot = path.rfind('.');
    const bool has_extension =
        dot != std::string::npos && (slash == std::string::npos || dot > slash);
    const std::string stem = has_extension ? path.substr(0, dot) : path;
    const std::string extension = has_extension ? path.substr(dot) : std::string();
    return fmt::format("{}{:04}{}", stem, index, extension);
}

std::string SequentialFileName(std::string_view directory, std::int32_t naming, double now,
                               std::int32_t number) {
    std::string folder = PathFromSettings(Trim(directory));
    if (!folder.empty() && folder.back() != '/') folder += '/';
    if (naming == kSequentialNumbered) return fmt::format("{}{:08}.jpg", folder, number);
    const long long centis = Centiseconds(now);
    const long long day = centis / 8640000, in_day = centis % 8640000;
    const DateFields date = SplitDate(static_cast<double>(day));
    const long long seconds = in_day / 100;
    return fmt::format("{}{:02}{:02}{:02}{:02}{:02}{:02}{:02}.jpg", folder, date.year % 100,
                       date.month, date.day, seconds / 3600, seconds / 60 % 60, seconds % 60,
                       in_day % 100);
}

std::string UnusedTimeStampedName(const std::string& path) {
    constexpr std::size_t kTail = 6; // "NN.jpg"
    std::error_code ec;
    if (path.size() < kTail || !fs::exists(path, ec)) return path;
    const std::size_t at = path.size() - kTail;
    const int hundredths = (path[at] - '0') * 10 + (path[at + 1] - '0');
    std::string candidate = path;
    for (int step = 1; step < 100; ++step) {
        const int field = (hundredths + step) % 100;
        candidate[at] = static_cast<char>('0' + field / 10);
        candidate[at + 1] = static_cast<char>('0' + field % 10);
        if (!fs::exists(candidate, ec)) return candidate;
    }
    return path; // a hundred pictures in one second of wall-clock time: the last one stays
}

void WriteOutputFile(const std::string& path, std::span<const std::uint8_t> bytes,
                     std::string_view what) {
    MakeParentFolder(path, what);
    std::string error;
    const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    if (!WriteFileAtomic(path, text, &error, Durability::Unsynced))
        Fail(ErrorNumber::PathFileAccess,
             fmt::format("the {} could not be written: {}{}", what, error, ReadOnlyHint(error)));
}

void ShiftCascade(const std::string& fixed_file, int count) {
    MakeParentFolder(fixed_file, "cascade");
    auto move = [](const std::string& from, const std::string& to) {
        if (std::rename(from.c_str(), to.c_str()) == 0 || errno == ENOENT) return;
        Fail(ErrorNumber::PathFileAccess, fmt::format("the cascade file '{}' could not be renamed "
                                                      "to '{}': {}",
                                                      from, to, std::strerror(errno)));
    };
    const std::string last = CascadeFileName(fixed_file, count);
    if (std::remove(last.c_str()) != 0 && errno != ENOENT) {
        Fail(ErrorNumber::PathFileAccess,
             fmt::format("the cascade file '{}' could not be removed: {}", last,
                         std::strerror(errno)));
    }
    for (int index = count - 1; index >= 1; --index)
        move(CascadeFileName(fixed_file, index), CascadeFileName(fixed_file, index + 1));
}

void LinkOrCopy(const std::string& from, const std::string& to) {
    std::error_code ec;
    if (!fs::exists(from, ec)) return;
    fs::remove(to, ec);
    fs::create_hard_link(from, to, ec);
    if (!ec) return;
    // File systems without links (FAT on a memory card) get a copy, written whole as well.
    std::string bytes, error;
    if (ReadWholeFile(from, bytes, std::size_t{1} << 30, &error) != ReadStatus::Ok ||
        !WriteFileAtomic(to, bytes, &error, Durability::Unsynced)) {
        Fail(ErrorNumber::PathFileAccess,
             fmt::format("the cascade file '{}' could not be made: {}", to, error));
    }
}

} // namespace tess
