// Image: per-pixel opacity, the shadow, and merging the finished item into a canvas layer.

#include "imaging/blit.h"
#include "imaging/feather.h"
#include "imaging/fixed_point.h"
#include "imaging/image.h"
#include "imaging/kernels.h"
#include "imaging/rotation.h"

#include <cmath>
#include <cstring>

#include <fmt/format.h>

namespace tess {

namespace {

// `into` becomes `into` x `mask`, channel by channel (white is 1).
void MultiplyInto(DIB& into, const DIB& mask) {
    for (std::size_t i = 0; i < into.BufferSize(); ++i)
        into.DIBPtr()[i] =
            static_cast<std::uint8_t>(fixed::MulDiv255(into.DIBPtr()[i], mask.DIBPtr()[i]));
}

// Takes `mask` as the opacity, or multiplies it into what is there already.
void CombineOpacity(DIB& opacity, bool& have, const DIB& mask) {
    if (!have) {
        opacity.SetWidthHeight(mask.Width(), mask.Height());
        if (opacity.HasBitmap()) std::memcpy(opacity.DIBPtr(), mask.DIBPtr(), mask.BufferSize());
        have = opacity.HasBitmap();
    } else {
        MultiplyInto(opacity, mask);
    }
}

} // namespace

// The item's per-pixel opacity at its unrotated finished size: the source's own alpha (PNG,
// WebP, text coverage), the opacity file (per-pixel mode or feathering only), and the
// feather, multiplied when several apply.
void Image::DoOpacityStuff() {
    opacity_dirty_ = false;
    rotated_opacity_dirty_ = true;
    const DIB& item = GetStretchedDIB();
    const int width = item.Width(), height = item.Height();
    bool have = false;
    if (width > 0 && height > 0) {
        if (const DIB* alpha = SourceOpacityToWorkFrom()) CombineOpacity(opacity_, have, *alpha);
        if (UsesOpacityFile()) {
            Picture file;
            const PictureStatus status = file.LoadFile(opacity_file_name_);
            if (status == PictureStatus::Ok) {
                DIB fitted(width, height);
                StretchCopy(fitted, file.Pixels(), StretchMode::ColorOnColor);
                CombineOpacity(opacity_, have, fitted);
            } else {
                ReportLoadProblem(fmt::format("opacity picture {}: {}", opacity_file_name_,
                                              PictureStatusText(status)));
            }
        }
        if (Feathering()) {
            DIB feather;
            CreateFeatherOpacity(feather, width, height, feather_width_, feather_radius_);
            CombineOpacity(opacity_, have, feather);
        }
    }
    if (!have) opacity_.SetWidthHeight(0, 0);
}

const DIB* Image::FinalOpacityDIB() {
    const DIB& finished = GetFinalizedDIB();
    if (opacity_dirty_) DoOpacityStuff();
    if (!opacity_.HasBitmap()) return nullptr;
    if (!Rotating()) return &opacity_;
    if (rotated_opacity_dirty_) {
        rotated_opacity_dirty_ = false;
        const RotationParams params = RotationFor(rotation_angle_);
        rotated_opacity_.SetWidthHeight(finished.Width(), finished.Height());
        // Uncovered corners are opaque, as for any item: the transparent colour they were
        // given decides. A source with its own alpha has nothing there at all, so for it
        // they are clear.
        rotated_opacity_.Clear(picture_.HasOpacity() ? 0x000000 : 0xFFFFFF);
        Rotate(opacity_.DIBPtr(), opacity_.Width(), opacity_.Height(), rotated_opacity_.DIBPtr(),
               finished.Width(), finished.Height(), params.angle, params.shear_a, params.shear_b,
               0);
    }
    return &rotated_opacity_;
}

bool Image::PerPixelOpacity() const {
    return opacity_mode_ == kOpacityPerPixel || Feathering() || picture_.HasOpacity();
}

// The file weighs only where the merge is per pixel anyway: in the other modes an item
// merges with its one opacity value, whatever file it names.
bool Image::UsesOpacityFile() const {
    return opacity_type_ == 1 && !opacity_file_name_.empty() &&
           (opacity_mode_ == kOpacityPerPixel || Feathering());
}

int Image::Level() const {
    return static_cast<int>(std::lround(opacity_value_ * 2.55));
}

void Image::LoadShadowDIB() {
    shadow_dirty_ = false;
    const DIB& finished = GetFinalizedDIB();
    const DIB* opacity = PerPixelOpacity() ? FinalOpacityDIB() : nullptr;
    if (!finished.HasBitmap()) {
        shadow_.SetWidthHeight(0, 0);
        return;
    }
    shadow_.SetWidthHeight(finished.Width() + 2 * kShadowSpread,
                           finished.Height() + 2 * kShadowSpread);
    shadow_.Clear(0);
    Shadow(shadow_.DIBPtr(), shadow_.Width(), shadow_.Height(), finished.DIBPtr(), finished.Width(),
           finished.Height(), kShadowSpread, kShadowSpread, opacity ? opacity_mode_ : kOpacityMerge,
           transparent_enabled_ ? FirstTransparentColor() : kNoColor, Level(),
           opacity ? opacity->DIBPtr() : nullptr, shadow_size_, 0, 0, colors_.data(),
           TransparentColorCount(), transparent_enabled_);
}

Image::Bounds Image::ShadowBounds(int x, int y) {
    if (!shadow_enabled_) return {};
    GetFinalizedDIB();
    if (shadow_dirty_) LoadShadowDIB();
    if (!shadow_.HasBitmap()) return {};
    const int k = Rotating() ? alignment_ : 0;
    return {x - offsets_.x[k] - kShadowSpread, y - offsets_.y[k] - kShadowSpread, shadow_.Width(),
            shadow_.Height()};
}

Image::Bounds Image::ImageBounds(int x, int y) {
    const DIB& finished = GetFinalizedDIB();
    if (!finished.HasBitmap()) return {};
    const int k = Rotating() ? alignment_ : 0;
    return {x - offsets_.x[k], y - offsets_.y[k], finished.Width(), finished.Height()};
}

void Image::MergeShadowTo(DIB& destination, int x, int y) {
    if (!destination.HasBitmap()) return;
    const Bounds bounds = ShadowBounds(x, y);
    if (bounds.Empty()) return;
    const int left = bounds.left, top = bounds.top;
    // Light shapes on black gather additively; the black around them is never written.
    static const TransparentColor kBlack{0x000000, 0};
    Merge(destination.DIBPtr(), destination.Width(), destination.Height(), shadow_.DIBPtr(),
          shadow_.Width(), shadow_.Height(), left, destination.Height() - shadow_.Height() - top,
          kOpacityAdditive, 0, 255, nullptr, 0, 0, &kBlack, 1, 1);
}

bool Image::CoversOpaquely(int width, int height, int x, int y) {
    if (PerPixelOpacity() || opacity_mode_ != kOpacityMerge || Level() != 255 ||
        transparent_enabled_)
        return false;
    const DIB& finished = GetFinalizedDIB();
    if (!finished.HasBitmap()) return false;
    const int k = Rotating() ? alignment_ : 0;
    const int left = x - offsets_.x[k], top = y - offsets_.y[k];
    return left <= 0 && top <= 0 && left + finished.Width() >= width &&
           top + finished.Height() >= height;
}

bool Image::PassesPictureThrough(int width, int height, int x, int y) const {
    if (picture_.Width() != width || picture_.Height() != height || picture_.HasOpacity())
        return false;
    const bool stretching = stretch_enabled_ && stretched_width_ != 0 && stretched_height_ != 0 &&
                            (stretched_width_ != width || stretched_height_ != height);
    if (color_processing_ != 0 || Cropping() || stretching || Rotating() || Feathering() ||
        PerPixelOpacity() || opacity_mode_ != kOpacityMerge || Level() != 255 ||
        transparent_enabled_)
        return false;
    return x == offsets_.x[0] && y == offsets_.y[0];
}

void Image::MergeImageTo(DIB& destination, int x, int y) {
    const DIB& finished = GetFinalizedDIB();
    if (!finished.HasBitmap() || !destination.HasBitmap()) return;
    const int k = Rotating() ? alignment_ : 0;
    const int left = x - offsets_.x[k], top = y - offsets_.y[k];
    const int bottom_up = destination.Height() - finished.Height() - top;
    const int level = Level();
    const std::uint32_t single = transparent_enabled_ ? FirstTransparentColor() : kNoColor;
    auto merge = [&](int mode, const DIB* opacity) {
        Merge(destination.DIBPtr(), destination.Width(), destination.Height(), finished.DIBPtr(),
              finished.Width(), finished.Height(), left, bottom_up, mode, single, level,
              opacity ? opacity->DIBPtr() : nullptr, 0, 0, colors_.data(), TransparentColorCount(),
              transparent_enabled_);
    };
    if (PerPixelOpacity()) {
        const DIB* opacity = FinalOpacityDIB();
        if (!opacity) {
            merge(kOpacityMerge, nullptr);
        } else if (opacity_mode_ == kOpacityPerPixel || Feathering()) {
            merge(kOpacityPerPixel, opacity);
        } else {
            merge(opacity_mode_, opacity); // the source's own alpha, in the item's mode
        }
        return;
    }
    if (opacity_mode_ == kOpacityMerge && level == 0) return;
    if (opacity_mode_ == kOpacityMerge && level == 255 && !transparent_enabled_) {
        CopyRect(destination, left, top, finished, 0, 0, finished.Width(), finished.Height());
        return;
    }
    merge(opacity_mode_, nullptr);
}

} // namespace tess
