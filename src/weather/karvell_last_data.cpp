// "lastdata.csv" keeps the last record across restarts, so that today's extremes, yesterday's
// values and the trends are not lost when the program stops. Layout, one item per line
// (LF line ends, numbers with a full stop whatever the locale):
//
//   Tessarolle weather record,1
//   LastTime,<station time of the last accepted line, as days since 1899-12-30>
//   Valid,<True|False>
//   <index>,<number>,<text>     for the columns 0..99, in order
//   <index>,<number>            for the derived values 100..119, in order
//
// The text is the column as the station wrote it (it holds no comma or line end, since it
// was split from one line at the commas). A file that breaks any of this is not used at all.

#include "base/atomic_file.h"
#include "base/text.h"
#include "settings/number_text.h"
#include "weather/karvell.h"

#include <charconv>
#include <cmath>

#include <fmt/format.h>

namespace tess {

namespace {

constexpr std::string_view kHeader = "Tessarolle weather record,1";
// 120 lines of at most a 1000-character column each, with room to spare.
constexpr std::size_t kMaxLastDataBytes = 256 * 1024;

// The shortest text that reads back as the same double.
std::string NumberText(double value) {
    return fmt::format("{}", std::isfinite(value) ? value : kNoValue);
}

class Lines {
public:
    explicit Lines(std::string_view text) : text_(text) {}
    bool Next(std::string_view& line) {
        if (pos_ > text_.size()) return false;
        std::size_t end = text_.find('\n', pos_);
        if (end == std::string_view::npos) end = text_.size();
        line = text_.substr(pos_, end - pos_);
        if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
        pos_ = end + 1;
        return true;
    }

private:
    std::string_view text_;
    std::size_t pos_ = 0;
};

// "<name>,<rest>": the rest when the line starts with that name.
bool Field(std::string_view line, std::string_view name, std::string_view& rest) {
    if (!line.starts_with(name) || line.size() <= name.size() || line[name.size()] != ',')
        return false;
    rest = line.substr(name.size() + 1);
    return true;
}

} // namespace

std::string Karvell::LastDataText() const {
    std::string out;
    out.reserve(8192);
    out += kHeader;
    out += '\n';
    out += fmt::format("LastTime,{}\nValid,{}\n", NumberText(csv_last_time_),
                       valid_ ? "True" : "False");
    for (int i = 0; i < kRecordSize; ++i) {
        out += fmt::format("{},{}", i, NumberText(record_[static_cast<std::size_t>(i)]));
        if (i < kCSVColumns) {
            out += ',';
            out += texts_[static_cast<std::size_t>(i)];
        }
        out += '\n';
    }
    return out;
}

bool Karvell::SaveLastData(std::string* error) const {
    return WriteFileAtomic(last_data_path_, LastDataText(), error);
}

bool Karvell::ReadLastDataText(std::string_view text) {
    Lines lines(text);
    std::string_view line, rest;
    double last_time = 0;
    if (!lines.Next(line) || line != kHeader) return false;
    if (!lines.Next(line) || !Field(line, "LastTime", rest) || !ParseNumber(rest, '.', last_time))
        return false;
    if (!lines.Next(line) || !Field(line, "Valid", rest) || (rest != "True" && rest != "False"))
        return false;
    const bool valid = rest == "True";

    WeatherRecord record;
    std::array<std::string, kCSVColumns> texts;
    for (int i = 0; i < kRecordSize; ++i) {
        if (!lines.Next(line) || !Field(line, fmt::format("{}", i), rest)) return false;
        const std::size_t comma = rest.find(',');
        if ((i < kCSVColumns) != (comma != std::string_view::npos)) return false;
        if (!ParseNumber(rest.substr(0, comma), '.', record[static_cast<std::size_t>(i)]))
            return false;
        if (i < kCSVColumns) texts[static_cast<std::size_t>(i)] = rest.substr(comma + 1);
    }
    if (lines.Next(line) && !TrimWhitespace(line).empty()) return false;

    record_ = record;
    texts_ = std::move(texts);
    valid_ = valid;
    // The portfolio may know a later time already; going back would accept old lines again.
    if (last_time > csv_last_time_) csv_last_time_ = last_time;
    return true;
}

bool Karvell::LoadLastData(std::string* error) {
    std::string text;
    switch (ReadWholeFile(last_data_path_, text, kMaxLastDataBytes, error)) {
    case ReadStatus::Missing:
        if (error) *error = fmt::format("'{}' does not exist", last_data_path_);
        return false;
    case ReadStatus::Unreadable:
    case ReadStatus::TooLarge:
        return false;
    case ReadStatus::Ok:
        break;
    }
    if (ReadLastDataText(text)) return true;
    if (error) *error = fmt::format("'{}' is not a weather record we wrote", last_data_path_);
    return false;
}

} // namespace tess
