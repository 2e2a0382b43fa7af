#include "capture/ffmpeg_library.h"

#include "base/log.h"

#include <dlfcn.h>

extern "C" {
#include <libavdevice/version_major.h>
#include <libavutil/version.h>
}

namespace tess {

namespace {

std::string Soname(const char* library, int major) {
    return "lib" + std::string(library) + ".so." + std::to_string(major);
}

// Opened for good: what FFmpeg registers and allocates stays in use until the process ends.
void* Open(const std::string& name, std::string& problem) {
    void* handle = ::dlopen(name.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!handle && problem.empty()) problem = "cannot load " + name + " (" + ::dlerror() + ")";
    return handle;
}

template <typename Function>
void Find(void* library, const char* name, Function& function, std::string& problem) {
    if (!library) return;
    function = reinterpret_cast<Function>(::dlsym(library, name));
    if (!function && problem.empty()) problem = "FFmpeg lacks " + std::string(name);
}

std::string Load(FfmpegLibrary& f) {
    std::string problem;
    void* util = Open(Soname("avutil", LIBAVUTIL_VERSION_MAJOR), problem);
    void* codec = Open(Soname("avcodec", LIBAVCODEC_VERSION_MAJOR), problem);
    void* format = Open(Soname("avformat", LIBAVFORMAT_VERSION_MAJOR), problem);
    void* scale = Open(Soname("swscale", LIBSWSCALE_VERSION_MAJOR), problem);
    Find(util, "av_strerror", f.av_strerror, problem);
    Find(util, "av_log_set_level", f.av_log_set_level, problem);
    Find(util, "av_dict_set", f.av_dict_set, problem);
    Find(util, "av_dict_free", f.av_dict_free, problem);
    Find(util, "av_frame_alloc", f.av_frame_alloc, problem);
    Find(util, "av_frame_free", f.av_frame_free, problem);
    Find(util, "av_frame_unref", f.av_frame_unref, problem);
    Find(codec, "avcodec_alloc_context3", f.avcodec_alloc_context3, problem);
    Find(codec, "avcodec_free_context", f.avcodec_free_context, problem);
    Find(codec, "avcodec_parameters_to_context", f.avcodec_parameters_to_context, problem);
    Find(codec, "avcodec_open2", f.avcodec_open2, problem);
    Find(codec, "avcodec_send_packet", f.avcodec_send_packet, problem);
    Find(codec, "avcodec_receive_frame", f.avcodec_receive_frame, problem);
    Find(codec, "av_packet_alloc", f.av_packet_alloc, problem);
    Find(codec, "av_packet_free", f.av_packet_free, problem);
    Find(codec, "av_packet_unref", f.av_packet_unref, problem);
    Find(format, "avformat_alloc_context", f.avformat_alloc_context, problem);
    Find(format, "avformat_open_input", f.avformat_open_input, problem);
    Find(format, "avformat_find_stream_info", f.avformat_find_stream_info, problem);
    Find(format, "avformat_close_input", f.avformat_close_input, problem);
    Find(format, "av_find_input_format", f.av_find_input_format, problem);
    Find(format, "av_find_best_stream", f.av_find_best_stream, problem);
    Find(format, "av_read_frame", f.av_read_frame, problem);
    Find(format, "av_url_split", f.av_url_split, problem);
    Find(scale, "sws_getCachedContext", f.sws_getCachedContext, problem);
    Find(scale, "sws_scale", f.sws_scale, problem);
    Find(scale, "sws_freeContext", f.sws_freeContext, problem);
    if (problem.empty()) f.av_log_set_level(AV_LOG_QUIET);
    return problem;
}

} // namespace

const FfmpegLibrary* Ffmpeg(std::string* problem) {
    static FfmpegLibrary library;
    static const std::string loading = [] {
        std::string why = Load(library);
        if (!why.empty()) LogError("cameras cannot open: {}", why);
        return why;
    }();
    if (problem) *problem = loading;
    return loading.empty() ? &library : nullptr;
}

std::string LoadFfmpegDevices() {
    static const std::string problem = []() -> std::string {
        std::string why;
        if (!Ffmpeg(&why)) return why;
        void* devices = Open(Soname("avdevice", LIBAVDEVICE_VERSION_MAJOR), why);
        using Register = void (*)();
        Register register_all = nullptr;
        Find(devices, "avdevice_register_all", register_all, why);
        if (register_all) register_all();
        return why;
    }();
    return problem;
}

} // namespace tess
