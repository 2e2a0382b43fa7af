// Motion detection end to end on frames from FFmpeg's test sources: a grey scene where a red
// square stands still for a second and then moves across.

#include "capture/motion_detect.h"
#include "settings/vb_date.h"
#include "support/run_process.h"
#include "support/temp_dir.h"

#include <cstring>
#include <filesystem>

#include <gtest/gtest.h>

namespace tess {
namespace {

constexpr int kW = 160, kH = 120, kFrames = 30;

TEST(MotionCamera, AMovingObjectTriggersAndAStillOneDoesNot) {
    test::TempDir dir;
    const std::string graph = "color=c=gray:s=160x120:r=10[bg];color=c=red:s=20x20:r=10[box];"
                              "[bg][box]overlay=x='if(lt(t,1),10,10+(t-1)*60)':y=50:shortest=1";
    const test::ProcessResult ffmpeg = test::RunProcess(
        {"/usr/bin/ffmpeg", "-hide_banner", "-loglevel", "error", "-f", "lavfi", "-i", graph,
         "-frames:v", std::to_string(kFrames), "-f", "rawvideo", "-pix_fmt", "bgr24", "frames.bgr"},
        dir.Path(), 60);
    ASSERT_EQ(ffmpeg.exit_code, 0) << ffmpeg.err;
    const std::string raw = test::ReadFileBytes(dir.File("frames.bgr"));
    ASSERT_EQ(raw.size(), static_cast<std::size_t>(kW) * kH * 3 * kFrames);

    test::ScopedCurrentDir here(dir.Path());
    MotionDetect motion;
    motion.SetEnabled(true);
    motion.SetDiffPreBlurRadius(1);
    motion.SetBrighterMotionLimit(150);
    motion.SetDarkerMotionLimit(106);
    motion.SetCoverageLimit(0.5f);
    motion.SetSaveSequential(true);
    double now = DateSerial(2026, 11, 24) + TimeSerial(6, 0, 0);
    motion.SetClock(Clock([&now] { return now; }));
    std::vector<int> triggered;
    DIB frame(kW, kH);
    for (int i = 0; i < kFrames; ++i) {
        for (int y = 0; y < kH; ++y) // the stream is top-down, the DIB bottom-up
            std::memcpy(frame.scanline(y),
                        raw.data() + (static_cast<std::size_t>(i) * kH + y) * kW * 3, kW * 3);
        motion.SetLastFrameInterval(0.1);
        const auto before = motion.TriggerCount();
        motion.DiffFrames(frame);
        if (motion.TriggerCount() != before) triggered.push_back(i);
        now += 0.1 / 86400;
    }
    // Still for the first second (frames 0..10), moving from frame 11 on, every frame.
    ASSERT_FALSE(triggered.empty());
    EXPECT_EQ(triggered.front(), 11);
    EXPECT_EQ(triggered.size(), static_cast<std::size_t>(kFrames - 11));
    EXPECT_GT(motion.LastMotionCoverage(), 0.5f);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator("motion"),
                            std::filesystem::directory_iterator{}),
              kFrames - 11);
    EXPECT_TRUE(std::filesystem::exists("motion/26112406000100.jpg"));
}

} // namespace
} // namespace tess
