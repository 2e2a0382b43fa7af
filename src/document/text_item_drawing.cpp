// A text item's drawing: its tags expanded for the tick, the text drawn in its font, and the
// result handed to its Image, whose coverage opacity blends the letters' edges.

#include "document/text_item.h"
#include "imaging/tags/process_text.h"

namespace tess {

TextItem::TextItem(SunTimes& sun) : CanvasItem(sun, kDefaultInterval) {
    // The text item draws its own source picture.
    Image().SetPictureType(SourceType::CanvasImage);
}

bool TextItem::Refresh(const TagContext& tags, double now) {
    std::string expanded = ProcessText(text_, tags);
    SetNextTime(now);
    if (expanded == expanded_) return false;
    expanded_ = std::move(expanded);
    return true;
}

bool TextItem::UpdateImage(TextRenderer& renderer) {
    bool changed = false;
    if (SettingsChanged()) {
        SyncCommonImageSettings();
        changed = true;
    }
    TextStyle style;
    style.font_name = font_name_;
    style.font_size = font_size_;
    style.bold = font_bold_;
    style.italic = font_italic_;
    style.color = color_;
    if (drawing_.Update(renderer, expanded_, style)) {
        Image().LoadIntoPictureDIB(drawing_.Picture(), &drawing_.Opacity());
        changed = true;
    }
    return changed;
}

} // namespace tess
