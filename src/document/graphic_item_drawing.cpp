// A graphic item's drawing: its settings given to its Image, and its source looked at when
// the item is due.

#include "base/text.h"
#include "document/graphic_item.h"

#include <vector>

namespace tess {

GraphicItem::GraphicItem(SunTimes& sun) : CanvasItem(sun, kDefaultInterval) {
    Image().SetPictureType(source_type_);
}

bool GraphicItem::Refresh(const CompositionServices& services, double now) {
    SetNextTime(now);
    // The source looked at must be the one the settings name now.
    bool changed = SettingsChanged() && UpdateImage();
    changed |= source_.TakeDownload(Image()); // before the next download may start
    changed |= source_.Refresh(*this, Image(), services);
    return changed;
}

bool GraphicItem::FeedFrameWaiting(const CompositionServices& services) const {
    if (source_type_ != SourceType::VideoFeed || !services.feed_revision) return false;
    return source_.IsNew(services.feed_revision(source_video_feed_name_));
}

bool GraphicItem::UpdateImage() {
    bool changed = source_.TakeDownload(Image());
    if (!SettingsChanged()) return changed;
    tess::Image& image = Image();
    source_.Sync(*this, image);
    image.SetBackgroundColor(background_color_);
    image.SetColorProcessing(color_processing_);
    image.SetCrop(crop_left_, crop_right_, crop_top_, crop_bottom_);
    image.SetStretchEnabled(stretched_);
    image.SetStretchedWidthHeight(stretched_width_, stretched_height_);
    image.SetStretchSmoothing(stretched_smoothing_);
    image.SetOpacityType(opacity_use_file_ ? 1 : 0);
    image.SetOpacityFileName(PathFromSettings(Trim(opacity_file_name_)));
    image.SetFeatherWidth(feather_width_);
    image.SetFeatherRadius(feather_radius_);
    image.SetTransparentEnabled(transparent_color_enabled_);
    image.SetTransparentColorTable(std::vector<TransparentColor>(
        transparent_colors_.begin(), transparent_colors_.begin() + transparent_color_count_));
    SyncCommonImageSettings();
    return true;
}

} // namespace tess
