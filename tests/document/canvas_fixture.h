#pragma once

// A portfolio in a fresh folder with a real text renderer, for tests that compose canvases
// and run update ticks at chosen times.

#include "document/portfolio.h"
#include "imaging/bitmaps.h"
#include "imaging/bmp_writer.h"
#include "imaging/text/text_renderer.h"
#include "settings/vb_date.h"
#include "support/fixed_sun.h"
#include "support/temp_dir.h"

#include <string>
#include <string_view>

#include <gtest/gtest.h>

namespace tess::test {

// 2024-06-21 at the given time of day.
inline double At(int hour, int minute, double second) {
    return DateSerial(2024, 6, 21) + (hour * 3600 + minute * 60 + second) / 86400.0;
}

inline Bgr Color(std::uint32_t bgr) { // 0x00BBGGRR, as the settings files keep colours
    return {static_cast<std::uint8_t>(bgr >> 16), static_cast<std::uint8_t>(bgr >> 8),
            static_cast<std::uint8_t>(bgr)};
}

inline bool Near(Bgr a, Bgr b, int tolerance) {
    return std::abs(a.b - b.b) <= tolerance && std::abs(a.g - b.g) <= tolerance &&
           std::abs(a.r - b.r) <= tolerance;
}

class CanvasFixture : public ::testing::Test {
protected:
    CanvasFixture() { portfolio.Composition().text_renderer = &renderer; }

    // A canvas in use in `slot`, with a file name in the test folder (not written yet).
    Canvas& UseCanvas(int slot, int width, int height, std::uint32_t background) {
        Canvas& canvas = portfolio.Canvas(slot);
        canvas.SetFileName(dir.File("canvas" + std::to_string(slot) + ".can"));
        canvas.SetEnabled(true);
        canvas.SetWidthHeight(width, height);
        canvas.SetBackgroundColor(background);
        return canvas;
    }

    static GraphicItem& AddRectangle(Canvas& canvas, int index, int layer, int x, int y, int width,
                                     int height, std::uint32_t color) {
        GraphicItem& item = canvas.AddGraphic(index);
        item.SetEnabled(true);
        item.SetSourceType(static_cast<int>(SourceType::Rectangle));
        item.SetBackgroundColor(color);
        item.SetStretchedWidth(width);
        item.SetStretchedHeight(height);
        item.SetLayer(layer);
        item.SetLocationX(x);
        item.SetLocationY(y);
        return item;
    }

    // A flat picture file of the given colour.
    std::string WritePicture(std::string_view name, int width, int height, std::uint32_t color) {
        DIB picture(width, height);
        picture.Clear(color);
        const std::vector<std::uint8_t> bmp = EncodeBmp(picture);
        const std::string path = dir.File(name);
        WriteFileBytes(path, std::string(reinterpret_cast<const char*>(bmp.data()), bmp.size()));
        return path;
    }

    const DIB& Picture(int slot) { return portfolio.Canvas(slot).ComposedDIB(); }
    Bgr PixelOf(int slot, int x, int y) { return PixelAt(Picture(slot), x, y); }

    TempDir dir;
    ScopedCurrentDir in_dir{dir.Path()};
    FixedSun sun;
    TextRenderer renderer;
    Portfolio portfolio{sun};
};

} // namespace tess::test
