#include "imaging/bitmaps.h"
#include "imaging/jpeg.h"
#include "support/run_process.h"
#include "support/temp_dir.h"

#include <algorithm>
#include <string>

#include <gtest/gtest.h>

namespace tess {
namespace {

using test::TempDir;

std::string AsString(const std::vector<std::uint8_t>& bytes) {
    return {bytes.begin(), bytes.end()};
}

std::span<const std::uint8_t> AsBytes(const std::string& s) {
    return {reinterpret_cast<const std::uint8_t*>(s.data()), s.size()};
}

// The sampling factors of each component in the frame header, as "h x v" per component.
std::string SamplingFactors(const std::string& jpeg) {
    for (std::size_t i = 2; i + 10 < jpeg.size(); ++i) {
        if (static_cast<unsigned char>(jpeg[i]) == 0xFF &&
            (static_cast<unsigned char>(jpeg[i + 1]) & 0xF0) == 0xC0 && jpeg[i + 1] != '\xC4') {
            int components = static_cast<unsigned char>(jpeg[i + 9]);
            std::string out;
            for (int c = 0; c < components; ++c) {
                unsigned char f = jpeg[i + 11 + c * 3];
                out += std::to_string(f >> 4) + "x" + std::to_string(f & 15) + " ";
            }
            return out;
        }
    }
    return "";
}

TEST(Jpeg, FileNamesAreJudgedByTheirEndingAloneAndMissingFilesReportThree) {
    EXPECT_TRUE(IsJpegFileName("a.jpeg"));
    EXPECT_TRUE(IsJpegFileName("  dir/a.JPG  "));
    EXPECT_TRUE(IsJpegFileName("a.Jpg"));
    EXPECT_FALSE(IsJpegFileName("a.jpe"));
    EXPECT_FALSE(IsJpegFileName("a.png"));
    EXPECT_FALSE(IsJpegFileName("jpg"));

    TempDir dir;
    DIB dib(2, 2);
    // Wrong endings give 0 without looking at the disk, even for a missing file.
    EXPECT_EQ(LoadJpegIntoDIB(dir.File("nothing.jpe"), dib), JpegResult::NotJpeg);
    EXPECT_EQ(LoadJpegIntoDIB(dir.File("nothing.png"), dib), JpegResult::NotJpeg);
    EXPECT_EQ(LoadJpegIntoDIB(dir.File("nothing.jpg"), dib), JpegResult::Missing);
    EXPECT_EQ(dib.Width(), 2);

    DIB picture(40, 30);
    test::FillSmooth(picture);
    const std::string bytes = AsString(EncodeJpeg(picture, 90));
    for (const char* name : {"a.jpeg", "b.JPG", "c.Jpg"}) {
        test::WriteFileBytes(dir.File(name), bytes);
        DIB loaded;
        std::string spaced = "  " + dir.File(name) + "  ";
        ASSERT_EQ(LoadJpegIntoDIB(spaced, loaded), JpegResult::Loaded) << name;
        EXPECT_EQ(loaded.Width(), 40);
        EXPECT_EQ(loaded.Height(), 30);
    }
}

TEST(Jpeg, WhatWeEncodeAnIndependentDecoderReadsBack) {
    TempDir dir;
    for (int width : {37, 64, 161}) {
        DIB picture(width, 43);
        test::FillSmooth(picture);
        std::vector<std::uint8_t> stream = EncodeJpeg(picture, 90);
        ASSERT_FALSE(stream.empty());
        EXPECT_LE(stream.size(), JpegSizeBound(width, 43));
        EXPECT_EQ(SamplingFactors(AsString(stream)), "2x2 1x1 1x1 "); // 2x2 chroma subsampling
        test::WriteFileBytes(dir.File("ours.jpg"), AsString(stream));
        auto run = test::RunProcess(
            {"/usr/bin/djpeg", "-pnm", "-outfile", dir.File("back.ppm"), dir.File("ours.jpg")},
            dir.Path());
        ASSERT_EQ(run.exit_code, 0) << run.err;
        DIB back;
        ASSERT_TRUE(test::ReadPpm(dir.File("back.ppm"), back));
        ASSERT_EQ(back.Width(), width);
        // Rows come out top first: an upside-down picture would be far off.
        EXPECT_LT(test::MeanAbsDifference(back, picture), 3.0) << width;
    }
}

TEST(Jpeg, QualityZeroIsOneAndStreamsBeyondTheBoundAreRefused) {
    DIB picture(64, 48);
    test::FillSmooth(picture);
    EXPECT_EQ(EncodeJpeg(picture, 0), EncodeJpeg(picture, 1));
    EXPECT_EQ(EncodeJpeg(picture, -4), EncodeJpeg(picture, 1));
    EXPECT_GT(EncodeJpeg(picture, 100).size(), EncodeJpeg(picture, 50).size());

    // Headers alone outgrow 1 x 1 x 3 + 21 bytes, and noise at full quality outgrows its room.
    DIB one(1, 1);
    EXPECT_TRUE(EncodeJpeg(one, 80).empty());
    std::mt19937 rng(3);
    DIB noise(16, 16);
    test::FillRandom(noise, rng);
    EXPECT_TRUE(EncodeJpeg(noise, 100).empty());
    EXPECT_TRUE(EncodeJpeg(DIB(), 80).empty());

    // The encoder keeps its buffer between calls of different sizes.
    JpegEncoder encoder;
    DIB big(300, 200);
    test::FillSmooth(big);
    std::vector<std::uint8_t> first(encoder.Encode(picture, 80).begin(),
                                    encoder.Encode(picture, 80).end());
    EXPECT_FALSE(encoder.Encode(big, 95).empty());
    std::span<const std::uint8_t> again = encoder.Encode(picture, 80);
    EXPECT_EQ(std::vector<std::uint8_t>(again.begin(), again.end()), first);
}

TEST(Jpeg, ProgressiveFilesFromAnotherEncoderLoad) {
    TempDir dir;
    DIB picture(90, 70);
    test::FillSmooth(picture);
    test::WritePpm(dir.File("in.ppm"), picture);
    auto run = test::RunProcess({"/usr/bin/convert", dir.File("in.ppm"), "-interlace", "Plane",
                                 "-quality", "95", dir.File("progressive.jpg")},
                                dir.Path());
    ASSERT_EQ(run.exit_code, 0) << run.err;
    DIB loaded;
    ASSERT_EQ(LoadJpegIntoDIB(dir.File("progressive.jpg"), loaded), JpegResult::Loaded);
    EXPECT_LT(test::MeanAbsDifference(loaded, picture), 3.0);
}

TEST(Jpeg, BrokenFilesAreRefusedWithoutGiantAllocations) {
    TempDir dir;
    DIB picture(64, 64);
    test::FillSmooth(picture);
    const std::string good = AsString(EncodeJpeg(picture, 80));
    ASSERT_FALSE(good.empty());

    test::WriteFileBytes(dir.File("truncated.jpg"), good.substr(0, good.size() / 2));
    test::WriteFileBytes(dir.File("empty.jpg"), "");
    test::WriteFileBytes(dir.File("text.jpg"), "this is not a picture at all");
    for (const char* name : {"truncated.jpg", "empty.jpg", "text.jpg"}) {
        DIB dib;
        EXPECT_EQ(LoadJpegIntoDIB(dir.File(name), dib), JpegResult::Refused) << name;
    }

    // The frame header claims 60000 x 60000 pixels: refused before any pixel memory.
    std::string huge = good;
    std::size_t sof = huge.find("\xFF\xC0");
    ASSERT_NE(sof, std::string::npos);
    huge[sof + 5] = huge[sof + 7] = '\xEA';
    huge[sof + 6] = huge[sof + 8] = '\x60';
    DIB dib;
    EXPECT_FALSE(DecodeJpegIntoDIB(AsBytes(huge), dib));
    EXPECT_FALSE(dib.HasBitmap());
    EXPECT_TRUE(DecodeJpegIntoDIB(AsBytes(good), dib));

    // A camera frame's decoding refuses the same, and takes no memory for the huge one.
    std::vector<std::uint8_t> rows;
    int width = 0, height = 0;
    EXPECT_FALSE(DecodeJpegBottomUpBgr(AsBytes(huge), rows, width, height));
    EXPECT_TRUE(rows.empty());
    EXPECT_FALSE(
        DecodeJpegBottomUpBgr(AsBytes(good.substr(0, good.size() / 2)), rows, width, height));
    // The next good picture decodes at once: a failure leaves the decoder clean (it used to
    // refuse the next header once).
    EXPECT_TRUE(DecodeJpegIntoDIB(AsBytes(good), dib));
    EXPECT_FALSE(DecodeJpegIntoDIB(AsBytes(good.substr(0, good.size() - 40)), dib));
    EXPECT_TRUE(DecodeJpegBottomUpBgr(AsBytes(good), rows, width, height));
}

// A camera frame decodes into the rows a DIB of the picture holds: bottom-up, padded to 4
// bytes (an odd width makes the padding show).
TEST(Jpeg, CameraFramesDecodeIntoTheRowsOfAPicture) {
    DIB picture(61, 37);
    test::FillSmooth(picture);
    const std::string jpeg = AsString(EncodeJpeg(picture, 90));
    DIB expected;
    ASSERT_TRUE(DecodeJpegIntoDIB(AsBytes(jpeg), expected));
    std::vector<std::uint8_t> rows(3, 0xAA);
    int width = 0, height = 0;
    ASSERT_TRUE(DecodeJpegBottomUpBgr(AsBytes(jpeg), rows, width, height));
    EXPECT_EQ(width, 61);
    EXPECT_EQ(height, 37);
    const std::size_t pitch = 184; // 61 x 3 = 183, padded
    ASSERT_EQ(rows.size(), pitch * 37);
    for (int y = 0; y < height; ++y) {
        // Row 0 of the picture (its top) is the last row in memory.
        const std::uint8_t* row = rows.data() + pitch * static_cast<std::size_t>(height - 1 - y);
        EXPECT_TRUE(std::equal(row, row + 183, expected.scanline(y))) << "row " << y;
    }
}

} // namespace
} // namespace tess
