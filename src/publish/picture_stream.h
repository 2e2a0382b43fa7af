#pragma once

// The live stream of one canvas: the newest part (a whole JPEG with its part header, made
// once per picture and shared by every viewer) and the viewers waiting for the next one.
// A viewer holds only the part it is sending; when it is ready for more it takes whatever
// is newest, so a slow viewer skips pictures instead of piling them up.

#include "publish/web_picture.h"

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tess {

class PictureStream {
public:
    // Separates the parts; no JPEG can hold it, since its bytes are not a JPEG marker run.
    static constexpr std::string_view kBoundary = "tessarolleframe";

    using Wakeup = std::function<void()>;

    // A new picture for every viewer: `jpeg` is the kept encoding of the canvas.
    void Publish(const WebPicture& jpeg);
    // No more pictures (the schedule closed, the canvas went away): viewers send
    // `last_file` of their web folder as a last part, when there is one, and finish.
    void End(std::string last_file = {});
    // Starts again after End, for viewers who come later.
    void Reopen() { ended_ = false; }

    bool Ended() const { return ended_; }
    const std::string& LastFile() const { return last_file_; }

    // Whether the stream may run at a given time (the canvas's schedule), and the file shown
    // when it closes; the canvas sets both while it has viewers.
    void SetSchedule(std::function<bool(double now)> open_at, std::string off_file) {
        open_at_ = std::move(open_at);
        off_file_ = std::move(off_file);
    }
    // Ends the stream when its schedule has closed.
    void CheckSchedule(double now);
    // Counts the pictures published; a viewer compares it with the last one it sent.
    std::uint64_t Revision() const { return revision_; }
    // The newest part, null before the first.
    const JpegBytes& Part() const { return part_; }

    // `wakeup` runs (on the loop) after each Publish and at End. The id unsubscribes.
    int Subscribe(Wakeup wakeup);
    void Unsubscribe(int id);
    bool HasViewers() const { return !viewers_.empty(); }
    std::size_t ViewerCount() const { return viewers_.size(); }

private:
    void WakeAll();

    JpegBytes part_;
    std::uint64_t revision_ = 0;
    bool ended_ = false;
    std::string last_file_;
    std::function<bool(double)> open_at_;
    std::string off_file_;
    int next_id_ = 1;
    std::vector<std::pair<int, Wakeup>> viewers_;
};

// The closing boundary that ends a stream.
std::string StreamEnd();
// The boundary and header lines before a part's `length` bytes.
std::string StreamPartHeader(std::string_view content_type, std::uint64_t length);
// One part: its boundary and header, `body`, and the line end after it.
std::vector<std::uint8_t> StreamPartBytes(std::string_view content_type,
                                          std::span<const std::uint8_t> body);

} // namespace tess
