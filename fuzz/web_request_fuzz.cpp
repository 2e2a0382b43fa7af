// A visitor's bytes, arriving in pieces of any size, through everything a connection does
// with them short of the socket: reading requests out of the buffer, choosing the answer,
// opening files. Nothing may crash, the buffer may never outgrow its limit, every answer must
// start with one of the two status lines, and no file from outside the web folder may ever
// be opened, whatever the path.

#include "base/text.h"
#include "imaging/dib.h"
#include "publish/canvas_web_server.h"
#include "publish/web_reply.h"
#include "publish/web_request.h"
#include "time/sun_times.h"

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <unistd.h>

namespace {

constexpr std::string_view kSecret = "outside-the-web-folder";

class NoSun : public tess::SunTimes {
public:
    double Sunrise() override { return 0.25; }
    double Sunset() override { return 0.75; }
};

void Write(const std::filesystem::path& path, std::string_view text) {
    std::ofstream(path, std::ios::binary) << text;
}

// A web folder with pages, a subfolder, and links that lead out of it; next to it a file no
// visitor may read.
struct Site {
    Site() {
        char pattern[] = "/tmp/tess-web-fuzz-XXXXXX";
        root = ::mkdtemp(pattern);
        web = root / "web";
        std::filesystem::create_directories(web / "sub");
        Write(web / "index.htm", "<html>index</html>");
        Write(web / "offair.jpg", "off air");
        Write(web / "sub" / "page.html", "<p>page</p>");
        Write(root / "secret.txt", kSecret);
        std::error_code ec;
        std::filesystem::create_symlink(root / "secret.txt", web / "link.txt", ec);
        std::filesystem::create_directory_symlink(root, web / "sub" / "up", ec);
        picture.SetWidthHeight(16, 8);
        picture.Clear(0x3366CC);
        canvas.SetEnabled(true);
        canvas.SetFileName("Canvas01.jpg");
        canvas.SetInterval(60); // one encoding for the whole run
        canvas.SetPictureSource([this]() -> const tess::DIB& { return picture; });
        find = [this](std::string_view name) -> tess::CanvasWebServer* {
            return tess::EqualsIgnoreCase(name, canvas.FileName()) ? &canvas : nullptr;
        };
    }
    ~Site() {
        std::error_code ec;
        std::filesystem::remove_all(root, ec);
    }

    std::filesystem::path root, web;
    NoSun sun;
    tess::DIB picture;
    tess::CanvasWebServer canvas{sun};
    tess::CanvasFinder find;
};

void CheckReply(tess::WebReply& reply) {
    std::string_view header = reply.header;
    if (header.empty() && reply.picture) { // a kept picture: one answer, header first
        auto bytes = reply.picture->Bytes();
        header = {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
    }
    if (header.rfind("HTTP/1.1 200 OK\r\n", 0) != 0 &&
        header.rfind("HTTP/1.0 404 Not Found\r\n", 0) != 0) {
        std::abort();
    }
    if (!reply.file.IsOpen()) return;
    char bytes[256];
    ssize_t n = ::pread(reply.file.Fd(), bytes, sizeof bytes, 0);
    std::string_view text(bytes, n > 0 ? static_cast<std::size_t>(n) : 0);
    if (text.find(kSecret) != std::string_view::npos) std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static Site site;
    if (size == 0) return 0;
    // The first byte sets how the bytes are cut into arrivals; the second whether files
    // besides canvases are allowed.
    std::size_t piece = 1 + data[0] % 64;
    bool allow_files = size > 1 && (data[1] & 1);
    std::string_view input(reinterpret_cast<const char*>(data) + 1, size - 1);

    std::string web_path = site.web.string();
    tess::WebReplyContext context;
    context.web_path = web_path;
    context.allow_non_canvas_serves = allow_files;
    context.now = 45000.5;
    context.date = "2023-03-15 12:00:00";
    context.find_canvas = &site.find;

    std::string buffer;
    while (!input.empty()) {
        std::size_t take = std::min(piece, input.size());
        buffer.append(input.substr(0, take));
        input.remove_prefix(take);
        for (;;) {
            tess::WebRequestParse parse = tess::ParseWebRequest(buffer);
            if (parse.result == tess::WebParse::BadRequest ||
                parse.result == tess::WebParse::TooLarge) {
                return 0; // the connection would close here
            }
            if (parse.result != tess::WebParse::Get) break;
            if (parse.length == 0 || parse.length > buffer.size()) std::abort();
            buffer.erase(0, parse.length);
            tess::WebReply reply = tess::AnswerWebRequest(context, parse.path);
            CheckReply(reply);
        }
        if (buffer.size() >= tess::kMaxWebRequestHeader + 64) std::abort();
    }
    return 0;
}
