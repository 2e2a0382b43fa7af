#include "app/application.h"
#include "app/file_commands.h"
#include "app/main_procedure.h"
#include "app/quit.h"
#include "app/scripted_ui.h"
#include "document/portfolio.h"
#include "settings/ini.h"
#include "support/golden.h"
#include "support/temp_dir.h"

#include <filesystem>

#include <gtest/gtest.h>

namespace tess {
namespace {

using test::Golden;
using test::ReadFileBytes;

const ScriptedUI::Shown& Last(const ScriptedUI& ui) {
    return ui.Record().back();
}

class FileCommandsTest : public ::testing::Test {
protected:
    Portfolio& NewPortfolio() {
        EXPECT_TRUE(PortfolioNew(app_));
        return *app_.CurrentPortfolio();
    }
    // Puts a canvas file in the slot as opening it would.
    void Occupy(Portfolio& portfolio, int slot) {
        Canvas& canvas = portfolio.Canvas(slot);
        canvas.SetFileName(dir_.File("slot" + std::to_string(slot) + ".can"));
        canvas.LoadFile();
        canvas.SetEnabled(true);
    }

    test::TempDir dir_;
    ScriptedUI ui_;
    Application app_{ui_, dir_.Path()};
};

TEST_F(FileCommandsTest, ANewPortfolioIsNamedWhenFirstSaved) {
    EXPECT_FALSE(SaveAllProc(app_, false)); // nothing open, nothing done
    EXPECT_TRUE(ui_.Record().empty());
    NewPortfolio();
    EXPECT_EQ(Last(ui_).text, "Your portfolio has been created.\nYou may now add canvases using "
                              "the Open Canvas or New Canvas selections from the File Menu.");

    ui_.QueueFile(std::nullopt);
    EXPECT_FALSE(PortfolioSave(app_));
    EXPECT_EQ(ui_.Record()[1].kind, "save");
    EXPECT_EQ(ui_.Record()[1].text, "NewPortfolio.por");
    EXPECT_EQ(ui_.Record()[1].caption, "Portfolio Save As");
    EXPECT_EQ(Last(ui_).text, "No file was selected.");
    EXPECT_EQ(Last(ui_).caption, "No file selected");

    ui_.QueueFile(dir_.File("mine.por"));
    EXPECT_TRUE(SaveAllProc(app_, false));
    EXPECT_EQ(ReadFileBytes(dir_.File("mine.por")), Golden("document", "new_portfolio.por"));
    EXPECT_EQ(app_.Setup().LastPortfolio, dir_.File("mine.por"));
    EXPECT_EQ(ui_.StatusHistory().back(), "(hidden)");
}

TEST_F(FileCommandsTest, CanvasNewProposesAFileForTheFirstFreeSlotAndNamesTheCanvas) {
    Portfolio& portfolio = NewPortfolio();
    Occupy(portfolio, 1);
    Occupy(portfolio, 2);
    portfolio.SetNeedSaving(false);

    ui_.QueueFile(dir_.File("roof.can"));
    ui_.QueueInput("Roof");
    ASSERT_TRUE(CanvasNew(app_));
    const auto& record = ui_.Record();
    EXPECT_EQ(record[record.size() - 2].kind, "save");
    EXPECT_EQ(record[record.size() - 2].text, "NewCanvas03.can");
    EXPECT_EQ(Last(ui_).kind, "input");
    EXPECT_EQ(Last(ui_).text, "Enter a name for this canvas.");
    EXPECT_EQ(Last(ui_).caption, "Canvas Name");
    // The file exists from the start, with every default.
    EXPECT_EQ(ReadFileBytes(dir_.File("roof.can")), Golden("document", "new_canvas03.can"));
    Canvas& canvas = portfolio.Canvas(3);
    EXPECT_EQ(canvas.Name(), "Roof");
    EXPECT_TRUE(canvas.Enabled());
    EXPECT_TRUE(portfolio.NeedSaving());

    portfolio.SetFileName(dir_.File("p.por"));
    ASSERT_TRUE(SaveAllProc(app_, false));
    EXPECT_NE(ReadFileBytes(dir_.File("roof.can")).find("Name=Roof\r\n"), std::string::npos);
    EXPECT_NE(
        ReadFileBytes(dir_.File("p.por")).find("[Canvas03]\r\nFileName=" + dir_.File("roof.can")),
        std::string::npos);

    // A file that exists is not taken for a new canvas; a cancelled dialog is said so.
    ui_.QueueFile(dir_.File("roof.can"));
    EXPECT_FALSE(CanvasNew(app_));
    EXPECT_EQ(Last(ui_).text, "This file already exists.  To open an existing file, select "
                              "\"Open Canvas\" instead.");
    ui_.QueueFile(std::nullopt);
    EXPECT_FALSE(CanvasNew(app_));
    EXPECT_EQ(Last(ui_).text, "No file was selected.  Aborting process.");
    EXPECT_TRUE(portfolio.Canvas(4).FileName().empty());
}

TEST_F(FileCommandsTest, TwentyCanvasesLeaveNoRoom) {
    Portfolio& portfolio = NewPortfolio();
    for (int slot = 1; slot <= Portfolio::kCanvasSlots; ++slot)
        portfolio.Canvas(slot).SetFileName("c" + std::to_string(slot) + ".can");
    for (auto command : {CanvasNew, CanvasOpen}) {
        const std::size_t shown = ui_.Record().size();
        EXPECT_FALSE(command(app_));
        ASSERT_EQ(ui_.Record().size(), shown + 1); // no dialog, no question
        EXPECT_EQ(Last(ui_).text, "You already have all of the allowed canvases loaded.\nRemove "
                                  "an existing canvas to make room for a new one.");
        EXPECT_EQ(Last(ui_).caption, "Out of Canvas Locations");
    }
}

TEST_F(FileCommandsTest, CanvasOpenAsksANameOnlyForAFileWithoutOne) {
    Portfolio& portfolio = NewPortfolio();
    test::WriteFileBytes(dir_.File("named.can"), "[General]\r\nName=Harbour\r\n");
    test::WriteFileBytes(dir_.File("anonymous.can"), "[General]\r\nWidth=640\r\n");

    ui_.QueueFile(std::nullopt);
    EXPECT_FALSE(CanvasOpen(app_));
    EXPECT_EQ(Last(ui_).text, "No file was selected.  Aborting process.");
    ui_.QueueFile(dir_.File("missing.can"));
    EXPECT_FALSE(CanvasOpen(app_));
    EXPECT_FALSE(std::filesystem::exists(dir_.File("missing.can")));

    ui_.QueueFile(dir_.File("named.can"));
    ASSERT_TRUE(CanvasOpen(app_));
    EXPECT_EQ(Last(ui_).kind, "open");
    EXPECT_EQ(portfolio.Canvas(1).Name(), "Harbour");
    EXPECT_TRUE(portfolio.NeedSaving());

    ui_.QueueFile(dir_.File("anonymous.can"));
    ui_.QueueInput("Beach");
    ASSERT_TRUE(CanvasOpen(app_));
    EXPECT_EQ(Last(ui_).kind, "input");
    EXPECT_EQ(portfolio.Canvas(2).Name(), "Beach");
    EXPECT_EQ(portfolio.Canvas(2).Width(), 640);
    EXPECT_EQ(portfolio.ActiveCanvas(), 2);
}

TEST_F(FileCommandsTest, CanvasRemoveAsksAndOffersToSaveChanges) {
    Portfolio& portfolio = NewPortfolio();
    Occupy(portfolio, 1);
    portfolio.SetNeedSaving(false);
    portfolio.SetActiveCanvas(1);
    const std::string path = portfolio.Canvas(1).FileName();

    ui_.QueueAnswer(Answer::No);
    EXPECT_FALSE(CanvasRemove(app_));
    EXPECT_EQ(Last(ui_).caption, "Remove Canvas");

    portfolio.Canvas(1).SetName("Changed");
    ui_.QueueAnswer(Answer::Yes);
    ui_.QueueAnswer(Answer::Cancel);
    EXPECT_FALSE(CanvasRemove(app_));
    EXPECT_EQ(Last(ui_).text, "This canvas has been changed.  Would you like to save it first?");
    EXPECT_EQ(portfolio.Canvas(1).FileName(), path);

    ui_.QueueAnswer(Answer::Yes);
    ui_.QueueAnswer(Answer::Yes);
    EXPECT_TRUE(CanvasRemove(app_));
    EXPECT_NE(ReadFileBytes(path).find("Name=Changed\r\n"), std::string::npos);
    EXPECT_EQ(portfolio.FreeSlot(20), 1);
    EXPECT_EQ(portfolio.Canvas(1).Name(), "");
    EXPECT_TRUE(portfolio.NeedSaving());
}

TEST_F(FileCommandsTest, CanvasSaveAsReplacesAnExistingFileWhole) {
    Portfolio& portfolio = NewPortfolio();
    Occupy(portfolio, 1);
    portfolio.SetActiveCanvas(1);
    test::WriteFileBytes(dir_.File("other.can"), "[Old]\r\nStale=1\r\n");
    ui_.QueueFile(dir_.File("other.can"));
    ASSERT_TRUE(CanvasSaveAs(app_));
    EXPECT_EQ(Last(ui_).text, dir_.File("slot1.can")); // proposed: its own file
    const std::string text = ReadFileBytes(dir_.File("other.can"));
    EXPECT_EQ(text.find("[Old]"), std::string::npos);
    EXPECT_EQ(text.rfind("[General]\r\nName=New Canvas\r\nWidth=320\r\n", 0), 0u);
    EXPECT_EQ(portfolio.Canvas(1).FileName(), dir_.File("other.can"));
    EXPECT_TRUE(portfolio.NeedSaving()); // its list of canvases changed
}

TEST_F(FileCommandsTest, OpeningAnotherPortfolioOffersToSaveTheOpenOne) {
    Portfolio& first = NewPortfolio();
    first.SetFileName(dir_.File("first.por"));
    first.WebServer().SetPort(8080);
    test::WriteFileBytes(dir_.File("second.por"), "[WebServer]\r\nPort=9090\r\n");

    ui_.QueueFile(dir_.File("second.por"));
    ui_.QueueAnswer(Answer::Cancel);
    EXPECT_FALSE(PortfolioOpen(app_));
    EXPECT_EQ(Last(ui_).caption, "Save Open Portfolio and Canvases?");
    EXPECT_EQ(app_.CurrentPortfolio(), &first);

    ui_.QueueFile(dir_.File("second.por"));
    ui_.QueueAnswer(Answer::Yes);
    ASSERT_TRUE(PortfolioOpen(app_));
    EXPECT_NE(ReadFileBytes(dir_.File("first.por")).find("Port=8080"), std::string::npos);
    EXPECT_EQ(app_.CurrentPortfolio()->WebServer().Port(), 9090);
    EXPECT_EQ(app_.Setup().LastPortfolio, dir_.File("second.por"));
}

TEST(StartUp, ReopensTheLastPortfolioWhenAutoLoadIsOn) {
    test::TempDir dir;
    test::WriteFileBytes(dir.File("p.por"), "[Canvas01]\r\nFileName=" + dir.File("a.can") + "\r\n");
    for (bool auto_load : {true, false}) {
        INI(dir.File("Tessarolle.INI")).SetKey("General", "AutoLoad", auto_load ? "True" : "False");
        INI(dir.File("Tessarolle.INI")).SetKey("General", "LastPortfolio", dir.File("p.por"));
        ScriptedUI ui;
        Application app(ui, dir.Path());
        ASSERT_EQ(Main(app), 0);
        if (auto_load) {
            ASSERT_NE(app.CurrentPortfolio(), nullptr);
            EXPECT_TRUE(app.CurrentPortfolio()->Canvas(1).Enabled());
            EXPECT_EQ(ui.StatusHistory().front(), "Loading...");
        } else {
            EXPECT_EQ(app.CurrentPortfolio(), nullptr);
        }
        app.SetRunning(false);
        modMain_Shutdown(app);
    }
}

} // namespace
} // namespace tess
