#include "capture/motion_detect.h"
#include "capture/motion_frames.h"
#include "capture/pgm_reader.h"
#include "settings/vb_date.h"
#include "support/temp_dir.h"

#include <chrono>
#include <thread>

#include <gtest/gtest.h>

namespace tess {
namespace {

using test::Flat;
using test::TempDir;
using test::WithBlock;

std::string Pgm(int width, int height, int black_columns) {
    std::string out =
        "P5\n# mask\n" + std::to_string(width) + " " + std::to_string(height) + "\n255\n";
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            out += static_cast<char>(x < black_columns ? 0 : 255);
    return out;
}

bool Triggers(MotionDetect& motion, const DIB& frame) {
    const auto before = motion.TriggerCount();
    motion.DiffFrames(frame);
    return motion.TriggerCount() != before;
}

TEST(MotionMask, BlackPartsAreIgnoredWhateverTheMaskSize) {
    TempDir dir;
    const DIB still = Flat(100, 100, 90);
    const DIB left = WithBlock(Flat(100, 100, 90), 10, 10, 30, 30, 190);
    const DIB right = WithBlock(Flat(100, 100, 90), 60, 10, 30, 30, 190);
    // The same mask at the frame's size and at half of it: the left half is not watched.
    for (auto [w, h] : {std::pair{100, 100}, std::pair{50, 50}}) {
        test::WriteFileBytes(dir.File("mask.pgm"), Pgm(w, h, w / 2));
        MotionDetect motion;
        motion.SetCoverageLimit(0.5f);
        motion.SetBrighterMotionLimit(200);
        motion.SetMaskFileName(dir.File("mask.pgm"));
        EXPECT_FALSE(Triggers(motion, still));
        EXPECT_FALSE(Triggers(motion, left)) << w;
        EXPECT_EQ(motion.View().histogram[128], 100u * 100 * 3);
        EXPECT_FALSE(Triggers(motion, still));
        EXPECT_TRUE(Triggers(motion, right)) << w;
        EXPECT_EQ(motion.View().histogram[128 + 100], 30u * 30 * 3);
    }
    // A mask that cannot be read watches the whole picture.
    MotionDetect motion;
    motion.SetCoverageLimit(0.5f);
    motion.SetMaskFileName(dir.File("missing.png"));
    motion.SetBrighterMotionLimit(200);
    EXPECT_FALSE(Triggers(motion, still));
    EXPECT_TRUE(Triggers(motion, left));
    EXPECT_EQ(motion.MaskFileName(), dir.File("missing.png"));
}

TEST(MotionMask, GreyMapsAreReadStrictly) {
    auto decode = [](std::string_view bytes, DIB& dib) {
        return DecodePgm({reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()}, dib);
    };
    DIB dib;
    EXPECT_EQ(decode(Pgm(3, 2, 1), dib), PictureStatus::Ok);
    EXPECT_EQ(dib.Width(), 3);
    EXPECT_EQ(dib.scanline(1)[0], 0);
    EXPECT_EQ(dib.scanline(1)[3], 255);
    const std::string sixteen = std::string("P5 1 1 1023\n") + '\x03' + '\xFF';
    EXPECT_EQ(decode(sixteen, dib), PictureStatus::Ok);
    EXPECT_EQ(dib.scanline(0)[0], 255);
    const std::string full = Pgm(4, 4, 2);
    EXPECT_EQ(decode(full.substr(0, full.size() - 1), dib), PictureStatus::Corrupt);
    EXPECT_EQ(decode("P5 4 4 0\n", dib), PictureStatus::Corrupt);
    EXPECT_EQ(decode("P5 0 4 255\n", dib), PictureStatus::Empty);
    EXPECT_EQ(decode("P5 99999 99999 255\n", dib), PictureStatus::TooLarge);
    EXPECT_EQ(decode("P5 4", dib), PictureStatus::Corrupt);
    EXPECT_EQ(decode("P2 1 1 255\n0", dib), PictureStatus::UnknownFormat);
    EXPECT_EQ(decode("", dib), PictureStatus::Empty);
}

TEST(MotionCommand, PlaceholdersAreFilledAndQuoted) {
    MotionCommandValues v{
        4, {"motion/a b.jpg", "it's.jpg"}, 0.5f, DateSerial(2005, 3, 14) + TimeSerial(12, 5, 1)};
    EXPECT_EQ(MotionCommand::Expand("send %f %c %p%% %s at %t %x%", v),
              "send 4 0.500 0.1% 'motion/a b.jpg' 'it'\\''s.jpg' at 2005-03-14 12:05:01 %x%");
}

// Polls until the commands are done or `limit` passes.
bool WaitForCommands(MotionDetect& motion, int running, std::chrono::seconds limit) {
    const auto end = std::chrono::steady_clock::now() + limit;
    while (std::chrono::steady_clock::now() < end) {
        motion.PollCommands();
        if (motion.RunningCommands() <= running) return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return false;
}

TEST(MotionCommand, RunsOnTriggersWithoutWaitingAndIsStoppedWhenLate) {
    TempDir dir;
    test::ScopedCurrentDir here(dir.Path());
    MotionDetect motion;
    motion.SetFeedNumber(2);
    motion.SetSaveFixed(true);
    motion.SetTriggerCommand("sleep 0.2; echo feed %f %s > done.txt");
    const DIB black = Flat(16, 16, 0), white = Flat(16, 16, 255);
    motion.DiffFrames(black);
    const auto start = std::chrono::steady_clock::now();
    motion.DiffFrames(white);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(150));
    EXPECT_EQ(motion.RunningCommands(), 1);
    ASSERT_TRUE(WaitForCommands(motion, 0, std::chrono::seconds(10)));
    EXPECT_EQ(test::ReadFileBytes(dir.File("done.txt")), "feed 3 motion/motion.jpg\n");

    motion.SetTriggerCommand("sleep 30");
    motion.SetTriggerCommandTimeLimit(1);
    motion.DiffFrames(black);
    EXPECT_EQ(motion.RunningCommands(), 1);
    const auto stopped = std::chrono::steady_clock::now();
    ASSERT_TRUE(WaitForCommands(motion, 0, std::chrono::seconds(10)));
    EXPECT_LT(std::chrono::steady_clock::now() - stopped, std::chrono::seconds(5));
}

} // namespace
} // namespace tess
