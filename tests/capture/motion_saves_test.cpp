#include "capture/motion_detect.h"
#include "capture/motion_frames.h"
#include "imaging/jpeg.h"
#include "settings/vb_date.h"
#include "support/temp_dir.h"

#include <filesystem>

#include <gtest/gtest.h>

namespace tess {
namespace {

using test::Flat;
using test::TempDir;

bool DecodesAs(const std::string& path, int width, int height) {
    DIB dib;
    return LoadJpegIntoDIB(path, dib) == JpegResult::Loaded && dib.Width() == width &&
           dib.Height() == height;
}

TEST(MotionSaves, DiffNamesGoBeforeTheLastDot) {
    EXPECT_EQ(MotionSaves::DiffFileName("motion/motion.jpg"), "motion/motion.diff.jpg");
    EXPECT_EQ(MotionSaves::DiffFileName("a.b/c.d.jpeg"), "a.b/c.d.diff.jpeg");
    EXPECT_EQ(MotionSaves::DiffFileName("motion/snapshot"), "motion/snapshot.diff.jpg");
    EXPECT_EQ(MotionSaves::DiffFileName("dir.x\\shot"), "dir.x\\shot.diff.jpg");

    MotionSaves saves;
    const double t = DateSerial(2005, 3, 14) + TimeSerial(12, 5, 1);
    EXPECT_EQ(saves.NextSequentialName("motion\\", t), "motion\\05031412050100.jpg");
    EXPECT_EQ(saves.NextSequentialName("motion", t), "motion\\05031412050101.jpg");
    EXPECT_EQ(saves.NextSequentialName("cam/", t + 1.0 / 86400), "cam/05031412050200.jpg");
    EXPECT_EQ(saves.NextSequentialName("cam/", t), "cam/05031412050100.jpg");
    // The second that has begun, as the tags show it.
    EXPECT_EQ(saves.NextSequentialName("cam/", t + 0.9 / 86400), "cam/05031412050101.jpg");
}

TEST(MotionSaves, TriggersWriteFixedSequentialAndDiffFiles) {
    TempDir dir;
    test::ScopedCurrentDir here(dir.Path());
    MotionDetect motion;
    const double now = DateSerial(2005, 3, 14) + TimeSerial(12, 5, 1);
    motion.SetClock(Clock([now] { return now; }));
    motion.SetSaveFixed(true);
    motion.SetSaveFixedFileName("out\\fixed\\motion.jpg"); // folders made as needed
    motion.SetSaveSequential(true);
    motion.SetSaveSequentialQuality(50);
    motion.SetSaveDiff(true);
    const DIB black = Flat(64, 48, 0), white = Flat(64, 48, 255);
    for (const DIB* frame : {&black, &white, &black, &white})
        motion.DiffFrames(*frame);
    ASSERT_EQ(motion.TriggerCount(), 3u);

    for (const char* name : {"out/fixed/motion.jpg", "out/fixed/motion.diff.jpg",
                             "motion/05031412050100.jpg", "motion/05031412050101.jpg",
                             "motion/05031412050102.jpg", "motion/05031412050102.diff.jpg"})
        EXPECT_TRUE(DecodesAs(name, 64, 48)) << name;
    EXPECT_FALSE(std::filesystem::exists("motion/05031412050103.jpg"));
    EXPECT_EQ(
        motion.LastSavedFiles(),
        (std::vector<std::string>{"out/fixed/motion.jpg", "motion/05031412050102.jpg",
                                  "out/fixed/motion.diff.jpg", "motion/05031412050102.diff.jpg"}));
    // The fixed file holds the last trigger's frame: white.
    DIB last;
    ASSERT_EQ(LoadJpegIntoDIB("out/fixed/motion.jpg", last), JpegResult::Loaded);
    EXPECT_GT(last.scanline(10)[10], 240);

    // Without a frame save there is no diff save either.
    std::filesystem::remove_all("motion");
    motion.SetSaveFixed(false);
    motion.SetSaveSequential(false);
    motion.DiffFrames(black);
    EXPECT_EQ(motion.TriggerCount(), 4u);
    EXPECT_TRUE(motion.LastSavedFiles().empty());
    EXPECT_FALSE(std::filesystem::exists("motion"));
}

TEST(MotionSaves, AnUnwritableFolderIsLoggedAndTheRestStillSaved) {
    TempDir dir;
    test::ScopedCurrentDir here(dir.Path());
    test::WriteFileBytes(dir.File("blocker"), "a file where a folder should be");
    MotionDetect motion;
    motion.SetSaveFixed(true);
    motion.SetSaveFixedFileName("blocker/motion.jpg");
    motion.SetSaveSequential(true);
    const DIB black = Flat(16, 16, 0), white = Flat(16, 16, 255);
    motion.DiffFrames(black);
    motion.DiffFrames(white);
    EXPECT_EQ(motion.TriggerCount(), 1u);
    ASSERT_EQ(motion.LastSavedFiles().size(), 1u);
    EXPECT_EQ(motion.LastSavedFiles()[0].rfind("motion/", 0), 0u);
}

} // namespace
} // namespace tess
