#pragma once

// The drawn text of one Text item, kept between updates: when neither the text nor its style
// changed, Update is one comparison and the bitmaps stay as they are, so the item's pipeline
// can keep its own cached stages too.

#include "imaging/dib.h"
#include "imaging/text/text_renderer.h"
#include "imaging/text/text_style.h"

#include <string>
#include <string_view>

namespace tess {

class TextDrawing {
public:
    // Brings the bitmaps up to date with the text and style; returns true when they changed.
    // A change of colour alone refills the picture without drawing the text again.
    bool Update(TextRenderer& renderer, std::string_view text, const TextStyle& style);

    // Forgets the drawn text, so the next Update draws again (after fonts were installed).
    void Invalidate() { valid_ = false; }

    const DIB& Picture() const { return picture_; }
    const DIB& Opacity() const { return opacity_; }
    int Width() const { return picture_.Width(); }
    int Height() const { return picture_.Height(); }
    // Where the text's box starts inside the bitmaps (see TextOrigin).
    TextOrigin Origin() const { return origin_; }

private:
    bool valid_ = false;
    std::string text_;
    TextStyle style_;
    TextOrigin origin_;
    DIB picture_;
    DIB opacity_;
};

} // namespace tess
