#include "imaging/bitmaps.h"

#include "support/temp_dir.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <sstream>

namespace tess::test {

Bgr PixelAt(const DIB& dib, int x, int y) {
    const std::uint8_t* p = dib.scanline(y) + x * 3;
    return {p[0], p[1], p[2]};
}

void SetPixel(DIB& dib, int x, int y, Bgr color) {
    std::uint8_t* p = dib.scanline(y) + x * 3;
    p[0] = color.b;
    p[1] = color.g;
    p[2] = color.r;
}

void FillRandom(DIB& dib, std::mt19937& rng) {
    for (std::size_t i = 0; i < dib.BufferSize(); ++i)
        dib.DIBPtr()[i] = static_cast<std::uint8_t>(rng());
}

void FillFromPalette(DIB& dib, std::mt19937& rng, const std::uint32_t* colors, int count) {
    for (int y = 0; y < dib.Height(); ++y) {
        for (int x = 0; x < dib.Width(); ++x) {
            std::uint32_t c = colors[rng() % count];
            SetPixel(dib, x, y,
                     {static_cast<std::uint8_t>(c >> 16), static_cast<std::uint8_t>(c >> 8),
                      static_cast<std::uint8_t>(c)});
        }
    }
}

bool SamePixels(const DIB& a, const DIB& b) {
    if (a.Width() != b.Width() || a.Height() != b.Height()) return false;
    for (int y = 0; y < a.Height(); ++y) {
        for (int i = 0; i < a.Width() * 3; ++i) {
            if (a.scanline(y)[i] != b.scanline(y)[i]) return false;
        }
    }
    return true;
}

double MeanAbsDifference(const DIB& a, const DIB& b) {
    double sum = 0;
    for (int y = 0; y < a.Height(); ++y) {
        for (int i = 0; i < a.Width() * 3; ++i)
            sum += std::abs(a.scanline(y)[i] - b.scanline(y)[i]);
    }
    return sum / (3.0 * a.Width() * a.Height());
}

bool ReadPpm(const std::string& path, DIB& dib) {
    std::string bytes = ReadFileBytes(path);
    std::istringstream in(bytes);
    std::string magic;
    int width = 0, height = 0, maxval = 0;
    in >> magic >> width >> height >> maxval;
    if (magic != "P6" || maxval != 255 || width <= 0 || height <= 0) return false;
    std::size_t start = static_cast<std::size_t>(in.tellg()) + 1;
    if (bytes.size() < start + std::size_t(width) * height * 3) return false;
    dib.SetWidthHeight(width, height);
    const char* p = bytes.data() + start;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x, p += 3) {
            SetPixel(dib, x, y,
                     {static_cast<std::uint8_t>(p[2]), static_cast<std::uint8_t>(p[1]),
                      static_cast<std::uint8_t>(p[0])});
        }
    }
    return true;
}

void WritePpm(const std::string& path, const DIB& dib) {
    std::string out =
        "P6\n" + std::to_string(dib.Width()) + " " + std::to_string(dib.Height()) + "\n255\n";
    for (int y = 0; y < dib.Height(); ++y) {
        for (int x = 0; x < dib.Width(); ++x) {
            Bgr c = PixelAt(dib, x, y);
            out += static_cast<char>(c.r);
            out += static_cast<char>(c.g);
            out += static_cast<char>(c.b);
        }
    }
    WriteFileBytes(path, out);
}

void FillSmooth(DIB& dib) {
    const double w = dib.Width(), h = dib.Height();
    for (int y = 0; y < dib.Height(); ++y) {
        for (int x = 0; x < dib.Width(); ++x) {
            double dx = x - w / 2, dy = y - h / 2;
            double ring = 127.5 + 127.5 * std::cos(std::sqrt(dx * dx + dy * dy) / 9.0);
            SetPixel(dib, x, y,
                     {static_cast<std::uint8_t>(255.0 * x / w), static_cast<std::uint8_t>(ring),
                      static_cast<std::uint8_t>(255.0 * y / h)});
        }
    }
}

DIB Solid(int width, int height, std::uint32_t color) {
    DIB dib(width, height);
    dib.Clear(color);
    return dib;
}

Box LitBox(const DIB& dib) {
    Box box;
    for (int y = 0; y < dib.Height(); ++y) {
        for (int x = 0; x < dib.Width(); ++x) {
            if (PixelAt(dib, x, y) == Bgr{}) continue;
            box.left = std::min(box.left, x), box.right = std::max(box.right, x);
            box.top = std::min(box.top, y), box.bottom = std::max(box.bottom, y);
        }
    }
    return box;
}

} // namespace tess::test
