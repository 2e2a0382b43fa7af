#include "publish/web_response.h"

#include "base/text.h"
#include "settings/vb_date.h"

#include <cmath>
#include <utility>

#include <fmt/format.h>

namespace tess {

namespace {

constexpr double kSecondsPerDay = 86400;

// "qt" is video/quicktime while "mov" is movie/quicktime: players have always been sent
// exactly these, so they stay.
constexpr std::pair<std::string_view, std::string_view> kContentTypes[] = {
    {"htm", "text/html"},
    {"html", "text/html"},
    {"txt", "text/plain"},
    {"jpg", "image/jpeg"},
    {"jpeg", "image/jpeg"},
    {"jpe", "image/jpeg"},
    {"gif", "image/gif"},
    {"png", "image/png"},
    {"bmp", "image/bmp"},
    {"pdf", "application/pdf"},
    {"avi", "video/x-msvideo"},
    {"mid", "audio/midi"},
    {"midi", "audio/midi"},
    {"doc", "application/msword"},
    {"exe", "application/octet-stream"},
    {"mov", "movie/quicktime"},
    {"mp2", "audio/mpeg"},
    {"mp3", "audio/mpeg"},
    {"mpga", "audio/mpeg"},
    {"mpe", "movie/mpeg"},
    {"mpeg", "movie/mpeg"},
    {"mpg", "movie/mpeg"},
    {"ppt", "application/mspowerpoint"},
    {"qt", "video/quicktime"},
    {"ps", "application/postscript"},
    {"ra", "audio/x-realaudio"},
    {"rm", "audio/x-pn-realaudio"},
    {"rpm", "audio/x-pn-realaudio-plugin"},
    {"rtf", "text/rtf"},
    {"rtx", "text/richtext"},
    {"tif", "image/tiff"},
    {"tiff", "image/tiff"},
    {"wav", "audio/x-wav"},
    {"xls", "application/vnd.ms-excel"},
    {"xml", "text/xml"},
    {"zip", "application/zip"},
};

// Both spellings of the cache-control line go out, as they always have.
constexpr std::string_view kNoCacheLines = "Pragma: no-cache\r\n"
                                           "cache-control: no-cache, must-revalidate\r\n"
                                           "Cache-control: no-cache, must-revalidate\r\n"
                                           "Expires: Mon, 26 Jul 1997 05:00:00 GMT\r\n";

void AppendStatusServerDate(std::string& out, std::string_view status, std::string_view date) {
    out += status;
    out += "\r\nServer: Tessarolle Web Server\r\nDate: ";
    out += date;
    out += "\r\n";
}

} // namespace

std::string WebDateText(double date) {
    DateFields f = SplitDate(date);
    return fmt::format("{:04}-{:02}-{:02} {:02}:{:02}:{:02}", f.year, f.month, f.day, f.hour,
                       f.minute, f.second);
}

const std::string& WebDateCache::Text(double now) {
    double second = std::floor(now * kSecondsPerDay);
    if (second != second_) {
        second_ = second;
        text_ = WebDateText(second / kSecondsPerDay); // the whole second, however late in it
    }
    return text_;
}

std::string_view ContentTypeFor(std::string_view file_name) {
    std::size_t slash = file_name.find_last_of("/\\");
    if (slash != std::string_view::npos) file_name.remove_prefix(slash + 1);
    std::size_t dot = file_name.rfind('.');
    if (dot == std::string_view::npos) return "text/plain";
    std::string extension = ToLowerAscii(file_name.substr(dot + 1));
    for (const auto& [ext, type] : kContentTypes) {
        if (ext == extension) return type;
    }
    return "text/plain";
}

std::string FileResponseHeader(std::string_view date, std::string_view content_type,
                               std::uint64_t length) {
    std::string out;
    out.reserve(320);
    AppendStatusServerDate(out, "HTTP/1.1 200 OK", date);
    out += "Content-Type: ";
    out += content_type;
    out += "\r\n";
    out += kNoCacheLines;
    out += fmt::format("Content-Length: {}\r\n\r\n", length);
    return out;
}

std::string JpegResponseHeader(std::string_view date, std::string_view last_modified,
                               std::uint64_t length) {
    std::string out;
    out.reserve(352);
    AppendStatusServerDate(out, "HTTP/1.1 200 OK", date);
    out += "Content-Type: image/jpeg\r\n";
    out += kNoCacheLines;
    out += "Last-Modified: ";
    out += last_modified;
    out += fmt::format("\r\nContent-Length: {}\r\n\r\n", length);
    return out;
}

std::string StreamResponseHeader(std::string_view date, std::string_view boundary) {
    std::string out;
    out.reserve(352);
    AppendStatusServerDate(out, "HTTP/1.1 200 OK", date);
    out += "Content-Type: multipart/x-mixed-replace; boundary=";
    out += boundary;
    out += "\r\n";
    out += kNoCacheLines;
    out += "Connection: close\r\n\r\n";
    return out;
}

std::string NotFoundResponse(std::string_view date) {
    std::string out;
    out.reserve(128);
    AppendStatusServerDate(out, "HTTP/1.0 404 Not Found", date);
    out += "Content-Type: text/html\r\nContent-Length: 0\r\n\r\n";
    return out;
}

} // namespace tess
