#pragma once

// A graphic item: a picture from a video feed, an image file, a URL, a plain rectangle or
// another canvas, cropped, stretched, rotated, given opacity, transparent colours and a
// shadow, and drawn at its location.

#include "document/canvas_item.h"
#include "document/graphic_source.h"
#include "imaging/transparent_color.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <string>

namespace tess {

class GraphicItem : public CanvasItem {
public:
    static constexpr double kDefaultInterval = 10;
    static constexpr std::int32_t kMaxColorProcessing = 5;
    static constexpr std::int32_t kMaxStretchedWidth = 3000;
    static constexpr std::int32_t kMaxStretchedHeight = 2000;
    static constexpr std::int32_t kMaxCrop = 16384; // no picture is larger
    static constexpr std::int32_t kMaxFeather = 1000;
    // The transparent-colour table holds this many entries at most.
    static constexpr std::int32_t kMaxTransparentColors = 16;
    static constexpr std::int32_t kLastCanvas = 20;

    explicit GraphicItem(SunTimes& sun);

    tess::SourceType SourceType() const { return source_type_; }
    void SetSourceType(std::int32_t value);
    const std::string& SourceFileName() const { return source_file_name_; }
    void SetSourceFileName(std::string value) {
        Mark(StoreIfChanged(source_file_name_, std::move(value)));
    }
    const std::string& SourceURL() const { return source_url_; }
    void SetSourceURL(std::string value) { Mark(StoreIfChanged(source_url_, std::move(value))); }
    const std::string& SourceVideoFeedName() const { return source_video_feed_name_; }
    void SetSourceVideoFeedName(std::string value) {
        Mark(StoreIfChanged(source_video_feed_name_, std::move(value)));
    }
    // The canvas slot (1..20) whose picture a canvas-image source shows.
    std::int32_t SourceCanvas() const { return source_canvas_; }
    void SetSourceCanvas(std::int32_t value) {
        Mark(StoreLimited(source_canvas_, value, 1, kLastCanvas));
    }

    // Fill of a rectangle source and of empty stretched pictures.
    std::uint32_t BackgroundColor() const { return background_color_; }
    void SetBackgroundColor(std::uint32_t value) {
        Mark(StoreIfChanged(background_color_, std::min(value, 0xFFFFFFu)));
    }
    // 0 none; 2..5 the colour-processing recipes.
    std::int32_t ColorProcessing() const { return color_processing_; }
    void SetColorProcessing(std::int32_t value) {
        Mark(StoreLimited(color_processing_, value, 0, kMaxColorProcessing));
    }

    // Margins in pixels cut from the source picture.
    std::int32_t CropLeft() const { return crop_left_; }
    void SetCropLeft(std::int32_t value) { Mark(StoreLimited(crop_left_, value, 0, kMaxCrop)); }
    std::int32_t CropRight() const { return crop_right_; }
    void SetCropRight(std::int32_t value) { Mark(StoreLimited(crop_right_, value, 0, kMaxCrop)); }
    std::int32_t CropTop() const { return crop_top_; }
    void SetCropTop(std::int32_t value) { Mark(StoreLimited(crop_top_, value, 0, kMaxCrop)); }
    std::int32_t CropBottom() const { return crop_bottom_; }
    void SetCropBottom(std::int32_t value) { Mark(StoreLimited(crop_bottom_, value, 0, kMaxCrop)); }

    bool Stretched() const { return stretched_; }
    void SetStretched(bool value) { Mark(StoreIfChanged(stretched_, value)); }
    std::int32_t StretchedWidth() const { return stretched_width_; }
    void SetStretchedWidth(std::int32_t value) {
        Mark(StoreLimited(stretched_width_, value, 1, kMaxStretchedWidth));
    }
    std::int32_t StretchedHeight() const { return stretched_height_; }
    void SetStretchedHeight(std::int32_t value) {
        Mark(StoreLimited(stretched_height_, value, 1, kMaxStretchedHeight));
    }
    // Blend pixels when stretching instead of repeating or dropping them.
    bool StretchedSmoothing() const { return stretched_smoothing_; }
    void SetStretchedSmoothing(bool value) { Mark(StoreIfChanged(stretched_smoothing_, value)); }

    // Per-pixel opacity from a picture file instead of the single Opacity value.
    bool OpacityUseFile() const { return opacity_use_file_; }
    void SetOpacityUseFile(bool value) { Mark(StoreIfChanged(opacity_use_file_, value)); }
    const std::string& OpacityFileName() const { return opacity_file_name_; }
    void SetOpacityFileName(std::string value) {
        Mark(StoreIfChanged(opacity_file_name_, std::move(value)));
    }
    // Either non-zero fades the item's edges.
    std::int32_t FeatherRadius() const { return feather_radius_; }
    void SetFeatherRadius(std::int32_t value) {
        Mark(StoreLimited(feather_radius_, value, 0, kMaxFeather));
    }
    std::int32_t FeatherWidth() const { return feather_width_; }
    void SetFeatherWidth(std::int32_t value) {
        Mark(StoreLimited(feather_width_, value, 0, kMaxFeather));
    }

    bool TransparentColorEnabled() const { return transparent_color_enabled_; }
    void SetTransparentColorEnabled(bool value) {
        Mark(StoreIfChanged(transparent_color_enabled_, value));
    }
    // Entries 1..count of the table are in use; there is always at least one.
    std::int32_t TransparentColorCount() const { return transparent_color_count_; }
    void SetTransparentColorCount(std::int32_t value) {
        Mark(StoreLimited(transparent_color_count_, value, 1, kMaxTransparentColors));
    }
    // Entry 1..kMaxTransparentColors; an index out of range raises a subscript error.
    const TransparentColor& TransparentColorEntry(std::int32_t entry) const;
    void SetTransparentColorEntry(std::int32_t entry, TransparentColor value);

    void LoadSettings(IniSection& keys) override;
    void SaveSettings(IniSection& keys) const override;

    // ---- Drawing ----
    // The item is due: sets its next time and looks for a new source picture (a changed
    // file, a new frame, a download started); true when the picture changed.
    bool Refresh(const CompositionServices& services, double now);
    // A video feed item whose feed has a picture it has not shown: due whatever its interval.
    bool FeedFrameWaiting(const CompositionServices& services) const;
    // Gives changed settings to the Image and takes in a downloaded picture; true when the
    // finished picture changed.
    bool UpdateImage();

private:
    tess::SourceType source_type_ = tess::SourceType::Rectangle;
    std::string source_file_name_;
    std::string source_url_;
    std::string source_video_feed_name_;
    std::int32_t source_canvas_ = 1;
    std::uint32_t background_color_ = 0;
    std::int32_t color_processing_ = 0;
    std::int32_t crop_left_ = 0, crop_right_ = 0, crop_top_ = 0, crop_bottom_ = 0;
    bool stretched_ = false;
    std::int32_t stretched_width_ = 320;
    std::int32_t stretched_height_ = 240;
    bool stretched_smoothing_ = false;
    bool opacity_use_file_ = false;
    std::string opacity_file_name_;
    std::int32_t feather_radius_ = 0;
    std::int32_t feather_width_ = 0;
    bool transparent_color_enabled_ = false;
    std::int32_t transparent_color_count_ = 1;
    std::array<TransparentColor, kMaxTransparentColors> transparent_colors_{};

    GraphicSource source_;
};

} // namespace tess
