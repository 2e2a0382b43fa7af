#include "app/console_ui.h"
#include "app/headless_ui.h"
#include "app/scripted_ui.h"

#include <sstream>

#include <gtest/gtest.h>

namespace tess {
namespace {

TEST(Status, DotsCycleEveryHundredCalls) {
    EXPECT_EQ(NextStatusText("Loading..."), "Loading");
    EXPECT_EQ(NextStatusText("Loading"), "Loading.");
    EXPECT_EQ(NextStatusText("Loading.."), "Loading...");

    ScriptedUI ui;
    ui.ShowStatus("Saving...");
    int counter = 0;
    for (int i = 0; i < 99; ++i)
        ui.UpdateStatus(counter);
    EXPECT_EQ(ui.StatusText(), "Saving...");
    ui.UpdateStatus(counter);
    EXPECT_EQ(ui.StatusText(), "Saving");
    EXPECT_EQ(counter, 0);
    for (int i = 0; i < 300; ++i)
        ui.UpdateStatus(counter);
    EXPECT_EQ(ui.StatusText(), "Saving...");
    ui.HideStatus();
    EXPECT_FALSE(ui.StatusVisible());
    EXPECT_EQ(ui.StatusHistory().back(), "(hidden)");
}

TEST(ConsoleUI, AnswersAreTypedAtThePrompt) {
    std::istringstream in("maybe\nc\nyes\n\nfile\n");
    std::ostringstream out;
    ConsoleUI ui(in, out, false);
    EXPECT_EQ(ui.Ask("Save?", "Save Files?", Buttons::YesNoCancel), Answer::Cancel);
    EXPECT_EQ(ui.Ask("Remove?", "Remove Canvas", Buttons::YesNo), Answer::Yes);
    EXPECT_EQ(ui.InputBox("Enter a name for this canvas.", "Canvas Name", "Enter Something Unique"),
              "Enter Something Unique");
    FileDialog dialog{"Portfolio Open", ".por", "Portfolios (*.por)|*.por", "", ""};
    EXPECT_EQ(ui.OpenFileDialog(dialog), "file.por");
    EXPECT_EQ(ui.OpenFileDialog(dialog), std::nullopt); // end of input cancels
    EXPECT_EQ(ui.Ask("Save?", "Save Files?", Buttons::YesNoCancel), Answer::Cancel);
    EXPECT_NE(out.str().find("[Save Files?] Save? [y]es/[n]o/[c]ancel: "), std::string::npos);
}

TEST(HeadlessUI, QuestionsTakeConfiguredOrSafeAnswers) {
    HeadlessUI ui;
    EXPECT_EQ(ui.Ask("Save?", "Save Files?", Buttons::YesNoCancel), Answer::No);
    EXPECT_EQ(ui.Ask("Go?", "Confirm", Buttons::OkCancel), Answer::Cancel);
    ui.SetAnswer("Save Files?", Answer::Yes);
    EXPECT_EQ(ui.Ask("Save?", "Save Files?", Buttons::YesNoCancel), Answer::Yes);
    EXPECT_EQ(ui.InputBox("Name?", "Canvas Name", "x"), std::nullopt);
    ui.SetInput("Canvas Name", "Lake");
    EXPECT_EQ(ui.InputBox("Name?", "Canvas Name", "x"), "Lake");
    FileDialog dialog{"Canvas Open", ".can", "Canvases (*.can)|*.can", "", ""};
    EXPECT_EQ(ui.OpenFileDialog(dialog), std::nullopt);
    ui.SetFileChoice("Canvas Open", "lake.can");
    EXPECT_EQ(ui.OpenFileDialog(dialog), "lake.can");
}

} // namespace
} // namespace tess
