// Reading the station's line: the file is untrusted (another program rewrites it while we
// read, and anything may end up in it), so every step checks and a bad line changes nothing.

#include "base/text.h"
#include "settings/format.h"
#include "settings/number_text.h"
#include "settings/vb_date.h"
#include "weather/karvell.h"

#include <cerrno>
#include <charconv>
#include <cmath>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tess {

namespace {

constexpr std::size_t kMaxLineLength = 1000;
constexpr int kMinColumns = 39;
constexpr int kMaxColumns = kCSVColumns - 1;

struct Version {
    double number;
    int columns;
};
// Version 1.01 added the monthly and yearly rain totals as columns 40 and 41.
constexpr Version kVersions[] = {{1.0, 39}, {1.01, 41}};

// The file's first line, without its line end, or a few bytes more than the limit allows;
// false with the reason when the file cannot be read.
bool ReadFirstLine(const std::string& path, std::string& line, CSVStatus& failure) {
    line.clear();
    failure = CSVStatus::FileMissing;
    if (path.empty()) return false;
    // Non-blocking, so that a FIFO in the file's place cannot hang the update loop.
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0) {
        if (errno != ENOENT && errno != ENOTDIR) failure = CSVStatus::FileUnreadable;
        return false;
    }
    failure = CSVStatus::FileUnreadable;
    struct stat info {};
    if (::fstat(fd, &info) != 0 || !S_ISREG(info.st_mode)) {
        ::close(fd);
        return false;
    }
    char buffer[kMaxLineLength + 2];
    std::size_t size = 0;
    while (size < sizeof buffer) {
        const ssize_t n = ::read(fd, buffer + size, sizeof buffer - size);
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) {
            ::close(fd);
            return false;
        }
        if (n == 0) break;
        size += static_cast<std::size_t>(n);
    }
    ::close(fd);
    const std::string_view text = SkipUtf8Bom(std::string_view(buffer, size));
    line.assign(text.substr(0, text.find_first_of("\r\n")));
    return true;
}

bool HasControlCharacters(std::string_view line) {
    for (char c : line) {
        const auto u = static_cast<unsigned char>(c);
        if ((u < 0x20 && c != '\t') || u == 0x7F) return true;
    }
    return false;
}

bool ReadWholeNumber(std::string_view text, int low, int high, int& value) {
    text = Trim(text);
    auto r = std::from_chars(text.data(), text.data() + text.size(), value);
    return r.ec == std::errc() && r.ptr == text.data() + text.size() && value >= low &&
           value <= high;
}

// Columns 2..7 (`column[1..6]`): year, month, day, hour, minute, second.
bool StationTime(const std::array<std::string_view, kCSVColumns>& column, double& time) {
    int year, month, day, hour, minute, second;
    if (!ReadWholeNumber(column[1], 0, 9999, year) || !ReadWholeNumber(column[2], 1, 12, month) ||
        !ReadWholeNumber(column[4], 0, 23, hour) || !ReadWholeNumber(column[5], 0, 59, minute) ||
        !ReadWholeNumber(column[6], 0, 59, second)) {
        return false;
    }
    // Two-digit years follow the classic window: 00-29 are 2000s, 30-99 are 1900s.
    if (Trim(column[1]).size() <= 2) year += year < 30 ? 2000 : 1900;
    if (year < 100 || !ReadWholeNumber(column[3], 1, DaysInMonth(year, month), day)) return false;
    time = DateSerial(year, month, day) + TimeSerial(hour, minute, second);
    return true;
}

} // namespace

std::string_view CSVStatusText(CSVStatus status) {
    switch (status) {
    case CSVStatus::NotRead:
        return "not read yet";
    case CSVStatus::Accepted:
        return "line accepted";
    case CSVStatus::NotNewer:
        return "the station time is not newer than the last line's";
    case CSVStatus::FileMissing:
        return "the file does not exist";
    case CSVStatus::FileUnreadable:
        return "the file cannot be read";
    case CSVStatus::LineTooLong:
        return "the line is longer than 1000 characters";
    case CSVStatus::ControlCharacters:
        return "the line holds control characters (a file caught half-written?)";
    case CSVStatus::WrongFieldCount:
        return "the line does not have the 39 (version 1.0) or 41 (version 1.01) fields";
    case CSVStatus::UnknownVersion:
        return "the first field is not a known version (1.0 or 1.01)";
    case CSVStatus::BadStationTime:
        return "fields 2 to 7 are not a station date and time";
    case CSVStatus::AheadOfClock:
        return "the station time is more than a day ahead of this computer's clock";
    }
    return "unknown";
}

CSVStatus Karvell::GetCSVData(double now) {
    std::string line;
    CSVStatus failure;
    if (!ReadFirstLine(PathFromSettings(csv_file_), line, failure)) return failure;
    return AcceptLine(line, now);
}

CSVStatus Karvell::AcceptLine(std::string_view line, double now) {
    if (line.size() > kMaxLineLength) return CSVStatus::LineTooLong;
    if (HasControlCharacters(line)) return CSVStatus::ControlCharacters;

    // column[i - 1] is column i; `last` is the number of the line's last column.
    std::array<std::string_view, kCSVColumns> column{};
    int last = 0;
    for (std::size_t start = 0;;) {
        if (last == kMaxColumns) return CSVStatus::WrongFieldCount;
        const std::size_t comma = line.find(',', start);
        column[static_cast<std::size_t>(last++)] = line.substr(start, comma - start);
        if (comma == std::string_view::npos) break;
        start = comma + 1;
    }
    if (last < kMinColumns) return CSVStatus::WrongFieldCount;

    double version = 0;
    if (!ParseNumber(column[0], '.', version)) return CSVStatus::UnknownVersion;
    const Version* known = nullptr;
    for (const Version& v : kVersions) {
        if (version == v.number) known = &v;
    }
    if (!known) return CSVStatus::UnknownVersion;
    if (last != known->columns) return CSVStatus::WrongFieldCount;
    valid_ = true;

    double time = 0;
    if (!StationTime(column, time)) return CSVStatus::BadStationTime;
    // Taken as the newest, a line from the future would make every later line "older".
    if (now > 0 && time > now + kMaxDaysAhead) return CSVStatus::AheadOfClock;
    if (!(csv_last_time_ < time)) return CSVStatus::NotNewer;

    const double previous = csv_last_time_;
    StoreColumns(column, last, time);
    if (previous != 0 && std::floor(previous) != std::floor(time)) ResetDailyData();
    ProcessNewData();
    csv_last_time_ = time;
    if (enable_database_) {
        history_.Store(record_);
        ProcessNewDatabaseData();
    }
    if (events_) events_->Raise(ScriptEvent::NewCSVData);
    return CSVStatus::Accepted;
}

void Karvell::StoreColumns(const std::array<std::string_view, kCSVColumns>& column, int last,
                           double time) {
    for (int i = 1; i < kCSVColumns; ++i) {
        auto& text = texts_[static_cast<std::size_t>(i)];
        double& number = record_[static_cast<std::size_t>(i)];
        if (i > last) {
            text = "-1000";
            number = kNoValue;
            continue;
        }
        text.assign(column[static_cast<std::size_t>(i - 1)]);
        if (!ParseNumber(text, '.', number)) number = kNoValue;
    }
    record_[rec::kTime] = time;
    texts_[rec::kTime] = FormatDate(time, "yyyy-mm-dd hh:nn:ss");
}

} // namespace tess
