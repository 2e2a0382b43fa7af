#pragma once

// Reading one HTTP request out of what a connection has received so far. Visitors' bytes are
// untrusted: nothing here throws, and a request header is never allowed past its limit.

#include <cstddef>
#include <string>
#include <string_view>

namespace tess {

enum class WebParse {
    Incomplete,  // no complete GET request yet: wait for more
    NotAnswered, // a complete request whose method is not GET: it is never answered
    BadRequest,  // a GET whose request line has no path: the connection is closed
    TooLarge,    // more than kMaxWebRequestHeader bytes without an answerable request
    Get,         // a request to answer
};

// A request header larger than this closes the connection, as does a buffer this full
// that still holds nothing to answer.
inline constexpr std::size_t kMaxWebRequestHeader = 16 * 1024;

struct WebRequestParse {
    WebParse result = WebParse::Incomplete;
    std::size_t length = 0; // bytes of the header block and its empty line (Get only)
    std::string path;       // without its leading "/"; the query is still on it
    bool keep_alive = false;
};

// A request counts once the buffer holds an empty line and the text "GET". Its request line
// is the header's first line; only a method whose first three letters read GET in capitals
// is answered. The path runs from after the first blank to the blank before the last
// "HTTP" of the line. Keep-alive is asked for by "connection: keep-alive" in any case.
WebRequestParse ParseWebRequest(std::string_view buffer);

} // namespace tess
