#pragma once

// The header lines the web server answers with, byte for byte as browsers and embedding
// pages have always received them.

#include <cstdint>
#include <string>
#include <string_view>

namespace tess {

// Date and Last-Modified carry the local time as "YYYY-MM-DD HH:MM:SS": pages have always
// shown these values to people rather than to caches (every answer forbids caching).
std::string WebDateText(double date);

// The Date text of the current second, made once per second however many requests come.
class WebDateCache {
public:
    const std::string& Text(double now);

private:
    double second_ = -1;
    std::string text_;
};

// The type sent for a file, looked up from the extension of its name in lower case;
// "text/plain" for anything not listed.
std::string_view ContentTypeFor(std::string_view file_name);

// "HTTP/1.1 200 OK" and the rest, up to and including the empty line.
std::string FileResponseHeader(std::string_view date, std::string_view content_type,
                               std::uint64_t length);
// The same for a canvas picture: image/jpeg, with Last-Modified before the length.
std::string JpegResponseHeader(std::string_view date, std::string_view last_modified,
                               std::uint64_t length);
// The header that opens a live stream, before its first part: multipart/x-mixed-replace
// with `boundary`, no length, and the connection closed at its end.
std::string StreamResponseHeader(std::string_view date, std::string_view boundary);
// "HTTP/1.0 404 Not Found" with an empty body.
std::string NotFoundResponse(std::string_view date);

} // namespace tess
