// What one request costs the web server besides the socket calls: reading the request,
// choosing the answer and making its header, for the kept canvas picture and for a file;
// and what a canvas served with Interval 0 costs per request (one 1280 x 720 encoding).

#include "base/text.h"
#include "publish/canvas_web_server.h"
#include "publish/web_reply.h"
#include "publish/web_request.h"
#include "time/sun_times.h"
#include "web_frame.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <unistd.h>

#include <benchmark/benchmark.h>

namespace {

using namespace tess;

class FixedSun : public SunTimes {
public:
    double Sunrise() override { return 0.25; }
    double Sunset() override { return 0.75; }
};

// What a browser sends for a picture on a page.
constexpr std::string_view kBrowserRequest =
    "GET /Canvas01.jpg?1700000000000 HTTP/1.1\r\nHost: 192.168.1.20:18080\r\n"
    "Connection: keep-alive\r\nUser-Agent: Mozilla/5.0 (X11; Linux x86_64) AppleWebKit/537.36 "
    "(KHTML, like Gecko) Chrome/120.0.0.0 Safari/537.36\r\nAccept: image/avif,image/webp,"
    "image/apng,image/svg+xml,image/*,*/*;q=0.8\r\nReferer: http://192.168.1.20:18080/\r\n"
    "Accept-Encoding: gzip, deflate\r\nAccept-Language: en-GB,en;q=0.9\r\n\r\n";

struct Site {
    Site() {
        char pattern[] = "/tmp/tess-web-bench-XXXXXX";
        folder = ::mkdtemp(pattern);
        std::ofstream(folder + "/index.htm") << "<html><img src=\"Canvas01.jpg\"></html>";
        bench::FillCameraFrame(frame);
        canvas.SetEnabled(true);
        canvas.SetFileName("Canvas01.jpg");
        canvas.SetPictureSource([this]() -> const DIB& { return frame; });
        find = [this](std::string_view name) {
            return EqualsIgnoreCase(name, canvas.FileName()) ? &canvas : nullptr;
        };
        context.web_path = folder;
        context.allow_non_canvas_serves = true;
        context.now = 45000.5;
        context.date = "2023-03-15 12:00:00";
        context.find_canvas = &find;
    }
    ~Site() { std::filesystem::remove_all(folder); }

    std::string folder;
    FixedSun sun;
    DIB frame;
    CanvasWebServer canvas{sun};
    CanvasFinder find;
    WebReplyContext context;
};

void Answer(benchmark::State& state, std::string_view request, double interval) {
    Site site;
    site.canvas.SetInterval(interval);
    std::size_t sent = 0;
    for (auto _ : state) {
        WebRequestParse parse = ParseWebRequest(request);
        WebReply reply = AnswerWebRequest(site.context, parse.path);
        sent = reply.header.size() + (reply.picture ? reply.picture->size() : reply.file.Size());
        benchmark::DoNotOptimize(reply.header.data());
    }
    state.counters["sent_bytes"] = static_cast<double>(sent);
}

void BM_KeptCanvasPictureRequest(benchmark::State& state) {
    Answer(state, kBrowserRequest, 60);
}
BENCHMARK(BM_KeptCanvasPictureRequest);

void BM_FileRequest(benchmark::State& state) {
    Answer(state, "GET /index.htm HTTP/1.1\r\nHost: cam\r\nConnection: keep-alive\r\n\r\n", 60);
}
BENCHMARK(BM_FileRequest);

void BM_CanvasPictureRequestIntervalZero(benchmark::State& state) {
    Answer(state, kBrowserRequest, 0);
}
BENCHMARK(BM_CanvasPictureRequestIntervalZero)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
