#include "imaging/bitmaps.h"
#include "imaging/jpeg.h"
#include "imaging/picture.h"
#include "imaging/picture_encoders.h"
#include "support/run_process.h"
#include "support/temp_dir.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace tess {
namespace {

using test::Bgr;
using test::PixelAt;
using test::TempDir;

// Runs ImageMagick's own convert (not the stand-in that may come first on PATH).
void Convert(const TempDir& dir, std::vector<std::string> args) {
    args.insert(args.begin(), "/usr/bin/convert");
    auto run = test::RunProcess(args, dir.Path());
    ASSERT_EQ(run.exit_code, 0) << run.err;
}

// A picture of a few colours, so palette formats keep it exactly.
DIB FewColours(int width, int height) {
    static const std::uint32_t colors[] = {0x000000, 0xFFFFFF, 0x0000FF, 0x00FF00,
                                           0xFF0000, 0x80C0E0, 0x204060};
    std::mt19937 rng(11);
    DIB dib(width, height);
    test::FillFromPalette(dib, rng, colors, 7);
    return dib;
}

// A grey mask with every level from 0 to 255 along the rows.
DIB Mask(int width, int height) {
    DIB dib(width, height);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            auto v = static_cast<std::uint8_t>((x * 37 + y * 11) % 256);
            test::SetPixel(dib, x, y, {v, v, v});
        }
    }
    return dib;
}

void WritePgm(const std::string& path, const DIB& grey) {
    std::string out =
        "P5\n" + std::to_string(grey.Width()) + " " + std::to_string(grey.Height()) + "\n255\n";
    for (int y = 0; y < grey.Height(); ++y) {
        for (int x = 0; x < grey.Width(); ++x)
            out += static_cast<char>(PixelAt(grey, x, y).g);
    }
    test::WriteFileBytes(path, out);
}

TEST(Picture, LosslessFilesFromAnotherEncoderLoadExactly) {
    TempDir dir;
    const DIB source = FewColours(23, 17);
    test::WritePpm(dir.File("in.ppm"), source);
    const std::vector<std::vector<std::string>> makes = {
        {"in.ppm", "out.png"},
        {"in.ppm", "out.gif"},
        {"in.ppm", "-interlace", "Line", "interlaced.gif"},
        {"in.ppm", "-define", "webp:lossless=true", "out.webp"},
        {"in.ppm", "out.bmp"},                              // 24 bits, V5 header
        {"in.ppm", "BMP3:old.bmp"},                         // 24 bits, info header
        {"in.ppm", "-type", "Palette", "BMP3:palette.bmp"}, // 8 bits with a palette
        {"in.ppm", "-type", "Palette", "-colors", "16", "-define", "bmp:format=bmp3",
         "BMP3:palette4.bmp"},
    };
    for (const auto& make : makes) {
        Convert(dir, make);
        const std::string file = make.back().substr(make.back().find(':') + 1);
        Picture picture;
        ASSERT_EQ(picture.LoadFile(dir.File(file)), PictureStatus::Ok) << make.back();
        EXPECT_EQ(picture.Width(), 23) << make.back();
        EXPECT_EQ(picture.Height(), 17) << make.back();
        EXPECT_TRUE(test::SamePixels(picture.Pixels(), source)) << make.back();
        EXPECT_FALSE(picture.HasOpacity()) << make.back();
    }
}

TEST(Picture, LossyWebpFromAnotherEncoderLoadsClosely) {
    TempDir dir;
    DIB source(48, 32);
    test::FillSmooth(source);
    test::WritePpm(dir.File("in.ppm"), source);
    Convert(dir, {"in.ppm", "-quality", "90", "lossy.webp"});
    Picture picture;
    ASSERT_EQ(picture.LoadFile(dir.File("lossy.webp")), PictureStatus::Ok);
    EXPECT_EQ(picture.Width(), 48);
    EXPECT_EQ(picture.Height(), 32);
    EXPECT_LT(test::MeanAbsDifference(picture.Pixels(), source), 4.0);
    EXPECT_FALSE(picture.HasOpacity());
}

