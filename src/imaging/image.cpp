// Image: properties, the source and the picture stages (image, crop, stretch, rotation).
// Opacity, shadow and merging are in image_merge.cpp.

#include "imaging/image.h"

#include "base/error.h"
#include "base/errors_txt.h"
#include "base/log.h"
#include "base/text.h"
#include "imaging/blit.h"
#include "imaging/kernels.h"
#include "imaging/rotation.h"
#include "settings/limit.h"

#include <cstring>
#include <utility>

namespace tess {

Image::Image() = default;

// ---- Dirty flags ----

// `image`: the image stage and all after it; `crop`: the crop and all after it. Either way
// the stretch, opacity, rotation and shadow follow.
void Image::MarkFrom(bool image, bool crop) {
    if (image) image_dirty_ = true;
    if (image || crop) cropped_dirty_ = true;
    stretched_dirty_ = rotated_dirty_ = rotated_opacity_dirty_ = true;
    opacity_dirty_ = shadow_dirty_ = true;
}

// ---- Properties ----

void Image::SetPictureFileName(std::string_view name) {
    if (name == picture_file_name_) return;
    picture_file_name_ = std::string(name);
    picture_dirty_ = true;
    MarkFrom(true, true);
}

void Image::SetPictureType(SourceType type) {
    if (type == picture_type_) return;
    picture_type_ = type;
    picture_dirty_ = true;
    MarkFrom(true, true);
}

void Image::SetBackgroundColor(std::uint32_t color) {
    if (color == background_color_) return;
    background_color_ = color;
    // It fills a rectangle's image, and a stretch of an empty picture.
    MarkFrom(picture_type_ == SourceType::Rectangle, picture_type_ == SourceType::Rectangle);
}

void Image::SetColorProcessing(int code) {
    Limit(code, 0, 5);
    if (code == color_processing_) return;
    color_processing_ = code;
    MarkFrom(true, true);
}

void Image::SetCrop(int left, int right, int top, int bottom) {
    if (left == crop_left_ && right == crop_right_ && top == crop_top_ && bottom == crop_bottom_)
        return;
    crop_left_ = left, crop_right_ = right, crop_top_ = top, crop_bottom_ = bottom;
    MarkFrom(false, true);
}

void Image::SetStretchEnabled(bool value) {
    if (value == stretch_enabled_) return;
    stretch_enabled_ = value;
    MarkFrom(false, false);
}

void Image::SetStretchedWidthHeight(int width, int height) {
    if (width == stretched_width_ && height == stretched_height_) return;
    Limit(width, 1, kMaxWidth);
    Limit(height, 1, kMaxHeight);
    stretched_width_ = width, stretched_height_ = height;
    MarkFrom(false, false);
}

void Image::SetStretchSmoothing(bool value) {
    if (value == stretch_smoothing_) return;
    stretch_smoothing_ = value;
    MarkFrom(false, false);
}

void Image::SetRotationAngle(float degrees) {
    if (degrees == rotation_angle_) return;
    Limit(degrees, 0.0f, 360.0f);
    if (degrees == 360.0f) degrees = 0;
    rotation_angle_ = degrees;
    rotated_dirty_ = rotated_opacity_dirty_ = shadow_dirty_ = true;
}

void Image::SetAlignment(int code) {
    Limit(code, 0, 8);
    alignment_ = code;
}

void Image::SetOpacityValue(int percent) {
    Limit(percent, 0, 100);
    if (percent == opacity_value_) return;
    opacity_value_ = percent;
    shadow_dirty_ = true; // a fainter item casts a fainter shadow
}

void Image::SetOpacityMode(tess::OpacityMode mode) {
    if (mode == opacity_mode_) return;
    opacity_mode_ = mode;
    opacity_dirty_ = rotated_opacity_dirty_ = shadow_dirty_ = true;
}

void Image::SetOpacityType(int type) {
    Limit(type, 0, 1);
    if (type == opacity_type_) return;
    opacity_type_ = type;
    opacity_dirty_ = rotated_opacity_dirty_ = shadow_dirty_ = true;
}

void Image::SetOpacityFileName(std::string_view name) {
    if (name == opacity_file_name_) return;
    opacity_file_name_ = std::string(name);
    opacity_dirty_ = rotated_opacity_dirty_ = shadow_dirty_ = true;
}

void Image::SetFeatherWidth(int pixels) {
    Limit(pixels, 0, kMaxWidth);
    if (pixels == feather_width_) return;
    feather_width_ = pixels;
    opacity_dirty_ = rotated_opacity_dirty_ = shadow_dirty_ = true;
}

void Image::SetFeatherRadius(int pixels) {
    Limit(pixels, 0, kMaxWidth);
    if (pixels == feather_radius_) return;
    feather_radius_ = pixels;
    opacity_dirty_ = rotated_opacity_dirty_ = shadow_dirty_ = true;
}

void Image::SetTransparentEnabled(bool value) {
    if (value == transparent_enabled_) return;
    transparent_enabled_ = value;
    shadow_dirty_ = true;
}

void Image::SetTransparentColorTable(std::vector<TransparentColor> colors) {
    colors_ = std::move(colors);
    // The rotation clears its corners to the first colour, and the shadow leaves them out.
    rotated_dirty_ = shadow_dirty_ = true;
}

void Image::SetShadowEnabled(bool value) {
    if (value == shadow_enabled_) return;
    shadow_enabled_ = value;
    shadow_dirty_ = true;
}

void Image::SetShadowSize(int size) {
    Limit(size, 1, 4);
    if (size == shadow_size_) return;
    shadow_size_ = size;
    shadow_dirty_ = true;
}

// ---- The source ----

void Image::ReportLoadProblem(const std::string& problem) {
    if (problem != last_problem_) LogWarning("{}", problem);
    last_problem_ = problem;
}

JpegResult Image::LoadPicture() {
    picture_dirty_ = false;
    const std::string name(Trim(picture_file_name_));
    if (name.empty()) {
        picture_.FreeMemory();
        MarkFrom(true, true);
        return JpegResult::NotJpeg;
    }
    // Decoded aside, so that a broken file does not spoil the picture we have; the bitmap
    // of the picture before is kept for the next frame, so that a camera's frames of one size
    // take no new memory.
    const JpegResult result = LoadJpegIntoDIB(name, spare_);
    switch (result) {
    case JpegResult::Loaded:
        picture_.SetPicture(std::exchange(spare_, std::move(picture_.Pixels())), DIB());
        // Only a frame-sized bitmap is worth keeping for the next one: a large picture kept
        // aside would be a second full-size copy for as long as the item lives.
        if (std::int64_t{spare_.Width()} * spare_.Height() > kMaxSparePixels)
            spare_.SetWidthHeight(0, 0);
        MarkFrom(true, true);
        last_problem_.clear();
        break;
    case JpegResult::NotJpeg: {
        const PictureStatus status = picture_.LoadFile(name);
        if (status == PictureStatus::Ok) {
            MarkFrom(true, true);
            last_problem_.clear();
        } else {
            ReportLoadProblem(fmt::format("picture {}: {}; the last good picture stays", name,
                                          PictureStatusText(status)));
        }
        break;
    }
    case JpegResult::Refused:
    case JpegResult::Missing:
    case JpegResult::TooLarge:
        // The image stays; what follows it is rebuilt from it. A bitmap a failed decode took
        // is given back at once.
        spare_.SetWidthHeight(0, 0);
        MarkFrom(false, true);
        ReportLoadProblem(fmt::format("picture {}: {}; the last good picture stays", name,
                                      result == JpegResult::Missing ? "file not found"
                                      : result == JpegResult::TooLarge
                                          ? PictureStatusText(PictureStatus::TooLarge)
                                          : "not a readable JPEG file"));
        break;
    }
    return result;
}

void Image::ReloadPicture() {
    picture_dirty_ = true;
}

DIB& Image::SetGraphics(int width, int height) {
    picture_.SetWidthHeight(width, height);
    return picture_.Pixels();
}

DIB& Image::GraphicsOpacity() {
    picture_.Opacity().SetWidthHeight(picture_.Width(), picture_.Height());
    return picture_.Opacity();
}

void Image::LoadIntoPictureDIB() {
    picture_dirty_ = false;
    MarkFrom(true, true);
}

void Image::LoadIntoPictureDIB(DIB&& pixels, DIB&& opacity) {
    picture_.SetPicture(std::move(pixels), std::move(opacity));
    LoadIntoPictureDIB();
}

void Image::LoadIntoPictureDIB(const DIB& pixels, const DIB* opacity) {
    picture_.SetWidthHeight(pixels.Width(), pixels.Height());
    if (pixels.HasBitmap() && picture_.Pixels().HasBitmap())
        std::memcpy(picture_.Pixels().DIBPtr(), pixels.DIBPtr(), pixels.BufferSize());
    if (opacity && opacity->Width() == pixels.Width() && opacity->Height() == pixels.Height() &&
        opacity->HasBitmap()) {
        DIB& own = GraphicsOpacity();
        if (own.HasBitmap()) std::memcpy(own.DIBPtr(), opacity->DIBPtr(), opacity->BufferSize());
    }
    LoadIntoPictureDIB();
}

void Image::ClearPicture() {
    picture_.FreeMemory();
    MarkFrom(true, true);
}

// ---- The picture stages ----

void Image::LoadImageDIB() {
    image_dirty_ = false;
    MarkFrom(false, true);
    const int width = picture_.Width(), height = picture_.Height();
    // A file item whose file never loaded, or a bitmap we could not get memory for: the line
    // in errors.txt names the file and sizes, and the item shows nothing until a new source.
    // The module and procedure are written as a fixed name: tools that watch errors.txt
    // look for this line.
    auto report = [&](SourceLocation where = SourceLocation::current()) {
        AppendErrorsTxt("Image.cls", "LoadImageDIB", SiteOf(where).line,
                        fmt::format("{}, {}, {}, {}", picture_file_name_,
                                    image_.HasBitmap() ? 1 : 0, width, height));
    };
    const bool from_file =
        picture_type_ == SourceType::GraphicFile || picture_type_ == SourceType::URLGraphic;
    if (width == 0 || height == 0) {
        image_in_picture_ = false;
        image_.SetWidthHeight(0, 0);
        if (from_file && !Trim(picture_file_name_).empty()) report();
        return;
    }
    // Unprocessed pixels are the picture's own: no copy of a camera frame is made.
    image_in_picture_ = picture_type_ != SourceType::Rectangle && color_processing_ == kColorNone;
    if (image_in_picture_) {
        image_.SetWidthHeight(0, 0);
        return;
    }
    if (!image_.SetWidthHeight(width, height) || !image_.HasBitmap()) {
        report();
        return;
    }
    if (picture_type_ == SourceType::Rectangle)
        image_.Clear(background_color_);
    else
        std::memcpy(image_.DIBPtr(), picture_.Pixels().DIBPtr(), image_.BufferSize());
    if (color_processing_ != kColorNone)
        ColorProcess(image_.DIBPtr(), width, height, color_processing_);
}

const DIB& Image::ImageToWorkFrom() const {
    return image_in_picture_ ? picture_.Pixels() : image_;
}

bool Image::Cropping() const {
    return crop_left_ != 0 || crop_right_ != 0 || crop_top_ != 0 || crop_bottom_ != 0;
}

void Image::LoadCroppedDIB() {
    cropped_dirty_ = false;
    const DIB& image = ImageToWorkFrom();
    if (!Cropping() || !image.HasBitmap()) {
        cropped_.SetWidthHeight(0, 0);
        cropped_alpha_.SetWidthHeight(0, 0);
        return;
    }
    const int width = image.Width(), height = image.Height();
    int cropped_width = width - crop_left_ - crop_right_;
    int cropped_height = height - crop_top_ - crop_bottom_;
    Limit(cropped_width, 1, kMaxWidth);
    Limit(cropped_height, 1, kMaxHeight);
    int left = crop_left_, top = crop_top_;
    Limit(left, 0, width - crop_right_ - 1);
    Limit(top, 0, height - crop_bottom_ - 1);
    cropped_.SetWidthHeight(cropped_width, cropped_height);
    cropped_.Clear(0);
    CopyRect(cropped_, 0, 0, image, left, top, cropped_width, cropped_height);
    if (picture_.HasOpacity()) {
        cropped_alpha_.SetWidthHeight(cropped_width, cropped_height);
        cropped_alpha_.Clear(0);
        CopyRect(cropped_alpha_, 0, 0, picture_.Opacity(), left, top, cropped_width,
                 cropped_height);
    } else {
        cropped_alpha_.SetWidthHeight(0, 0);
    }
}

void Image::LoadStretchedDIB() {
    stretched_dirty_ = false;
    const DIB& input = CroppedToWorkFrom();
    stretched_in_use_ = stretch_enabled_ && stretched_width_ != 0 && stretched_height_ != 0 &&
                        picture_type_ != SourceType::Rectangle &&
                        (stretched_width_ != input.Width() || stretched_height_ != input.Height());
    if (!stretched_in_use_) {
        stretched_.SetWidthHeight(0, 0);
        stretched_alpha_.SetWidthHeight(0, 0);
        return;
    }
    stretched_.SetWidthHeight(stretched_width_, stretched_height_);
    const StretchMode mode = stretch_smoothing_ ? StretchMode::Halftone : StretchMode::ColorOnColor;
    if (input.Width() == 0 || input.Height() == 0) {
        stretched_.Clear(background_color_);
        stretched_alpha_.SetWidthHeight(0, 0);
        return;
    }
    StretchCopy(stretched_, input, mode);
    const DIB* alpha = Cropping() ? &cropped_alpha_ : &picture_.Opacity();
    if (alpha->HasBitmap()) {
        stretched_alpha_.SetWidthHeight(stretched_width_, stretched_height_);
        StretchCopy(stretched_alpha_, *alpha, mode);
    } else {
        stretched_alpha_.SetWidthHeight(0, 0);
    }
}

std::uint32_t Image::FirstTransparentColor() const {
    return colors_.empty() ? 0 : colors_.front().color;
}

void Image::LoadRotatedDIB() {
    rotated_dirty_ = false;
    rotated_opacity_dirty_ = true;
    offsets_ = {};
    const DIB& input = StretchedToWorkFrom();
    if (!Rotating() || !input.HasBitmap()) {
        rotated_.SetWidthHeight(0, 0);
        return;
    }
    const RotationParams params = RotationFor(rotation_angle_);
    const RotatedSize size = RotatedSizeFor(input.Width(), input.Height(), params);
    rotated_.SetWidthHeight(size.width, size.height);
    // Uncovered corners take the first transparent colour, so they vanish with transparency.
    rotated_.Clear(FirstTransparentColor());
    Rotate(input.DIBPtr(), input.Width(), input.Height(), rotated_.DIBPtr(), size.width,
           size.height, params.angle, params.shear_a, params.shear_b, 0);
    offsets_ = ComputeAlignmentOffsets(input.Width(), input.Height(), size.width, size.height,
                                       rotation_angle_);
}

const DIB& Image::CroppedToWorkFrom() const {
    return Cropping() && cropped_.HasBitmap() ? cropped_ : ImageToWorkFrom();
}

const DIB& Image::StretchedToWorkFrom() const {
    return stretched_in_use_ ? stretched_ : CroppedToWorkFrom();
}

const DIB* Image::SourceOpacityToWorkFrom() const {
    if (!picture_.HasOpacity()) return nullptr;
    if (stretched_in_use_) return stretched_alpha_.HasBitmap() ? &stretched_alpha_ : nullptr;
    if (Cropping()) return cropped_alpha_.HasBitmap() ? &cropped_alpha_ : nullptr;
    return &picture_.Opacity();
}

const DIB& Image::GetImageDIB() {
    if (picture_dirty_) {
        picture_dirty_ = false;
        if (picture_type_ == SourceType::GraphicFile || picture_type_ == SourceType::URLGraphic)
            LoadPicture();
    }
    if (image_dirty_) LoadImageDIB();
    return ImageToWorkFrom();
}

const DIB& Image::GetCroppedDIB() {
    GetImageDIB();
    if (cropped_dirty_) LoadCroppedDIB();
    return CroppedToWorkFrom();
}

const DIB& Image::GetStretchedDIB() {
    GetCroppedDIB();
    if (stretched_dirty_) LoadStretchedDIB();
    return StretchedToWorkFrom();
}

const DIB& Image::GetRotatedDIB() {
    GetStretchedDIB();
    if (rotated_dirty_) LoadRotatedDIB();
    return Rotating() && rotated_.HasBitmap() ? rotated_ : StretchedToWorkFrom();
}

const DIB& Image::GetFinalizedDIB() {
    return GetRotatedDIB();
}

} // namespace tess
