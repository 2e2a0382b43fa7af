#include "app/application.h"
#include "app/main_procedure.h"
#include "app/quit.h"
#include "app/scripted_ui.h"
#include "document/portfolio.h"
#include "support/recording_script.h"
#include "support/temp_dir.h"

#include <vector>

#include <asio/io_context.hpp>
#include <asio/steady_timer.hpp>
#include <gtest/gtest.h>

namespace tess {
namespace {

// Runs the loop for a while, asking to quit half way.
void RunAndQuitAfter(Application& app, std::chrono::milliseconds when, bool& result) {
    asio::steady_timer quit(app.Loop());
    quit.expires_after(when);
    quit.async_wait([&](const std::error_code&) { result = RequestQuit(app); });
    asio::steady_timer end(app.Loop());
    end.expires_after(when * 3);
    end.async_wait([&](const std::error_code&) { app.Loop().stop(); });
    app.Loop().run();
    app.Loop().restart();
}

TEST(Quit, CancelKeepsTheProgramAndItsTimerRunning) {
    test::TempDir dir;
    ScriptedUI ui;
    Application app(ui, dir.Path());
    ASSERT_EQ(Main(app), 0);
    auto portfolio = std::make_unique<Portfolio>(app.StationSun());
    // The script hears of the shutdown before anything is asked.
    std::vector<std::size_t> asked_before_event;
    test::RecordingScript script;
    script.on_event = [&](ScriptEvent event) {
        if (event == ScriptEvent::Shutdown) asked_before_event.push_back(ui.Record().size());
    };
    test::AllowEveryScriptEvent(portfolio->Script());
    portfolio->Events().SetHandler(&script);
    portfolio->SetNeedSaving(true);
    app.SetCurrentPortfolio(std::move(portfolio));
    const std::size_t asked_at_start = ui.Record().size();
    ui.QueueAnswer(Answer::Cancel);
    bool quit = true;
    // An idle portfolio ticks four times a second.
    RunAndQuitAfter(app, std::chrono::milliseconds(300), quit);
    EXPECT_FALSE(quit);
    EXPECT_TRUE(app.Running());
    ASSERT_FALSE(ui.Record().empty());
    EXPECT_EQ(ui.Record().back().text, "Would you like to save all files?");
    EXPECT_EQ(ui.Record().back().caption, "Save Files?");
    std::uint64_t ticks = app.TickCount();
    EXPECT_GE(ticks, 3u);
    EXPECT_EQ(asked_before_event, std::vector<std::size_t>{asked_at_start});

    // No: shutdown without saving; the timer stops and the portfolio is released.
    ui.QueueAnswer(Answer::No);
    RunAndQuitAfter(app, std::chrono::milliseconds(300), quit);
    EXPECT_TRUE(quit);
    EXPECT_FALSE(app.Running());
    EXPECT_EQ(app.CurrentPortfolio(), nullptr);
    EXPECT_GT(app.TickCount(), ticks);
    std::uint64_t after = app.TickCount();
    app.Loop().run_for(std::chrono::milliseconds(300));
    EXPECT_EQ(app.TickCount(), after);
    EXPECT_EQ(ui.StatusHistory().front(), "Shutting Down...");
}

TEST(Quit, NothingToSaveAsksNothingAndAQuitDuringStartUpWaitsForIt) {
    test::TempDir dir;
    ScriptedUI ui;
    Application app(ui, dir.Path());
    app.SetStarting(true);
    EXPECT_TRUE(RequestQuit(app));
    EXPECT_TRUE(app.ShutdownRequested());
    app.SetStarting(false);

    ASSERT_EQ(Main(app), 0); // Main clears the request at its start
    app.SetCurrentPortfolio(std::make_unique<Portfolio>(app.StationSun()));
    EXPECT_TRUE(RequestQuit(app));
    for (const auto& shown : ui.Record())
        EXPECT_NE(shown.kind, "question");
    EXPECT_FALSE(app.Running());
}

} // namespace
} // namespace tess
