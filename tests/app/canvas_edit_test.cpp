// canvas add-text, add-picture and set on real canvas files, each result loaded again as a
// run loads it.

#include "app/command_station.h"
#include "app/instance_lock.h"
#include "document/portfolio.h"
#include "support/run_process.h"
#include "support/temp_dir.h"

#include <filesystem>
#include <memory>
#include <string>

#include <gtest/gtest.h>

namespace tess {
namespace {

using test::ReadFileBytes;
using test::RunProcess;

bool Has(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

class CanvasEdit : public ::testing::Test {
protected:
    CanvasEdit() {
        test::WriteFileBytes(dir_.File("cam.can"),
                             "[General]\r\nName=Cam\r\nWidth=64\r\nHeight=48\r\nOwnNote=kept\r\n");
    }
    test::ProcessResult Run(std::vector<std::string> args) {
        args.insert(args.begin(), {TESS_BINARY, "canvas"});
        return RunProcess(args, dir_.Path());
    }
    // The canvas file as a run reads it.
    Canvas& Reload() {
        portfolio_ = std::make_unique<Portfolio>(station_.Sun());
        Canvas& canvas = portfolio_->Canvas(1);
        canvas.SetFileName(dir_.File("cam.can"));
        canvas.LoadFile(Canvas::FileAccess::ReadOnly);
        return canvas;
    }

    test::TempDir dir_;
    CommandStation station_;
    std::unique_ptr<Portfolio> portfolio_;
};

TEST_F(CanvasEdit, AddTextAndPicturesTakeTheNextFreeItems) {
    auto text = Run({"add-text", "cam.can", "--text", "Harbour <TIME>", "--x", "5", "--y", "7",
                     "--font", "DejaVu Sans", "--size", "20", "--color", "#FF8000"});
    ASSERT_EQ(text.exit_code, 0) << text.err;
    EXPECT_TRUE(Has(text.out, "cam.can: [Text001] Color = &H0080FF")) << text.out;
    ASSERT_EQ(Run({"add-text", "cam.can", "--text", "second", "--x", "0", "--y", "30"}).exit_code,
              0);
    auto file = Run({"add-picture", "cam.can", "--file", "later.jpg", "--x", "3"});
    EXPECT_EQ(file.exit_code, 0) << file.err;
    EXPECT_TRUE(Has(file.err, "'later.jpg' does not exist (yet)")) << file.err;
    EXPECT_EQ(Run({"add-picture", "cam.can", "--url", "http://127.0.0.1:9/c.jpg"}).exit_code, 0);
    EXPECT_EQ(Run({"add-picture", "cam.can", "--feed", "Yard"}).exit_code, 0);

    Canvas& canvas = Reload();
    ASSERT_NE(canvas.Text(1), nullptr);
    EXPECT_EQ(canvas.Text(1)->Text(), "Harbour <TIME>");
    EXPECT_EQ(canvas.Text(1)->LocationX(), 5);
    EXPECT_EQ(canvas.Text(1)->LocationY(), 7);
    EXPECT_EQ(canvas.Text(1)->FontName(), "DejaVu Sans");
    EXPECT_EQ(canvas.Text(1)->FontSize(), 20);
    EXPECT_EQ(canvas.Text(1)->Color(), 0x0080FFu);
    ASSERT_NE(canvas.Text(2), nullptr);
    EXPECT_EQ(canvas.Text(2)->Text(), "second");
    ASSERT_NE(canvas.Graphic(3), nullptr);
    EXPECT_EQ(canvas.Graphic(1)->SourceType(), SourceType::GraphicFile);
    EXPECT_EQ(canvas.Graphic(1)->SourceFileName(), "later.jpg");
    EXPECT_EQ(canvas.Graphic(1)->LocationX(), 3);
    EXPECT_EQ(canvas.Graphic(2)->SourceURL(), "http://127.0.0.1:9/c.jpg");
    EXPECT_EQ(canvas.Graphic(3)->SourceType(), SourceType::VideoFeed);
    EXPECT_EQ(canvas.Graphic(3)->SourceVideoFeedName(), "Yard");
    EXPECT_TRUE(Has(ReadFileBytes(dir_.File("cam.can")), "OwnNote=kept"));

    // Exactly one source; none left for the file.
    EXPECT_EQ(Run({"add-picture", "cam.can"}).exit_code, 2);
    EXPECT_EQ(Run({"add-picture", "cam.can", "--file", "a.jpg", "--url", "http://x/"}).exit_code,
              2);
    EXPECT_EQ(Run({"add-text", "nope.can", "--text", "t", "--x", "0", "--y", "0"}).exit_code, 2);
    EXPECT_FALSE(std::filesystem::exists(dir_.File("nope.can")));
}

TEST_F(CanvasEdit, SetChecksTheKeyAndTheValueAndKeepsWithinRange) {
    auto wide = Run({"set", "cam.can", "General", "Width", "99999"});
    ASSERT_EQ(wide.exit_code, 0) << wide.err;
    EXPECT_TRUE(Has(wide.out, "given as '99999'")) << wide.out;
    const int widest = Reload().Width();
    EXPECT_LT(widest, 99999);
    EXPECT_GT(widest, 64);
    ASSERT_EQ(Run({"set", "cam.can", "general", "name", "Quay"}).exit_code, 0);
    EXPECT_EQ(Reload().Name(), "Quay");

    const std::string before = ReadFileBytes(dir_.File("cam.can"));
    auto misspelt = Run({"set", "cam.can", "General", "Widht", "9"});
    EXPECT_EQ(misspelt.exit_code, 2);
    EXPECT_TRUE(Has(misspelt.err, "'cam.can' [General] Widht: no setting has this key"))
        << misspelt.err;
    auto word = Run({"set", "cam.can", "General", "Height", "tall"});
    EXPECT_EQ(word.exit_code, 2);
    EXPECT_TRUE(Has(word.err, "[General] Height: 'tall' is not a number")) << word.err;
    EXPECT_FALSE(Has(word.err, ".edit~")) << word.err;
    auto no_item = Run({"set", "cam.can", "Text001", "FontSize", "30"});
    EXPECT_EQ(no_item.exit_code, 2);
    EXPECT_TRUE(Has(no_item.err, "has no item [Text001]")) << no_item.err;
    EXPECT_EQ(ReadFileBytes(dir_.File("cam.can")), before);

    ASSERT_EQ(Run({"add-text", "cam.can", "--text", "t", "--x", "0", "--y", "0"}).exit_code, 0);
    ASSERT_EQ(Run({"set", "cam.can", "Text001", "Opacity", "250"}).exit_code, 0);
    EXPECT_EQ(Reload().Text(1)->Opacity(), 100);
    EXPECT_EQ(Run({"set", "cam.can", "Text001", "NoSuchKey", "1"}).exit_code, 2);
    EXPECT_FALSE(std::filesystem::exists(dir_.File("cam.can.edit~")));
}

TEST_F(CanvasEdit, RefusedWhileTheSiteRunsInTheFolder) {
    InstanceLock running;
    ASSERT_TRUE(running.Acquire(dir_.File("Tessarolle.lock")));
    const std::string before = ReadFileBytes(dir_.File("cam.can"));
    auto result = Run({"set", "cam.can", "General", "Width", "100"});
    EXPECT_EQ(result.exit_code, 3);
    EXPECT_TRUE(Has(result.err, "Tessarolle is running in this folder")) << result.err;
    EXPECT_EQ(ReadFileBytes(dir_.File("cam.can")), before);
}

} // namespace
} // namespace tess
