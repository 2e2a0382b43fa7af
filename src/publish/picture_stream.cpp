#include "publish/picture_stream.h"

#include <algorithm>

#include <fmt/format.h>

namespace tess {

void PictureStream::Publish(const WebPicture& jpeg) {
    if (jpeg.empty()) return;
    // A viewer that arrives after a stream ended starts it again.
    part_ = std::make_shared<const WebPicture>(StreamPartBytes("image/jpeg", jpeg.Bytes()),
                                               WebPicture::Storage::MemoryOnly);
    ++revision_;
    ended_ = false;
    WakeAll();
}

void PictureStream::End(std::string last_file) {
    if (ended_) return;
    ended_ = true;
    last_file_ = std::move(last_file);
    part_.reset();
    WakeAll();
}

void PictureStream::CheckSchedule(double now) {
    if (!ended_ && open_at_ && !open_at_(now)) End(off_file_);
}

int PictureStream::Subscribe(Wakeup wakeup) {
    viewers_.emplace_back(next_id_, std::move(wakeup));
    return next_id_++;
}

void PictureStream::Unsubscribe(int id) {
    std::erase_if(viewers_, [id](const auto& viewer) { return viewer.first == id; });
}

// A wakeup may close its connection and so unsubscribe while the list is walked.
void PictureStream::WakeAll() {
    std::vector<std::pair<int, Wakeup>> viewers = viewers_;
    for (auto& viewer : viewers) {
        const int id = viewer.first;
        if (std::ranges::any_of(viewers_, [id](const auto& v) { return v.first == id; }))
            viewer.second();
    }
}

std::string StreamEnd() {
    return fmt::format("--{}--\r\n", PictureStream::kBoundary);
}

std::string StreamPartHeader(std::string_view content_type, std::uint64_t length) {
    return fmt::format("--{}\r\nContent-Type: {}\r\nContent-Length: {}\r\n\r\n",
                       PictureStream::kBoundary, content_type, length);
}

std::vector<std::uint8_t> StreamPartBytes(std::string_view content_type,
                                          std::span<const std::uint8_t> body) {
    const std::string header = StreamPartHeader(content_type, body.size());
    std::vector<std::uint8_t> bytes;
    bytes.reserve(header.size() + body.size() + 2);
    bytes.insert(bytes.end(), header.begin(), header.end());
    bytes.insert(bytes.end(), body.begin(), body.end());
    bytes.push_back('\r');
    bytes.push_back('\n');
    return bytes;
}

} // namespace tess