TEST(Picture, OddBitDepthsOfBitmapsLoad) {
    TempDir dir;
    DIB source(13, 5); // black and white only, channels that 5 bits keep exactly
    for (int y = 0; y < 5; ++y) {
        for (int x = 0; x < 13; ++x) {
            std::uint8_t v = (x * y + x) % 3 ? 255 : 0;
            test::SetPixel(source, x, y, {v, v, v});
        }
    }
    test::WritePpm(dir.File("in.ppm"), source);
    Convert(dir, {"in.ppm", "-monochrome", "BMP3:mono.bmp"});
    Convert(dir, {"in.ppm", "-define", "bmp:subtype=RGB555", "rgb555.bmp"});
    Convert(dir, {"in.ppm", "-define", "bmp:subtype=RGB565", "rgb565.bmp"});
    for (const char* name : {"mono.bmp", "rgb555.bmp", "rgb565.bmp"}) {
        Picture picture;
        ASSERT_EQ(picture.LoadFile(dir.File(name)), PictureStatus::Ok) << name;
        EXPECT_TRUE(test::SamePixels(picture.Pixels(), source)) << name;
    }
}

TEST(Picture, AlphaChannelsBecomeTheOpacityBitmap) {
    TempDir dir;
    const DIB source = FewColours(19, 11);
    const DIB mask = Mask(19, 11);
    test::WritePpm(dir.File("in.ppm"), source);
    WritePgm(dir.File("mask.pgm"), mask);
    const std::vector<std::string> base = {"in.ppm",   "mask.pgm",    "-alpha",    "off",
                                           "-compose", "CopyOpacity", "-composite"};
    for (std::vector<std::string> tail : std::vector<std::vector<std::string>>{
             {"PNG32:alpha.png"},
             {"-define", "webp:lossless=true", "-define", "webp:exact=true", "alpha.webp"},
             {"alpha.bmp"}}) {
        std::vector<std::string> args = base;
        args.insert(args.end(), tail.begin(), tail.end());
        Convert(dir, args);
        Picture picture;
        const std::string file = tail.back().substr(tail.back().find(':') + 1);
        ASSERT_EQ(picture.LoadFile(dir.File(file)), PictureStatus::Ok) << tail.back();
        ASSERT_TRUE(picture.HasOpacity()) << tail.back();
        EXPECT_TRUE(test::SamePixels(picture.Opacity(), mask)) << tail.back();
        // Where the mask leaves anything visible, the colour is the source's.
        for (int y = 0; y < 11; ++y) {
            for (int x = 0; x < 19; ++x) {
                if (PixelAt(mask, x, y).g == 0) continue;
                ASSERT_EQ(PixelAt(picture.Pixels(), x, y), PixelAt(source, x, y))
                    << tail.back() << " at " << x << "," << y;
            }
        }
    }
    // A GIF's transparent colour is transparent, everything else opaque.
    Convert(dir, {"in.ppm", "-transparent", "#0000FF", "transparent.gif"});
    Picture gif;
    ASSERT_EQ(gif.LoadFile(dir.File("transparent.gif")), PictureStatus::Ok);
    ASSERT_TRUE(gif.HasOpacity());
    for (int y = 0; y < 11; ++y) {
        for (int x = 0; x < 19; ++x) {
            bool blue = PixelAt(source, x, y) == Bgr{0xFF, 0, 0};
            ASSERT_EQ(PixelAt(gif.Opacity(), x, y).g, blue ? 0 : 255) << x << "," << y;
        }
    }
}

// A PNG chunk with its checksum, so the reader gets as far as the size check.
std::string PngChunk(const std::string& type, const std::string& data) {
    auto be32 = [](std::uint32_t v) {
        return std::string{char(v >> 24), char(v >> 16), char(v >> 8), char(v)};
    };
    std::string body = type + data;
    std::uint32_t crc = 0xFFFFFFFF;
    for (unsigned char c : body) {
        crc ^= c;
        for (int k = 0; k < 8; ++k)
            crc = (crc >> 1) ^ (0xEDB88320 & (0u - (crc & 1)));
    }
    return be32(static_cast<std::uint32_t>(data.size())) + body + be32(~crc);
}

