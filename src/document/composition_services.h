#pragma once

// What a canvas's composition pass reaches outside the canvas: the tick's "now", the text
// renderer, the tag values, the pictures of other canvases and video feeds, URL downloads and
// the script's update events. The portfolio fills it in once and renews `now` every tick;
// anything left empty is simply not available (the render command has no other canvases,
// nothing has a script yet).

#include "imaging/tags/process_text.h"
#include "settings/script_events.h"

#include <cstdint>
#include <functional>
#include <span>
#include <string_view>

namespace tess {

class DIB;
class TextRenderer;
struct YCbCrPlanes;
class UrlFetcher;

// A picture another object keeps, with a number that changes whenever its pixels do, so
// that a copy is only taken of a new picture.
struct SharedPicture {
    const DIB* picture = nullptr; // null: none (yet)
    std::uint64_t revision = 0;
};

// A camera frame still as the camera's JPEG, and the YCbCr planes it decodes to when they
// were asked for, with its feed's revision.
struct FeedPlanes {
    std::span<const std::uint8_t> jpeg;  // empty: the frame is no JPEG (or none came)
    const YCbCrPlanes* planes = nullptr; // null: not asked for, or none to be had
    std::uint64_t revision = 0;
};

struct CompositionServices {
    double now = 0; // the tick's CaptureTime
    TextRenderer* text_renderer = nullptr;
    TagContext tags; // its `now` follows `now`
    UrlFetcher* url_fetcher = nullptr;

    // The composed picture of canvas slot 1..20.
    std::function<SharedPicture(int slot)> canvas_picture;
    // The latest frame of the video feed of that name.
    std::function<SharedPicture(std::string_view feed_name)> feed_frame;
    // The revision feed_frame would give, without making the frame's bitmap; 0: no frame.
    std::function<std::uint64_t(std::string_view feed_name)> feed_revision;
    // The newest frame as the camera's JPEG, and when `decoded` its planes, for a canvas that
    // passes it through undrawn; asking keeps the frames coming that way.
    std::function<FeedPlanes(std::string_view feed_name, bool decoded)> feed_planes;
    // A download finished or a picture arrived between ticks: a tick is wanted soon.
    std::function<void()> wake;

    // The script's TextUpdate and GraphicUpdate events; null: no script.
    ScriptEvents* events = nullptr;
    // The application's running flag; a pass stops when it is found cleared.
    std::function<bool()> running;

    bool Running() const { return !running || running(); }
    // TextUpdate or GraphicUpdate of a scripted item; false when the script did not hear it.
    bool RaiseItemEvent(ScriptEvent event, int canvas, int index) const {
        return events && events->Raise(event, {canvas, index});
    }
};

} // namespace tess
