#pragma once

// A text item: a line of text with tags (time, date, sun, weather...) drawn in a font and
// colour. Its tags are expanded before each drawing.

#include "document/canvas_item.h"
#include "imaging/text/text_drawing.h"

#include <algorithm>
#include <cstdint>
#include <string>

namespace tess {

struct TagContext;
class TextRenderer;

class TextItem : public CanvasItem {
public:
    static constexpr double kDefaultInterval = 1;
    static constexpr std::int32_t kMaxFontSize = 1000;

    explicit TextItem(SunTimes& sun);

    // The text as the user wrote it, tags included.
    const std::string& Text() const { return text_; }
    void SetText(std::string value) { Mark(StoreIfChanged(text_, std::move(value))); }

    std::uint32_t Color() const { return color_; } // 0x00BBGGRR
    void SetColor(std::uint32_t value) { Mark(StoreIfChanged(color_, std::min(value, 0xFFFFFFu))); }
    const std::string& FontName() const { return font_name_; }
    void SetFontName(std::string value) { Mark(StoreIfChanged(font_name_, std::move(value))); }
    // Points.
    std::int32_t FontSize() const { return font_size_; }
    void SetFontSize(std::int32_t value) { Mark(StoreLimited(font_size_, value, 1, kMaxFontSize)); }
    bool FontBold() const { return font_bold_; }
    void SetFontBold(bool value) { Mark(StoreIfChanged(font_bold_, value)); }
    bool FontItalic() const { return font_italic_; }
    void SetFontItalic(bool value) { Mark(StoreIfChanged(font_italic_, value)); }

    void LoadSettings(IniSection& keys) override;
    void SaveSettings(IniSection& keys) const override;

    // ---- Drawing ----
    // Expands the tags for the tick and sets the next time; true when the expanded text
    // differs from the one drawn.
    bool Refresh(const TagContext& tags, double now);
    // The text as last expanded.
    const std::string& ExpandedText() const { return expanded_; }
    // Draws the expanded text into the item's Image when the text or a setting changed;
    // true when the picture changed.
    bool UpdateImage(TextRenderer& renderer);
    int DrawX() const override {
        return ClampPosition(std::int64_t{LocationX()} - drawing_.Origin().x);
    }
    int DrawY() const override {
        return ClampPosition(std::int64_t{LocationY()} - drawing_.Origin().y);
    }

private:
    std::string text_;
    std::uint32_t color_ = 0x808080;
    std::string font_name_ = "Arial";
    std::int32_t font_size_ = 14;
    bool font_bold_ = false;
    bool font_italic_ = false;

    std::string expanded_;
    TextDrawing drawing_;
};

} // namespace tess
