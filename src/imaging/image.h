#pragma once

// The picture of one Text or Graphic item, from its source to the finished item: load, colour
// processing, crop, stretch, rotation, per-pixel opacity, shadow, and the merge into a
// canvas layer. Each stage keeps its own bitmap and a dirty flag; a property change marks
// only the stages it affects, and the "get" operations rebuild only what is dirty, so an
// unchanged item is merged again straight from its finished bitmap.
//
// Positions given to MergeImageTo and MergeShadowTo are the item's top-left corner counted
// from the destination's top-left corner.

#include "imaging/alignment.h"
#include "imaging/dib.h"
#include "imaging/jpeg.h"
#include "imaging/kernels.h"
#include "imaging/picture.h"
#include "imaging/source_type.h"
#include "imaging/transparent_color.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tess {

class Image {
public:
    // Limits of the crop and stretch sizes.
    static constexpr int kMaxWidth = 3000;
    static constexpr int kMaxHeight = 2000;

    Image();

    // ---- Properties; each setter marks dirty only the stages a real change affects. ----
    const std::string& PictureFileName() const { return picture_file_name_; }
    void SetPictureFileName(std::string_view name);
    SourceType PictureType() const { return picture_type_; }
    void SetPictureType(SourceType type);
    std::uint32_t BackgroundColor() const { return background_color_; }
    void SetBackgroundColor(std::uint32_t color);
    // Kept for the owner's settings; pictures always take the size of what they load.
    bool AutoSize() const { return auto_size_; }
    void SetAutoSize(bool value) { auto_size_ = value; }
    int ColorProcessing() const { return color_processing_; }
    void SetColorProcessing(int code);

    void SetCrop(int left, int right, int top, int bottom);
    int CropLeft() const { return crop_left_; }
    int CropRight() const { return crop_right_; }
    int CropTop() const { return crop_top_; }
    int CropBottom() const { return crop_bottom_; }

    bool StretchEnabled() const { return stretch_enabled_; }
    void SetStretchEnabled(bool value);
    void SetStretchedWidthHeight(int width, int height);
    int StretchedWidth() const { return stretched_width_; }
    int StretchedHeight() const { return stretched_height_; }
    bool StretchSmoothing() const { return stretch_smoothing_; }
    void SetStretchSmoothing(bool value);

    float RotationAngle() const { return rotation_angle_; }
    void SetRotationAngle(float degrees);
    int Alignment() const { return alignment_; }
    void SetAlignment(int code);

    int OpacityValue() const { return opacity_value_; }
    void SetOpacityValue(int percent);
    tess::OpacityMode OpacityMode() const { return opacity_mode_; }
    void SetOpacityMode(tess::OpacityMode mode);
    int OpacityType() const { return opacity_type_; }
    void SetOpacityType(int type);
    const std::string& OpacityFileName() const { return opacity_file_name_; }
    void SetOpacityFileName(std::string_view name);
    int FeatherWidth() const { return feather_width_; }
    void SetFeatherWidth(int pixels);
    int FeatherRadius() const { return feather_radius_; }
    void SetFeatherRadius(int pixels);

    bool TransparentEnabled() const { return transparent_enabled_; }
    void SetTransparentEnabled(bool value);
    const std::vector<TransparentColor>& TransparentColorTable() const { return colors_; }
    int TransparentColorCount() const { return static_cast<int>(colors_.size()); }
    void SetTransparentColorTable(std::vector<TransparentColor> colors);

    bool ShadowEnabled() const { return shadow_enabled_; }
    void SetShadowEnabled(bool value);
    int ShadowSize() const { return shadow_size_; }
    void SetShadowSize(int size);

    // ---- The source. ----
    // Loads PictureFileName: JPEG names through the JPEG reader (its result is returned),
    // anything else through Picture (then NotJpeg). A broken or missing file keeps the last
    // good picture.
    JpegResult LoadPicture();
    // The source file is read again at the next "get" (it changed on disk).
    void ReloadPicture();
    // The owner draws the source itself (text, video frames, other canvases): SetGraphics
    // sizes the picture bitmap and hands it out; GraphicsOpacity hands out a same-sized
    // opacity bitmap (white opaque) for owners whose drawing has coverage; LoadIntoPictureDIB
    // then takes what was drawn as the new source.
    DIB& SetGraphics(int width, int height);
    DIB& GraphicsOpacity();
    void LoadIntoPictureDIB();
    // Takes over finished bitmaps (an empty opacity: none).
    void LoadIntoPictureDIB(DIB&& pixels, DIB&& opacity);
    // Copies a bitmap the owner keeps, such as a video frame.
    void LoadIntoPictureDIB(const DIB& pixels, const DIB* opacity = nullptr);
    void ClearPicture();

