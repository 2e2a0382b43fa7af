#include "imaging/picture_decoders.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <vector>

#include <gif_lib.h>

namespace tess {

namespace {

struct Reader {
    Bytes file;
    std::size_t at = 0;
};

int ReadFromMemory(GifFileType* gif, GifByteType* out, int wanted) {
    auto* reader = static_cast<Reader*>(gif->UserData);
    std::size_t n = std::min<std::size_t>(wanted, reader->file.size() - reader->at);
    std::memcpy(out, reader->file.data() + reader->at, n);
    reader->at += n;
    return static_cast<int>(n);
}

struct GifCloser {
    void operator()(GifFileType* gif) const {
        int error = 0;
        DGifCloseFile(gif, &error);
    }
};

// Rows of an interlaced frame arrive in four passes: every 8th from 0, every 8th from 4,
// every 4th from 2, every 2nd from 1.
std::vector<int> RowOrder(int height, bool interlaced) {
    std::vector<int> order;
    order.reserve(height);
    if (!interlaced) {
        for (int y = 0; y < height; ++y)
            order.push_back(y);
        return order;
    }
    const int start[] = {0, 4, 2, 1}, step[] = {8, 8, 4, 2};
    for (int pass = 0; pass < 4; ++pass) {
        for (int y = start[pass]; y < height; y += step[pass])
            order.push_back(y);
    }
    return order;
}

// The transparent palette index of a graphic-control block, or -1.
int TransparentIndex(GifFileType* gif, int code, GifByteType* block) {
    int index = -1;
    if (code == GRAPHICS_EXT_FUNC_CODE && block && block[0] >= 4 && (block[1] & 1))
        index = block[4];
    while (block) {
        if (DGifGetExtensionNext(gif, &block) == GIF_ERROR) return -2;
    }
    return index;
}

} // namespace

// The first frame of the file on its logical screen; what the frame leaves uncovered, and
// its transparent colour, become transparent.
PictureStatus DecodeGif(Bytes file, DIB& pixels, DIB& opacity) {
    Reader reader{file};
    int error = 0;
    std::unique_ptr<GifFileType, GifCloser> gif(DGifOpen(&reader, ReadFromMemory, &error));
    if (!gif) return PictureStatus::Corrupt;
    const int width = gif->SWidth, height = gif->SHeight;
    PictureStatus size = CheckDeclaredSize(width, height, file.size(), kGifPixelsPerByte);
    if (size != PictureStatus::Ok) return size;

    int transparent = -1;
    for (;;) {
        GifRecordType type;
        if (DGifGetRecordType(gif.get(), &type) == GIF_ERROR) return PictureStatus::Corrupt;
        if (type == TERMINATE_RECORD_TYPE) return PictureStatus::Empty;
        if (type == EXTENSION_RECORD_TYPE) {
            int code = 0;
            GifByteType* block = nullptr;
            if (DGifGetExtension(gif.get(), &code, &block) == GIF_ERROR)
                return PictureStatus::Corrupt;
            int index = TransparentIndex(gif.get(), code, block);
            if (index == -2) return PictureStatus::Corrupt;
            if (index >= 0) transparent = index;
            continue;
        }
        if (type == IMAGE_DESC_RECORD_TYPE) break;
    }
    if (DGifGetImageDesc(gif.get()) == GIF_ERROR) return PictureStatus::Corrupt;
    const GifImageDesc frame = gif->Image;
    const ColorMapObject* map = frame.ColorMap ? frame.ColorMap : gif->SColorMap;
    if (!map || CheckDeclaredSize(frame.Width, frame.Height) != PictureStatus::Ok)
        return PictureStatus::Corrupt;

    if (!pixels.SetWidthHeight(width, height)) return PictureStatus::TooLarge;
    pixels.Clear(0);
    const bool covers =
        frame.Left == 0 && frame.Top == 0 && frame.Width >= width && frame.Height >= height;
    const bool needs_opacity = transparent >= 0 || !covers;
    opacity.SetWidthHeight(needs_opacity ? width : 0, needs_opacity ? height : 0);
    opacity.Clear(0);

    std::vector<GifPixelType> line(frame.Width);
    for (int y : RowOrder(frame.Height, frame.Interlace)) {
        if (DGifGetLine(gif.get(), line.data(), frame.Width) == GIF_ERROR)
            return PictureStatus::Corrupt;
        const int row = frame.Top + y;
        if (row < 0 || row >= height) continue;
        std::uint8_t* out = pixels.scanline(row);
        std::uint8_t* alpha = needs_opacity ? opacity.scanline(row) : nullptr;
        for (int x = 0; x < frame.Width; ++x) {
            const int column = frame.Left + x;
            if (column < 0 || column >= width) continue;
            const int index = line[x];
            if (index == transparent) continue;
            const GifColorType c = index < map->ColorCount ? map->Colors[index] : GifColorType{};
            out[column * 3] = c.Blue;
            out[column * 3 + 1] = c.Green;
            out[column * 3 + 2] = c.Red;
            if (alpha) std::memset(alpha + column * 3, 255, 3);
        }
    }
    return PictureStatus::Ok;
}

} // namespace tess
