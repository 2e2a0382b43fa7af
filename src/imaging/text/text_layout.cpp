#include "imaging/text/text_layout.h"

#include <algorithm>

namespace tess {

namespace {

bool IsMark(char32_t c) {
    switch (hb_unicode_general_category(hb_unicode_funcs_get_default(), c)) {
    case HB_UNICODE_GENERAL_CATEGORY_NON_SPACING_MARK:
    case HB_UNICODE_GENERAL_CATEGORY_SPACING_MARK:
    case HB_UNICODE_GENERAL_CATEGORY_ENCLOSING_MARK:
        return true;
    default:
        return false;
    }
}

// The length of the trend marker that starts `rest`, with its arrow; 0 when none does. Case
// is ignored, as it is for the tags that produce the markers.
std::size_t MatchMarker(std::u32string_view rest, char32_t& arrow) {
    for (const TrendMarker& marker : kTrendMarkers) {
        if (rest.size() < marker.tag.size()) continue;
        bool same = true;
        for (std::size_t i = 0; same && i < marker.tag.size(); ++i) {
            char32_t c = rest[i];
            if (c >= U'A' && c <= U'Z') c += U'a' - U'A';
            same = c == marker.tag[i];
        }
        if (same) {
            arrow = marker.arrow;
            return marker.tag.size();
        }
    }
    return 0;
}

// Characters of one line that are shaped at all; even at the smallest size, more would
// reach past the widest result.
constexpr std::size_t kMaxLineChars = 16384;

// 26.6 fixed point to whole pixels, rounding halves up (also for negative values).
int Pixels(hb_position_t value) {
    return (value + 32) >> 6;
}

} // namespace

TextShaper::TextShaper() : buffer_(hb_buffer_create()) {}

TextShaper::~TextShaper() {
    hb_buffer_destroy(buffer_);
}

void TextShaper::LayOut(std::u32string_view text, FontFace& main, FontFace* fallback,
                        int max_extent, TextLayout& out) {
    out.glyphs.clear();
    out.width = 0;
    const int ascent = main.Ascent();
    const int line_height = main.LineHeight();
    int lines = 0;
    std::size_t start = 0;
    for (;;) {
        std::size_t end = start;
        while (end < text.size() && text[end] != U'\r' && text[end] != U'\n')
            ++end;
        PrepareLine(text.substr(start, end - start), main, fallback);
        out.width = std::max(out.width, ShapeLine(ascent + lines * line_height, max_extent, out));
        ++lines;
        if (end >= text.size() || lines * line_height > max_extent) break;
        // CR LF is one break, like a lone CR or LF.
        bool crlf = text[end] == U'\r' && end + 1 < text.size() && text[end + 1] == U'\n';
        start = end + (crlf ? 2 : 1);
    }
    out.height = (lines - 1) * line_height + ascent + main.Descent();
}

void TextShaper::PrepareLine(std::u32string_view line, FontFace& main, FontFace* fallback) {
    chars_.clear();
    faces_.clear();
    for (std::size_t i = 0; i < line.size() && chars_.size() < kMaxLineChars;) {
        char32_t c = line[i];
        char32_t arrow = 0;
        if (c == U'<') {
            if (std::size_t length = MatchMarker(line.substr(i), arrow)) {
                chars_.push_back(arrow);
                faces_.push_back(fallback ? fallback : &main);
                i += length;
                continue;
            }
        }
        ++i;
        if (c == U'\t') {
            c = U' ';
        } else if (c < 0x20 || c == 0x7F) {
            continue; // other control characters draw nothing
        }
        FontFace* face = &main;
        if (c != U' ' && !main.HasChar(c)) {
            // A combining mark stays with the face of the letter it sits on.
            if (IsMark(c) && !faces_.empty()) {
                face = faces_.back();
            } else if (fallback && fallback->HasChar(c)) {
                face = fallback;
            }
        }
        chars_.push_back(c);
        faces_.push_back(face);
    }
    runs_.clear();
    for (std::size_t i = 0; i < chars_.size(); ++i) {
        if (runs_.empty() || runs_.back().face != faces_[i]) runs_.push_back({faces_[i], i, i});
        runs_.back().end = i + 1;
    }
}

int TextShaper::ShapeLine(int baseline, int max_extent, TextLayout& out) {
    hb_position_t pen = 0;
    const auto* text = reinterpret_cast<const std::uint32_t*>(chars_.data());
    const hb_position_t max_pen = static_cast<hb_position_t>(max_extent) * 64;
    for (const Run& run : runs_) {
        if (pen > max_pen) break;
        hb_buffer_clear_contents(buffer_);
        // The whole line goes in as context, so shaping at run edges sees its neighbours.
        hb_buffer_add_utf32(buffer_, text, static_cast<int>(chars_.size()),
                            static_cast<unsigned>(run.begin),
                            static_cast<int>(run.end - run.begin));
        hb_buffer_guess_segment_properties(buffer_);
        hb_shape(run.face->Shaper(), buffer_, nullptr, 0);
        unsigned count = 0;
        const hb_glyph_info_t* info = hb_buffer_get_glyph_infos(buffer_, &count);
        const hb_glyph_position_t* pos = hb_buffer_get_glyph_positions(buffer_, &count);
        const int extra = run.face->EmboldenAdvance();
        for (unsigned i = 0; i < count && pen <= max_pen; ++i) {
            out.glyphs.push_back({run.face, info[i].codepoint, Pixels(pen + pos[i].x_offset),
                                  baseline - Pixels(pos[i].y_offset)});
            pen += pos[i].x_advance + extra;
        }
    }
    return std::max(0, Pixels(pen));
}

} // namespace tess