TEST(Picture, BadFilesGiveAStatusAndLeaveThePictureAlone) {
    TempDir dir;
    const DIB source = FewColours(30, 20);
    test::WritePpm(dir.File("in.ppm"), source);
    for (const char* name : {"t.png", "t.gif", "t.webp", "t.bmp", "t.jpg"})
        Convert(dir, {"in.ppm", name});

    Picture picture;
    ASSERT_EQ(picture.LoadFile(dir.File("t.png")), PictureStatus::Ok);
    for (const char* name : {"t.png", "t.gif", "t.webp", "t.bmp", "t.jpg"}) {
        std::string bytes = test::ReadFileBytes(dir.File(name));
        test::WriteFileBytes(dir.File("cut"), bytes.substr(0, bytes.size() * 2 / 3));
        EXPECT_EQ(picture.LoadFile(dir.File("cut")), PictureStatus::Corrupt) << name;
        EXPECT_TRUE(test::SamePixels(picture.Pixels(), source)) << name; // last good kept
    }
    test::WriteFileBytes(dir.File("empty.png"), "");
    EXPECT_EQ(picture.LoadFile(dir.File("empty.png")), PictureStatus::Empty);
    test::WriteFileBytes(dir.File("text.png"), "hello, world");
    EXPECT_EQ(picture.LoadFile(dir.File("text.png")), PictureStatus::UnknownFormat);
    EXPECT_EQ(picture.LoadFile(dir.File("missing.png")), PictureStatus::Missing);
    EXPECT_EQ(picture.Width(), 30);

    // Declared sizes far beyond the limits are refused before any pixel memory is taken.
    std::string ihdr = std::string("\x00\x01\x86\xA0\x00\x01\x86\xA0", 8) + "\x08\x02" +
                       std::string(3, '\0'); // 100000 x 100000, 8-bit RGB
    std::string png =
        "\x89PNG\r\n\x1A\n" + PngChunk("IHDR", ihdr) + PngChunk("IDAT", "") + PngChunk("IEND", "");
    test::WriteFileBytes(dir.File("huge.png"), png);
    EXPECT_EQ(picture.LoadFile(dir.File("huge.png")), PictureStatus::TooLarge);

    std::string bmp = test::ReadFileBytes(dir.File("t.bmp"));
    bmp[18] = bmp[22] = '\xA0', bmp[19] = bmp[23] = '\x86', bmp[20] = bmp[24] = '\x01';
    test::WriteFileBytes(dir.File("huge.bmp"), bmp);
    EXPECT_EQ(picture.LoadFile(dir.File("huge.bmp")), PictureStatus::TooLarge);

    std::string gif = test::ReadFileBytes(dir.File("t.gif"));
    gif[6] = gif[7] = gif[8] = gif[9] = '\xFF'; // a 65535 x 65535 logical screen
    test::WriteFileBytes(dir.File("huge.gif"), gif);
    EXPECT_EQ(picture.LoadFile(dir.File("huge.gif")), PictureStatus::TooLarge);

    std::string zero = test::ReadFileBytes(dir.File("t.bmp"));
    zero[18] = zero[19] = zero[20] = zero[21] = 0; // width 0
    test::WriteFileBytes(dir.File("zero.bmp"), zero);
    EXPECT_EQ(picture.LoadFile(dir.File("zero.bmp")), PictureStatus::Empty);
    EXPECT_TRUE(test::SamePixels(picture.Pixels(), source));
}

} // namespace
} // namespace tess

namespace tess {
namespace {

// The program-wide pixel limit refuses a picture from its header, in every format and by
// either way a file is read, and names the limit in its message.
TEST(Picture, APictureOverThePixelLimitIsRefusedBeforeDecoding) {
    test::TempDir dir;
    DIB large(60, 50);
    large.Clear(0x336699);
    const std::vector<std::uint8_t> png = EncodePng(large), jpeg = EncodeJpeg(large, 80);
    test::WriteFileBytes(dir.File("large.png"), std::string(png.begin(), png.end()));
    test::WriteFileBytes(dir.File("large.jpg"), std::string(jpeg.begin(), jpeg.end()));

    struct Restore {
        ~Restore() { SetMaxPicturePixels(kDefaultMaxPicturePixels); }
    } restore;
    SetMaxPicturePixels(60 * 50 - 1);
    Picture picture;
    EXPECT_EQ(picture.LoadFile(dir.File("large.png")), PictureStatus::TooLarge);
    EXPECT_EQ(picture.LoadBytes(jpeg), PictureStatus::TooLarge);
    DIB decoded;
    EXPECT_EQ(LoadJpegIntoDIB(dir.File("large.jpg"), decoded), JpegResult::TooLarge);
    EXPECT_FALSE(decoded.HasBitmap());
    EXPECT_NE(std::string(PictureStatusText(PictureStatus::TooLarge)).find("MaxPicturePixels"),
              std::string::npos);

    SetMaxPicturePixels(60 * 50);
    EXPECT_EQ(picture.LoadFile(dir.File("large.png")), PictureStatus::Ok);
    EXPECT_EQ(LoadJpegIntoDIB(dir.File("large.jpg"), decoded), JpegResult::Loaded);
}

} // namespace
} // namespace tess
