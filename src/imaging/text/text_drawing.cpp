#include "imaging/text/text_drawing.h"

namespace tess {

bool TextDrawing::Update(TextRenderer& renderer, std::string_view text, const TextStyle& style) {
    // The drawing depends on the size only through the whole pixels per em, so 14 and 14.2
    // points (or two out-of-range sizes clamped alike) are the same drawing.
    if (valid_ && text == text_ && style.font_name == style_.font_name &&
        PixelsPerEm(style.font_size) == PixelsPerEm(style_.font_size) &&
        style.bold == style_.bold && style.italic == style_.italic) {
        if (style.color == style_.color) return false;
        style_.color = style.color;
        picture_.Clear(style.color);
        return true;
    }
    origin_ = renderer.Render(text, style, picture_, opacity_);
    text_.assign(text);
    style_ = style;
    valid_ = true;
    return true;
}

} // namespace tess
