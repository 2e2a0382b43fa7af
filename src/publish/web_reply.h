#pragma once

// Choosing the answer to one GET request: a canvas picture, its off-schedule file, a file of
// the web folder, or the 404 answer.

#include "publish/canvas_web_server.h"
#include "publish/web_file.h"

#include <functional>
#include <string>
#include <string_view>

namespace tess {

// The first served canvas whose FileName equals the name, ignoring case; null for none.
using CanvasFinder = std::function<CanvasWebServer*(std::string_view file_name)>;

// A header, then either the picture's bytes or the file's, or nothing after a 404. A kept
// canvas picture comes as one whole answer in `picture`, its header included.
struct WebReply {
    std::string header;
    JpegBytes picture;
    WebFile file;
};

struct WebReplyContext {
    std::string_view web_path;
    bool allow_non_canvas_serves = false;
    double now = 0;                            // the program's clock
    std::string_view date;                     // `now` as the Date line shows it
    const CanvasFinder* find_canvas = nullptr; // null while no portfolio serves canvases
};

// `path` is the request's path without its leading "/", the query still on it. A canvas
// named by the path is served while its schedule is on and its off-schedule file (from the
// web folder, whether or not other files are allowed) while it is off; so is the name of its
// stream while the schedule is off (while it is on, the connection streams instead). Other paths
// are files of the web folder when those are allowed; the empty path is "index.htm".
WebReply AnswerWebRequest(const WebReplyContext& context, std::string_view path);

// The canvas whose live stream `path` names: its FileName with ".mjpg" in place of ".jpg",
// matched ignoring case as the picture's name is. Null for any other path, and when a canvas
// serves a picture under that very name (the picture comes first).
CanvasWebServer* StreamedCanvas(const WebReplyContext& context, std::string_view path);

// True when answering `path` would encode a canvas picture first: milliseconds of work, which
// the server spreads out so that its timers keep running.
bool AnswerNeedsEncoding(const WebReplyContext& context, std::string_view path);

} // namespace tess
