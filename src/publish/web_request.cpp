#include "publish/web_request.h"

#include "base/text.h"

namespace tess {

namespace {

constexpr std::string_view kEmptyLine = "\r\n\r\n";

bool HasKeepAlive(std::string_view header) {
    return ToLowerAscii(header).find("connection: keep-alive") != std::string::npos;
}

// "GET /Canvas01.jpg?t=5 HTTP/1.1" -> "Canvas01.jpg?t=5". The last "HTTP" is taken so that
// a path holding those letters is kept whole.
bool ExtractPath(std::string_view line, std::string& path) {
    std::size_t blank = line.find(' ');
    if (blank == std::string_view::npos) return false;
    std::size_t version = line.rfind("HTTP");
    if (version == std::string_view::npos || version <= blank) return false;
    std::size_t begin = blank + 1;
    std::size_t end = version - 1; // the blank before the version is not part of the path
    path.assign(end > begin ? line.substr(begin, end - begin) : std::string_view());
    if (!path.empty() && path.front() == '/') path.erase(0, 1);
    return true;
}

} // namespace

WebRequestParse ParseWebRequest(std::string_view buffer) {
    WebRequestParse parse;
    std::size_t end = buffer.find(kEmptyLine);
    bool complete = end != std::string_view::npos &&
                    end + kEmptyLine.size() <= kMaxWebRequestHeader &&
                    buffer.find("GET") != std::string_view::npos;
    if (!complete) {
        parse.result =
            buffer.size() >= kMaxWebRequestHeader ? WebParse::TooLarge : WebParse::Incomplete;
        return parse;
    }
    std::string_view header = buffer.substr(0, end);
    std::string_view line = header.substr(0, header.find("\r\n"));
    if (line.size() < 3 || ToUpperAscii(line.substr(0, 3)) != "GET") {
        parse.result =
            buffer.size() >= kMaxWebRequestHeader ? WebParse::TooLarge : WebParse::NotAnswered;
        return parse;
    }
    if (!ExtractPath(line, parse.path)) {
        parse.result = WebParse::BadRequest;
        return parse;
    }
    parse.result = WebParse::Get;
    parse.length = end + kEmptyLine.size();
    parse.keep_alive = HasKeepAlive(header);
    return parse;
}

} // namespace tess
