#pragma once

// FFmpeg, opened when the first camera opens instead of being linked: its libraries and
// theirs (codecs, filters, SVG, Pango, sound servers) are about 37 MB resident and two
// hundred libraries mapped at start, which a site without cameras should not pay. The table
// holds the functions the capture path calls; the headers still give the types.

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libswscale/swscale.h>
}

#include <string>

namespace tess {

struct FfmpegLibrary {
    // libavutil
    decltype(&::av_strerror) av_strerror = nullptr;
    decltype(&::av_log_set_level) av_log_set_level = nullptr;
    decltype(&::av_dict_set) av_dict_set = nullptr;
    decltype(&::av_dict_free) av_dict_free = nullptr;
    decltype(&::av_frame_alloc) av_frame_alloc = nullptr;
    decltype(&::av_frame_free) av_frame_free = nullptr;
    decltype(&::av_frame_unref) av_frame_unref = nullptr;
    // libavcodec
    decltype(&::avcodec_alloc_context3) avcodec_alloc_context3 = nullptr;
    decltype(&::avcodec_free_context) avcodec_free_context = nullptr;
    decltype(&::avcodec_parameters_to_context) avcodec_parameters_to_context = nullptr;
    decltype(&::avcodec_open2) avcodec_open2 = nullptr;
    decltype(&::avcodec_send_packet) avcodec_send_packet = nullptr;
    decltype(&::avcodec_receive_frame) avcodec_receive_frame = nullptr;
    decltype(&::av_packet_alloc) av_packet_alloc = nullptr;
    decltype(&::av_packet_free) av_packet_free = nullptr;
    decltype(&::av_packet_unref) av_packet_unref = nullptr;
    // libavformat
    decltype(&::avformat_alloc_context) avformat_alloc_context = nullptr;
    decltype(&::avformat_open_input) avformat_open_input = nullptr;
    decltype(&::avformat_find_stream_info) avformat_find_stream_info = nullptr;
    decltype(&::avformat_close_input) avformat_close_input = nullptr;
    decltype(&::av_find_input_format) av_find_input_format = nullptr;
    decltype(&::av_find_best_stream) av_find_best_stream = nullptr;
    decltype(&::av_read_frame) av_read_frame = nullptr;
    decltype(&::av_url_split) av_url_split = nullptr;
    // libswscale
    decltype(&::sws_getCachedContext) sws_getCachedContext = nullptr;
    decltype(&::sws_scale) sws_scale = nullptr;
    decltype(&::sws_freeContext) sws_freeContext = nullptr;
};

// The library, loaded on the first call (FFmpeg's own log silenced: ours names the feed);
// null when it cannot be, with the reason in `problem`.
const FfmpegLibrary* Ffmpeg(std::string* problem = nullptr);

// FFmpeg's device layer (V4L2 webcams, lavfi test sources), which brings in more libraries
// still: loaded only when a feed needs it. An empty answer means its devices are registered.
std::string LoadFfmpegDevices();

} // namespace tess