    // ---- The stages. ----
    const DIB& GetImageDIB();
    const DIB& GetCroppedDIB();
    const DIB& GetStretchedDIB();
    const DIB& GetRotatedDIB();
    const DIB& GetFinalizedDIB();
    // The per-pixel opacity of the finished item, or null when it has none.
    const DIB* FinalOpacityDIB();

    int Width() const { return picture_.Width(); } // of the source
    int Height() const { return picture_.Height(); }
    int FinalWidth() { return GetFinalizedDIB().Width(); }
    int FinalHeight() { return GetFinalizedDIB().Height(); }
    const AlignmentOffsets& Offsets() const { return offsets_; }

    // ---- Merging, once per composition of the canvas: shadows first, then items. ----
    // The rectangle MergeShadowTo(destination, x, y) may touch, in the same top-left
    // coordinates; empty when the item casts no shadow.
    struct Bounds {
        int left = 0, top = 0, width = 0, height = 0;
        bool Empty() const { return width <= 0 || height <= 0; }
    };
    Bounds ShadowBounds(int x, int y);
    // The rectangle MergeImageTo(destination, x, y) may touch.
    Bounds ImageBounds(int x, int y);
    void MergeShadowTo(DIB& destination, int x, int y);
    void MergeImageTo(DIB& destination, int x, int y);
    // True when MergeImageTo at (x, y) would replace every pixel of a width x height
    // destination: an opaque picture, without transparent colours, covering it whole.
    bool CoversOpaquely(int width, int height, int x, int y);
    // True when MergeImageTo at (x, y) would copy a width x height source picture as it is
    // onto a destination of that size: no stage changes a pixel, nothing shows through. Read
    // from the settings alone, so it holds for the next picture of that size too.
    bool PassesPictureThrough(int width, int height, int x, int y) const;

private:
    void MarkFrom(bool image, bool crop);
    void LoadImageDIB();
    void LoadCroppedDIB();
    void LoadStretchedDIB();
    void LoadRotatedDIB();
    void DoOpacityStuff();
    void LoadShadowDIB();
    void ReportLoadProblem(const std::string& problem);

    // The latest bitmap in use up to each stage, and the source's own opacity alongside.
    const DIB& ImageToWorkFrom() const;
    const DIB& CroppedToWorkFrom() const;
    const DIB& StretchedToWorkFrom() const;
    const DIB* SourceOpacityToWorkFrom() const;
    bool Cropping() const;
    bool Rotating() const { return rotation_angle_ != 0; }
    bool Feathering() const { return feather_width_ != 0 || feather_radius_ != 0; }
    bool PerPixelOpacity() const;
    bool UsesOpacityFile() const;
    int Level() const;
    std::uint32_t FirstTransparentColor() const;

    // Properties.
    std::string picture_file_name_;
    SourceType picture_type_ = SourceType::GraphicFile;
    std::uint32_t background_color_ = 0;
    bool auto_size_ = false;
    int color_processing_ = 0;
    int crop_left_ = 0, crop_right_ = 0, crop_top_ = 0, crop_bottom_ = 0;
    bool stretch_enabled_ = false;
    int stretched_width_ = 0, stretched_height_ = 0;
    bool stretch_smoothing_ = false;
    float rotation_angle_ = 0;
    int alignment_ = 0;
    int opacity_value_ = 100;
    tess::OpacityMode opacity_mode_ = kOpacityMerge;
    int opacity_type_ = 0;
    std::string opacity_file_name_;
    int feather_width_ = 0, feather_radius_ = 0;
    bool transparent_enabled_ = false;
    std::vector<TransparentColor> colors_{TransparentColor{}};
    bool shadow_enabled_ = false;
    int shadow_size_ = 1;

    // Bitmaps, each with its dirty flag.
    Picture picture_;
    // What the next JPEG frame is decoded into; kept between frames only up to this size.
    static constexpr std::int64_t kMaxSparePixels = 2'000'000;
    DIB spare_;
    DIB image_, cropped_, stretched_, rotated_;
    DIB cropped_alpha_, stretched_alpha_; // the source's opacity through crop and stretch
    DIB opacity_, rotated_opacity_, shadow_;
    bool picture_dirty_ = true, image_dirty_ = true, cropped_dirty_ = true;
    bool stretched_dirty_ = true, rotated_dirty_ = true, rotated_opacity_dirty_ = true;
    bool opacity_dirty_ = true, shadow_dirty_ = true;
    bool stretched_in_use_ = false; // the stretched bitmap holds the current stretch
    bool image_in_picture_ = false; // the image stage is the picture itself
    AlignmentOffsets offsets_;
    std::string last_problem_; // so a file that stays broken is reported once
};

} // namespace tess
