// The program as a command and a service: its exit statuses, -C, the log's levels and the
// journal's format, a missing canvas file, and --require-web.

#include "imaging/dib.h"
#include "imaging/jpeg.h"
#include "support/free_port.h"
#include "support/run_process.h"
#include "support/temp_dir.h"
#include "support/web_client.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>

#include <asio/ip/tcp.hpp>
#include <gtest/gtest.h>

namespace tess {
namespace {

using test::ReadFileBytes;
using test::RunProcess;

bool Has(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

using namespace std::chrono_literals;

using test::FreePort;

// The inode of the socket listening on `port`, from the kernel's table; 0 when none.
unsigned long ListenerInode(std::uint16_t port) {
    std::ifstream table("/proc/net/tcp");
    std::string line;
    char wanted[16];
    std::snprintf(wanted, sizeof wanted, ":%04X", port);
    std::getline(table, line); // the heading
    while (std::getline(table, line)) {
        std::istringstream fields(line);
        std::string slot, local, remote, state, queues, timer, retransmits, uid, timeout;
        unsigned long inode = 0;
        fields >> slot >> local >> remote >> state >> queues >> timer >> retransmits >> uid >>
            timeout >> inode;
        if (state == "0A" && local.ends_with(wanted)) return inode;
    }
    return 0;
}

// The width of the picture served as `name`, 0 while none is served.
int ServedWidth(std::uint16_t port, const std::string& name) {
    const std::string body = test::BodyOf(test::Exchange(port, test::GetRequest(name)));
    DIB dib;
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(body.data());
    if (body.empty() || !DecodeJpegIntoDIB({bytes, body.size()}, dib)) return 0;
    return dib.Width();
}

template <typename Condition>
bool WaitFor(Condition condition, std::chrono::milliseconds limit = 15000ms) {
    const auto end = std::chrono::steady_clock::now() + limit;
    while (std::chrono::steady_clock::now() < end) {
        if (condition()) return true;
        std::this_thread::sleep_for(50ms);
    }
    return false;
}

// A site folder: Tessarolle.INI, a portfolio with one canvas that serves itself on `port`
// (web server off when `port` is 0).
void WriteSite(const std::string& folder, int port) {
    std::filesystem::create_directories(folder);
    test::WriteFileBytes(folder + "/site.por",
                         "[Canvas01]\r\nFileName=cam.can\r\n[WebServer]\r\nEnabled=" +
                             std::string(port ? "True" : "False") +
                             "\r\nPort=" + std::to_string(port) + "\r\n");
    test::WriteFileBytes(folder + "/cam.can", "[General]\r\nName=Cam\r\nWidth=64\r\nHeight=48\r\n"
                                              "[WebServer]\r\nEnabled=True\r\n"
                                              "FileName=Canvas01.jpg\r\n");
}

TEST(ExitStatus, UsageErrorsAreTwoAndHelpIsZero) {
    test::TempDir dir;
    const std::vector<std::vector<std::string>> usage = {
        {"--for", "-1"},                                        // a value the option refuses
        {"--no-such-option"},                                   // an unknown option
        {"run"},                                                // a required argument left out
        {"sun", "extra", "words"},                              // arguments nobody takes
        {"--log-level", "loud"},                                // not a level
        {"-C", dir.File("missing"), "sun"},                     // a folder that is not there
        {"run", dir.File("missing.por")},                       // a portfolio that is not there
        {"render", dir.File("x.can"), "-o", dir.File("x.jpg")}, // a canvas that is not there
    };
    for (std::vector<std::string> args : usage) {
        args.insert(args.begin(), TESS_BINARY);
        auto result = RunProcess(args, dir.Path());
        EXPECT_EQ(result.exit_code, 2) << args[1] << ": " << result.err;
    }
    EXPECT_TRUE(Has(RunProcess({TESS_BINARY, "-C", dir.File("missing"), "sun"}, dir.Path()).err,
                    "cannot change to the folder '" + dir.File("missing") + "'"));
    auto help = RunProcess({TESS_BINARY, "--help"}, dir.Path());
    EXPECT_EQ(help.exit_code, 0);
    EXPECT_TRUE(Has(help.out, "--require-web") && Has(help.out, "--log-level")) << help.out;
    EXPECT_EQ(RunProcess({TESS_BINARY, "--version"}, dir.Path()).exit_code, 0);
    EXPECT_FALSE(std::filesystem::exists(dir.File("Tessarolle.INI")));
}

TEST(ChangeFolder, RunsTheSiteFromAnotherFolderAndWritesNothingWhereItWasStarted) {
    test::TempDir dir;
    WriteSite(dir.File("site"), 0);
    std::filesystem::create_directories(dir.File("elsewhere"));
    auto result =
        RunProcess({TESS_BINARY, "-C", dir.File("site"), "run", "site.por", "--for", "0.3"},
                   dir.File("elsewhere"));
    EXPECT_EQ(result.exit_code, 0) << result.err;
    EXPECT_TRUE(Has(ReadFileBytes(dir.File("site/Tessarolle.INI")), "LastPortfolio=site.por"));
    EXPECT_TRUE(Has(ReadFileBytes(dir.File("site/Tessarolle.log")), "Tessarolle stopped"));
    EXPECT_FALSE(Has(result.err, "error:")) << result.err;
    EXPECT_TRUE(std::filesystem::is_empty(dir.File("elsewhere")));

    // After the subcommand too, as the options of make and tar may be placed.
    result = RunProcess({TESS_BINARY, "run", "site.por", "--for", "0.2", "-C", dir.File("site")},
                        dir.File("elsewhere"));
    EXPECT_EQ(result.exit_code, 0) << result.err;
    EXPECT_TRUE(std::filesystem::is_empty(dir.File("elsewhere")));
}

TEST(ChangeFolder, AMissingCanvasFileIsAnErrorNamingBothFilesAndIsNotMade) {
    test::TempDir dir;
    WriteSite(dir.File("site"), 0);
    std::filesystem::create_directories(dir.File("elsewhere"));
    // Without -C the canvas file is looked for where the program runs.
    auto result = RunProcess({TESS_BINARY, "run", dir.File("site/site.por"), "--for", "0.3"},
                             dir.File("elsewhere"));
    EXPECT_EQ(result.exit_code, 0) << result.err;
    EXPECT_TRUE(Has(result.err, "error: portfolio '" + dir.File("site/site.por") +
                                    "': the canvas file 'cam.can' of slot 1 does not exist"))
        << result.err;
    EXPECT_FALSE(std::filesystem::exists(dir.File("elsewhere/cam.can")));
    EXPECT_EQ(ReadFileBytes(dir.File("site/cam.can")).find("Background"), std::string::npos);
}

TEST(Logging, LevelsAndTheJournalFormat) {
    test::TempDir dir;
    auto quiet = RunProcess({TESS_BINARY, "--log-level", "warning", "--for", "0.2"}, dir.Path());
    EXPECT_EQ(quiet.exit_code, 0) << quiet.err;
    EXPECT_FALSE(Has(quiet.err, "started")) << quiet.err;
    EXPECT_FALSE(Has(ReadFileBytes(dir.File("Tessarolle.log")), "started"));

    // systemd names the journal's stream by device and inode; only a stderr that is that
    // stream gets the journal's format.
    const std::string run = std::string("exec '") + TESS_BINARY + "' --for 0.2";
    auto journal = RunProcess(
        {"/bin/sh", "-c", "JOURNAL_STREAM=$(stat -L -c %d:%i /proc/self/fd/2) " + run}, dir.Path());
    EXPECT_EQ(journal.exit_code, 0) << journal.err;
    EXPECT_TRUE(Has(journal.err, "<6>Tessarolle started in '.'\n")) << journal.err;
    EXPECT_FALSE(Has(journal.err, " info: ")) << journal.err;
    // The file keeps its time stamps.
    EXPECT_TRUE(Has(ReadFileBytes(dir.File("Tessarolle.log")), " info: Tessarolle started"));

    auto other = RunProcess({"/bin/sh", "-c", "JOURNAL_STREAM=1:2 " + run}, dir.Path());
    EXPECT_TRUE(Has(other.err, " info: Tessarolle started")) << other.err;
}

TEST(RequireWeb, APortInUseOrAServerSwitchedOffEndsWithStatusFour) {
    test::TempDir dir;
    asio::io_context loop;
    asio::ip::tcp::acceptor taken(loop, {asio::ip::address_v4::any(), 0});
    const int port = taken.local_endpoint().port();
    WriteSite(dir.File("busy"), port);

    // Without the option the program goes on without its web server, saying so as an error.
    auto lenient = RunProcess({TESS_BINARY, "run", "site.por", "--for", "0.3"}, dir.File("busy"));
    EXPECT_EQ(lenient.exit_code, 0) << lenient.err;
    EXPECT_TRUE(
        Has(lenient.err, "error: web server: cannot listen on port " + std::to_string(port)))
        << lenient.err;
    EXPECT_TRUE(Has(lenient.err, "error: Web Start Error: ")) << lenient.err;

    auto strict = RunProcess({TESS_BINARY, "run", "site.por", "--for", "5", "--require-web"},
                             dir.File("busy"));
    EXPECT_EQ(strict.exit_code, 4) << strict.err;
    EXPECT_TRUE(Has(strict.err, "--require-web: the web server cannot listen")) << strict.err;
    EXPECT_TRUE(Has(ReadFileBytes(dir.File("busy/Tessarolle.log")), "Tessarolle stopped"));

    WriteSite(dir.File("off"), 0);
    auto off = RunProcess({TESS_BINARY, "--require-web", "run", "site.por", "--for", "5"},
                          dir.File("off"));
    EXPECT_EQ(off.exit_code, 4) << off.err;
    EXPECT_TRUE(Has(off.err, "is switched off")) << off.err;
}

TEST(Reload, SighupReadsTheFilesAgainAndKeepsTheWebSocket) {
    test::TempDir dir;
    const std::uint16_t port = FreePort();
    WriteSite(dir.Path(), port);
    test::Process running({TESS_BINARY, "run", "site.por", "--for", "60"}, dir.Path());
    ASSERT_TRUE(WaitFor([&] { return ServedWidth(port, "Canvas01.jpg") == 64; }));
    const unsigned long listener = ListenerInode(port);
    ASSERT_NE(listener, 0u);

    // The canvas grows, and a second one is added to the portfolio.
    test::WriteFileBytes(dir.File("cam.can"), "[General]\r\nName=Cam\r\nWidth=96\r\n"
                                              "Height=48\r\n[WebServer]\r\nEnabled=True\r\n"
                                              "FileName=Canvas01.jpg\r\n");
    test::WriteFileBytes(dir.File("two.can"), "[General]\r\nName=Two\r\nWidth=32\r\n"
                                              "Height=32\r\n[WebServer]\r\nEnabled=True\r\n"
                                              "FileName=two.jpg\r\n");
    test::WriteFileBytes(dir.File("site.por"),
                         "[Canvas01]\r\nFileName=cam.can\r\n[Canvas02]\r\nFileName=two.can\r\n"
                         "[WebServer]\r\nEnabled=True\r\nPort=" +
                             std::to_string(port) + "\r\n");
    running.Signal(SIGHUP);
    EXPECT_TRUE(WaitFor([&] { return ServedWidth(port, "Canvas01.jpg") == 96; }));
    EXPECT_TRUE(WaitFor([&] { return ServedWidth(port, "two.jpg") == 32; }));
    EXPECT_EQ(ListenerInode(port), listener); // the very socket that listened before
    EXPECT_TRUE(running.Running());

    // A new port is listened on afresh, and the old one is let go.
    const std::uint16_t moved = FreePort();
    test::WriteFileBytes(dir.File("site.por"), "[Canvas01]\r\nFileName=cam.can\r\n[WebServer]\r\n"
                                               "Enabled=True\r\nPort=" +
                                                   std::to_string(moved) + "\r\n");
    running.Signal(SIGHUP);
    EXPECT_TRUE(WaitFor([&] { return ServedWidth(moved, "Canvas01.jpg") == 96; }));
    EXPECT_EQ(ListenerInode(port), 0u);
    EXPECT_EQ(ServedWidth(moved, "two.jpg"), 0);

    running.Signal(SIGTERM);
    auto result = running.Wait(10);
    EXPECT_EQ(result.exit_code, 0) << result.err;
    const std::string log = ReadFileBytes(dir.File("Tessarolle.log"));
    EXPECT_TRUE(Has(log, "reload: canvas file 'cam.can' (slot 1) changed")) << log;
    EXPECT_TRUE(Has(log, "reload: slot 2 now holds 'two.can'")) << log;
    EXPECT_TRUE(Has(log, "port " + std::to_string(port) + " stays open")) << log;
    EXPECT_TRUE(Has(log, "reload: web server port " + std::to_string(port) + " -> " +
                             std::to_string(moved)))
        << log;
    EXPECT_TRUE(Has(log, "reload: slot 2 no longer holds 'two.can'")) << log;
}

// The colour in the middle of the picture served as `name` (0x00RRGGBB), -1 while none is.
long ServedMiddle(std::uint16_t port, const std::string& name) {
    const std::string body = test::BodyOf(test::Exchange(port, test::GetRequest(name)));
    DIB dib;
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(body.data());
    if (body.empty() || !DecodeJpegIntoDIB({bytes, body.size()}, dib)) return -1;
    const std::uint8_t* p = dib.scanline(dib.Height() / 2) + dib.Width() / 2 * 3;
    return long{p[2]} << 16 | long{p[1]} << 8 | p[0];
}

bool Near(long color, long wanted) {
    for (int shift = 0; shift <= 16; shift += 8)
        if (std::abs((color >> shift & 0xFF) - (wanted >> shift & 0xFF)) > 24) return false;
    return color >= 0;
}

// A camera changed in Tessarolle.INI is taken on SIGHUP: the feed opens on the new source
// and the canvas that shows it follows, without a restart.
TEST(Reload, SighupTakesTheCamerasOfTessarolleIniAgain) {
    test::TempDir dir;
    const std::uint16_t port = FreePort();
    auto cameras = [&](const std::string& color) {
        test::WriteFileBytes(dir.File("Tessarolle.INI"),
                             "[Cameras]\r\nCamera0=lavfi:color=c=" + color +
                                 ":size=64x48:rate=10\r\nCamera0Name=Yard\r\n");
    };
    cameras("red");
    test::WriteFileBytes(dir.File("site.por"),
                         "[Canvas01]\r\nFileName=cam.can\r\n[WebServer]\r\nEnabled=True\r\n"
                         "Port=" +
                             std::to_string(port) +
                             "\r\n[VideoFeeds]\r\nFeed0Name=Yard\r\nFeed0Enabled=True\r\n");
    test::WriteFileBytes(dir.File("cam.can"),
                         "[General]\r\nName=Cam\r\nWidth=64\r\nHeight=48\r\n"
                         "[WebServer]\r\nEnabled=True\r\nFileName=Canvas01.jpg\r\n"
                         "[Graphic001]\r\nEnabled=True\r\nSourceType=0\r\n"
                         "SourceVideoFeedName=Yard\r\n");
    test::Process running({TESS_BINARY, "run", "site.por", "--for", "60"}, dir.Path());
    ASSERT_TRUE(WaitFor([&] { return Near(ServedMiddle(port, "Canvas01.jpg"), 0xFF0000); }))
        << ServedMiddle(port, "Canvas01.jpg");

    cameras("blue");
    running.Signal(SIGHUP);
    EXPECT_TRUE(WaitFor([&] { return Near(ServedMiddle(port, "Canvas01.jpg"), 0x0000FF); }))
        << ServedMiddle(port, "Canvas01.jpg");

    running.Signal(SIGTERM);
    auto result = running.Wait(10);
    EXPECT_EQ(result.exit_code, 0) << result.err;
    const std::string log = ReadFileBytes(dir.File("Tessarolle.log"));
    EXPECT_TRUE(Has(log, "reload: camera 0: 'Yard' (lavfi:color=c=red:size=64x48:rate=10) -> "
                         "'Yard' (lavfi:color=c=blue:size=64x48:rate=10)"))
        << log;
}

TEST(Render, TheFormatFollowsTheExtensionAndAMissingFolderIsAnError) {
    test::TempDir dir;
    WriteSite(dir.Path(), 0);
    const std::pair<const char*, std::string> formats[] = {
        {"x.jpg", "\xFF\xD8\xFF"}, {"x.PNG", "\x89PNG\r\n"}, {"x.webp", "RIFF"}, {"x.bmp", "BM"}};
    for (const auto& [name, magic] : formats) {
        auto result = RunProcess({TESS_BINARY, "render", "cam.can", "-o", name}, dir.Path());
        EXPECT_EQ(result.exit_code, 0) << name << ": " << result.err;
        EXPECT_EQ(ReadFileBytes(dir.File(name)).substr(0, magic.size()), magic) << name;
    }
    EXPECT_EQ(ReadFileBytes(dir.File("x.webp")).substr(8, 4), "WEBP");

    auto gif = RunProcess({TESS_BINARY, "render", "cam.can", "-o", "x.gif"}, dir.Path());
    EXPECT_EQ(gif.exit_code, 2);
    EXPECT_TRUE(Has(gif.err, ".jpg, .jpeg, .png, .webp or .bmp")) << gif.err;
    auto folder = RunProcess({TESS_BINARY, "render", "cam.can", "-o", "out/x.jpg"}, dir.Path());
    EXPECT_EQ(folder.exit_code, 2);
    EXPECT_TRUE(Has(folder.err, "the folder 'out' does not exist")) << folder.err;
    EXPECT_FALSE(std::filesystem::exists(dir.File("out")));
    auto csv = RunProcess({TESS_BINARY, "render", "cam.can", "-o", "y.jpg", "--csv", "no.csv"},
                          dir.Path());
    EXPECT_EQ(csv.exit_code, 2);
    EXPECT_TRUE(Has(csv.err, "'no.csv'")) << csv.err;

    auto tenths = RunProcess(
        {TESS_BINARY, "tags", "<TIME10> <TIME100>", "--at", "2024-03-07 12:00:05.37"}, dir.Path());
    EXPECT_EQ(tenths.out, "12:00:05.3 12:00:05.37\n") << tenths.err;
}

TEST(Station, IsSetFromTheCommandLineAndItsDefaultIsWarnedAboutOnce) {
    test::TempDir dir;
    WriteSite(dir.Path(), 0);
    test::WriteFileBytes(dir.File("cam.can"), "[General]\r\nName=Cam\r\nWidth=64\r\nHeight=48\r\n"
                                              "[Text001]\r\nEnabled=True\r\nText=<SUNRISE>\r\n"
                                              "Rate=0.05\r\n");
    auto run = RunProcess({TESS_BINARY, "run", "site.por", "--for", "0.5"}, dir.Path());
    EXPECT_EQ(run.exit_code, 0) << run.err;
    const std::string log = ReadFileBytes(dir.File("Tessarolle.log"));
    const std::size_t first = log.find("warning: sun times are asked for with the station at");
    EXPECT_NE(first, std::string::npos) << log;
    EXPECT_EQ(log.find("sun times are asked for", first + 40), std::string::npos) << log;

    auto set = RunProcess({TESS_BINARY, "station", "--lat", "45.5", "--lon", "-73.25"}, dir.Path());
    EXPECT_EQ(set.exit_code, 0) << set.err;
    const std::string ini = ReadFileBytes(dir.File("Tessarolle.INI"));
    EXPECT_TRUE(Has(ini, "StationLatitude=45.5\r\n") && Has(ini, "StationLongitude=-73.25\r\n"))
        << ini;
    EXPECT_EQ(RunProcess({TESS_BINARY, "station"}, dir.Path()).out,
              "Station: latitude 45.5, longitude -73.25 (Tessarolle.INI)\n");
    EXPECT_EQ(RunProcess({TESS_BINARY, "station", "--lat", "45"}, dir.Path()).exit_code, 2);

    std::filesystem::remove(dir.File("Tessarolle.log"));
    run = RunProcess({TESS_BINARY, "run", "site.por", "--for", "0.5"}, dir.Path());
    EXPECT_EQ(run.exit_code, 0) << run.err;
    EXPECT_FALSE(Has(ReadFileBytes(dir.File("Tessarolle.log")), "sun times are asked for"));
}

} // namespace
} // namespace tess
