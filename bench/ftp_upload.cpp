// Uploads one picture file many times in a row with the FTP engine, as a canvas's push does,
// on one event loop that also runs a 5 ms probe timer, and prints the time per upload and how
// late the probe's ticks ran, then how late they run on the idle loop for as long (see
// bench/ftp_vs_curl.sh, which runs it against curl -T).
//
//   ftp_upload --server URL --user NAME --password WORD --file PICTURE [--count N]
//              [--mode 0|1|2] [--name REMOTE_NAME]
//
// Each upload is a whole session (log-in, the mode's commands, QUIT), as the program makes
// one per refresh. A failed upload ends the run with exit status 1.

#include "publish/inet_ftp.h"
#include "support/lateness_probe.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>

#include <asio/io_context.hpp>

namespace {

using namespace std::chrono_literals;

struct Options {
    std::string server, user, password, file, name = "cam.jpg";
    int count = 200;
    int mode = 0;
};

bool Parse(int argc, char** argv, Options& options) {
    for (int i = 1; i + 1 < argc; i += 2) {
        const std::string key = argv[i];
        const char* value = argv[i + 1];
        if (key == "--server")
            options.server = value;
        else if (key == "--user")
            options.user = value;
        else if (key == "--password")
            options.password = value;
        else if (key == "--file")
            options.file = value;
        else if (key == "--name")
            options.name = value;
        else if (key == "--count")
            options.count = std::atoi(value);
        else if (key == "--mode")
            options.mode = std::atoi(value);
        else
            return false;
    }
    return argc % 2 == 1 && !options.server.empty() && !options.file.empty() && options.count > 0;
}

// Runs one upload to its end on the loop; false when it failed.
bool Upload(asio::io_context& loop, tess::InetFTP& ftp, const std::string& picture,
            const Options& options) {
    std::string last;
    ftp.SetStatusObserver([&last](const std::string& text) { last = text; });
    if (!ftp.SendDataFile(picture, "", options.name, 0)) return false;
    while (ftp.Active() || ftp.State() >= tess::InetFTP::kBusyState) {
        if (loop.stopped()) loop.restart();
        loop.run_one_for(50ms);
    }
    if (last != "Complete") std::fprintf(stderr, "upload failed: %s\n", last.c_str());
    return last == "Complete";
}

} // namespace

int main(int argc, char** argv) {
    Options options;
    if (!Parse(argc, argv, options)) {
        std::fprintf(stderr, "usage: ftp_upload --server URL --user NAME --password WORD "
                             "--file PICTURE [--count N] [--mode 0|1|2] [--name REMOTE_NAME]\n");
        return 2;
    }
    std::ifstream in(options.file, std::ios::binary);
    std::ostringstream bytes;
    bytes << in.rdbuf();
    const std::string picture = bytes.str();
    if (!in || picture.empty()) {
        std::fprintf(stderr, "%s: cannot read the picture\n", options.file.c_str());
        return 2;
    }

    asio::io_context loop;
    tess::InetFTP ftp(loop);
    ftp.SetFTPServer(options.server);
    ftp.SetUserName(options.user);
    ftp.SetPassword(options.password);
    ftp.SetFTPMode(options.mode);
    // The first upload loads libcurl; it is not timed, as the program does it once.
    if (!Upload(loop, ftp, picture, options)) return 1;

    tess::test::LatenessProbe probe(loop, 5ms);
    const auto start = std::chrono::steady_clock::now();
    probe.Start();
    for (int i = 0; i < options.count; ++i)
        if (!Upload(loop, ftp, picture, options)) return 1;
    const double seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    // Ticks held back by the last upload run now, late.
    loop.restart();
    loop.run_for(20ms);
    probe.Stop();
    std::printf("ours: %d uploads of %zu bytes in %.3f s, %.3f ms per upload; probe timer "
                "(5 ms) late median %.3f ms, p99 %.3f ms, max %.3f ms over %zu ticks\n",
                options.count, picture.size(), seconds, seconds * 1000 / options.count,
                probe.PercentileMs(0.5), probe.PercentileMs(0.99), probe.MaxMs(), probe.Ticks());
    // The same probe on the idle loop for as long: what the machine's load alone costs.
    tess::test::LatenessProbe idle(loop, 5ms);
    idle.Start();
    loop.restart();
    loop.run_for(std::chrono::duration_cast<std::chrono::milliseconds>(
        std::chrono::duration<double>(seconds)));
    idle.Stop();
    std::printf("idle loop for as long: probe timer late median %.3f ms, p99 %.3f ms, max %.3f "
                "ms over %zu ticks\n",
                idle.PercentileMs(0.5), idle.PercentileMs(0.99), idle.MaxMs(), idle.Ticks());
    return 0;
}
