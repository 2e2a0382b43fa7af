#include "publish/web_reply.h"

#include "base/text.h"
#include "publish/web_response.h"

#include <string>

namespace tess {

namespace {

WebReply NotFound(const WebReplyContext& context) {
    WebReply reply;
    reply.header = NotFoundResponse(context.date);
    return reply;
}

WebReply FileReply(const WebReplyContext& context, std::string_view path) {
    path = Trim(path);
    if (path.empty()) path = "index.htm";
    WebReply reply;
    reply.file = WebFile::Open(context.web_path, path);
    if (!reply.file.IsOpen()) return NotFound(context);
    // The type goes by the name the file was opened under: "index%2ehtm" is index.htm.
    std::string decoded;
    DecodeWebPath(path, decoded);
    reply.header = FileResponseHeader(context.date, ContentTypeFor(decoded), reply.file.Size());
    return reply;
}

WebReply PictureReply(const WebReplyContext& context, CanvasWebServer& canvas) {
    const JpegBytes& bytes = canvas.JPEGData(context.now);
    if (bytes->empty()) return NotFound(context);
    WebReply reply;
    reply.header =
        JpegResponseHeader(context.date, WebDateText(canvas.LastModified()), bytes->size());
    // A picture encoded for this request alone is not worth a copy with its header.
    if (canvas.Interval() == 0) {
        reply.picture = bytes;
        return reply;
    }
    reply.picture = canvas.WholeAnswer(reply.header);
    reply.header.clear();
    return reply;
}

CanvasWebServer* ServedCanvas(const WebReplyContext& context, std::string_view path) {
    if (path.empty() || !context.find_canvas || !*context.find_canvas) return nullptr;
    return (*context.find_canvas)(path);
}

std::string_view WithoutQuery(std::string_view path) {
    return path.substr(0, path.find('?'));
}

constexpr std::string_view kStreamExtension = ".mjpg";

} // namespace

CanvasWebServer* StreamedCanvas(const WebReplyContext& context, std::string_view path) {
    path = WithoutQuery(path);
    if (path.size() <= kStreamExtension.size() || ServedCanvas(context, path)) return nullptr;
    std::string_view stem = path.substr(0, path.size() - kStreamExtension.size());
    if (!EqualsIgnoreCase(path.substr(stem.size()), kStreamExtension)) return nullptr;
    return ServedCanvas(context, std::string(stem) + ".jpg");
}

bool AnswerNeedsEncoding(const WebReplyContext& context, std::string_view path) {
    if (CanvasWebServer* canvas = ServedCanvas(context, WithoutQuery(path)))
        return canvas->EncodingDue(context.now);
    CanvasWebServer* streamed = StreamedCanvas(context, path);
    return streamed && streamed->StreamStartDue();
}

WebReply AnswerWebRequest(const WebReplyContext& context, std::string_view path) {
    path = WithoutQuery(path);
    if (CanvasWebServer* canvas = ServedCanvas(context, path)) {
        if (canvas->Schedule().EnableNow(context.now)) return PictureReply(context, *canvas);
        return FileReply(context, canvas->OffScheduleFile());
    }
    if (CanvasWebServer* streamed = StreamedCanvas(context, path))
        return FileReply(context, streamed->OffScheduleFile());
    if (!context.allow_non_canvas_serves) return NotFound(context);
    return FileReply(context, path);
}

} // namespace tess
