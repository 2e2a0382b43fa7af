#pragma once

// One canvas of the portfolio: a picture of a fixed size on which text and graphic items are
// laid over a background colour, and the outputs that publish it (fixed and sequential JPEG
// files, the desktop background, an FTP push and the built-in web server), each with its
// own daily schedule. All of it is kept in one canvas file (".can").

#include "document/canvas_layers.h"
#include "document/composition_services.h"
#include "document/graphic_item.h"
#include "document/text_item.h"
#include "document/video_streaming.h"
#include "imaging/dib.h"
#include "imaging/jpeg_transcoder.h"
#include "imaging/ycbcr_overlay.h"
#include "imaging/ycbcr_planes.h"
#include "publish/canvas_web_server.h"
#include "publish/ftp_push.h"
#include "settings/ini.h"
#include "settings/limit.h"
#include "time/schedule.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace tess {

class IniSection;
struct OutputServices;
class SunTimes;

class Canvas {
public:
    // A canvas holds its items under these indexes, from 1 up.
    static constexpr int kMaxText = 101;
    static constexpr int kMaxGraphic = 100;
    static constexpr std::int32_t kMaxDimension = 8192;
    // A canvas keeps up to six bitmaps of its size; beyond this many pixels (4096 x 4096, or
    // a panorama of 8192 x 2048) it is not composed, so that one mistyped size cannot take
    // the memory of a small machine.
    static constexpr std::int64_t kMaxPixels = 16LL * 1024 * 1024;
    static constexpr double kMaxRate = 86400;
    static constexpr std::int32_t kMaxBaseTime = 86400;
    static constexpr std::int32_t kMaxCascadeCount = 9999; // numbered "0001".."9999"
    static constexpr std::int32_t kLastCascadeMode = 1;
    static constexpr std::int32_t kLastSequentialType = 1;
    static constexpr std::int32_t kMaxSequentialNumber = 99999999;

    // `canvas_value` is the canvas's slot in the portfolio; it names its default files.
    Canvas(std::int32_t canvas_value, SunTimes& sun);
    ~Canvas();
    Canvas(const Canvas&) = delete;
    Canvas& operator=(const Canvas&) = delete;

    std::int32_t CanvasValue() const { return canvas_value_; }

    // The canvas file, as the portfolio file holds it; "\" is kept and converted when used.
    const std::string& FileName() const { return file_name_; }
    void SetFileName(std::string value) { file_name_ = std::move(value); }

    // Reads every section and item of the canvas file, writing back the defaults of missing
    // keys; a file that does not exist gives all defaults and is created. False when the
    // file could not be written. With `FileAccess::ReadOnly` the file is only read.
    enum class FileAccess { ReadWrite, ReadOnly };
    bool LoadFile(FileAccess access = FileAccess::ReadWrite);
    // Why the size in the file could not be used as it stands; empty when it could.
    const std::string& SizeProblem() const { return size_problem_; }
    // Writes every setting and every item; false when the file could not be written.
    bool SaveFile();
    void LoadText();
    void SaveText();
    void LoadGraphics();
    void SaveGraphics();

    // --- General ---
    const std::string& Name() const { return name_; }
    void SetName(std::string value) { Mark(StoreIfChanged(name_, std::move(value))); }
    std::int32_t Width() const { return width_; }
    std::int32_t Height() const { return height_; }
    void SetWidthHeight(std::int32_t width, std::int32_t height);
    // The window may not resize the picture.
    bool SizeLocked() const { return size_locked_; }
    void SetSizeLocked(bool value) { Mark(StoreIfChanged(size_locked_, value)); }
    // The canvas window: 0 normal, 1 minimized, 2 maximized.
    std::int32_t WindowState() const { return window_state_; }
    void SetWindowState(std::int32_t value) { Mark(StoreLimited(window_state_, value, 0, 2)); }
    std::int32_t Left() const { return left_; }
    void SetLeft(std::int32_t value) { Mark(StoreIfChanged(left_, value)); }
    std::int32_t Top() const { return top_; }
    void SetTop(std::int32_t value) { Mark(StoreIfChanged(top_, value)); }
    // 0 a window inside the main window, 1 a free-standing window.
    std::int32_t FormType() const { return form_type_; }
    void SetFormType(std::int32_t value) { Mark(StoreLimited(form_type_, value, 0, 1)); }
    // Darkness of the items' shadows, percent.
    std::int32_t ShadowIntensity() const { return shadow_intensity_; }
    void SetShadowIntensity(std::int32_t value) {
        MarkAndRedraw(StoreLimited(shadow_intensity_, value, 0, 100));
    }
    std::uint32_t BackgroundColor() const { return background_color_; } // 0x00BBGGRR
    void SetBackgroundColor(std::uint32_t value) {
        MarkAndRedraw(StoreIfChanged(background_color_, std::min(value, 0xFFFFFFu)));
    }

    // --- Fixed file, with its cascade of older copies ---
    bool FixedEnabled() const { return fixed_enabled_; }
    void SetFixedEnabled(bool value) { Mark(StoreIfChanged(fixed_enabled_, value)); }
    double FixedRate() const { return fixed_rate_; }
    void SetFixedRate(double value) { Mark(StoreLimited(fixed_rate_, value, 0.0, kMaxRate)); }
    std::int32_t FixedBaseTime() const { return fixed_base_time_; }
    void SetFixedBaseTime(std::int32_t value) {
        Mark(StoreLimited(fixed_base_time_, value, 0, kMaxBaseTime));
    }
    const std::string& FixedFileName() const { return fixed_file_name_; }
    void SetFixedFileName(std::string value) {
        Mark(StoreIfChanged(fixed_file_name_, std::move(value)));
    }
    std::int32_t FixedQuality() const { return fixed_quality_; }
    void SetFixedQuality(std::int32_t value) { Mark(StoreLimited(fixed_quality_, value, 0, 100)); }
    bool CascadeEnabled() const { return cascade_enabled_; }
    void SetCascadeEnabled(bool value) { Mark(StoreIfChanged(cascade_enabled_, value)); }
    std::int32_t CascadeCount() const { return cascade_count_; }
    void SetCascadeCount(std::int32_t value) {
        Mark(StoreLimited(cascade_count_, value, 1, kMaxCascadeCount));
    }
    std::int32_t CascadeMode() const { return cascade_mode_; }
    void SetCascadeMode(std::int32_t value) {
        Mark(StoreLimited(cascade_mode_, value, 0, kLastCascadeMode));
    }

    // --- Sequential files ---
    bool SequentialEnabled() const { return sequential_enabled_; }
    void SetSequentialEnabled(bool value) { Mark(StoreIfChanged(sequential_enabled_, value)); }
    double SequentialRate() const { return sequential_rate_; }
    void SetSequentialRate(double value) {
        Mark(StoreLimited(sequential_rate_, value, 0.0, kMaxRate));
    }
    std::int32_t SequentialBaseTime() const { return sequential_base_time_; }
    void SetSequentialBaseTime(std::int32_t value) {
        Mark(StoreLimited(sequential_base_time_, value, 0, kMaxBaseTime));
    }
    const std::string& SequentialDirectory() const { return sequential_directory_; }
    void SetSequentialDirectory(std::string value) {
        Mark(StoreIfChanged(sequential_directory_, std::move(value)));
    }
    // Which of the two naming schemes (time-stamped or numbered) sequential files use.
    std::int32_t SequentialType() const { return sequential_type_; }
    void SetSequentialType(std::int32_t value) {
        Mark(StoreLimited(sequential_type_, value, 0, kLastSequentialType));
    }
    std::int32_t SequentialNumber() const { return sequential_number_; }
    void SetSequentialNumber(std::int32_t value) {
        Mark(StoreLimited(sequential_number_, value, 0, kMaxSequentialNumber));
    }
    std::int32_t SequentialQuality() const { return sequential_quality_; }
    void SetSequentialQuality(std::int32_t value) {
        Mark(StoreLimited(sequential_quality_, value, 0, 100));
    }

    // --- Desktop background ---
    bool BackgroundEnabled() const { return background_enabled_; }
    void SetBackgroundEnabled(bool value) { Mark(StoreIfChanged(background_enabled_, value)); }
    double BackgroundRate() const { return background_rate_; }
    void SetBackgroundRate(double value) {
        Mark(StoreLimited(background_rate_, value, 0.0, kMaxRate));
    }
    std::int32_t BackgroundBaseTime() const { return background_base_time_; }
    void SetBackgroundBaseTime(std::int32_t value) {
        Mark(StoreLimited(background_base_time_, value, 0, kMaxBaseTime));
    }

    Schedule& FixedSchedule() { return fixed_schedule_; }
    Schedule& SequentialSchedule() { return sequential_schedule_; }
    Schedule& BackgroundSchedule() { return background_schedule_; }
    tess::FTPPush& FTPPush() { return ftp_push_; }
    tess::CanvasWebServer& CanvasWebServer() { return web_server_; }
    const Schedule& FixedSchedule() const { return fixed_schedule_; }
    const Schedule& SequentialSchedule() const { return sequential_schedule_; }
    const Schedule& BackgroundSchedule() const { return background_schedule_; }
    const tess::FTPPush& FTPPush() const { return ftp_push_; }
    const tess::CanvasWebServer& CanvasWebServer() const { return web_server_; }

    // --- Items ---
    // The item with that index, or null when there is none (or the index is out of range).
    TextItem* Text(int index);
    GraphicItem* Graphic(int index);
    // A new item with its defaults under a free index 1..kMaxText (..kMaxGraphic); an index
    // out of range or taken raises a subscript error.
    TextItem& AddText(int index);
    GraphicItem& AddGraphic(int index);
    // The item's section is removed from the file at the next save.
    void RemoveText(int index);
    void RemoveGraphic(int index);

    // Shown in a window, and composed and published on the update timer. Neither is kept in
    // the canvas file: the portfolio file's list of canvases says which are open.
    bool Visible() const { return visible_; }
    void SetVisible(bool value) { visible_ = value; }
    bool Enabled() const { return enabled_; }
    void SetEnabled(bool value) { enabled_ = value; }

    // True when any setting, schedule or item changed since the file was loaded or saved.
    bool NeedSaving() const;
    void SetNeedSaving(bool value);

    // ---- Composition ----
    // Sizes the layer bitmaps for the canvas's size; false (with a log line naming the
    // canvas file) when the picture would be too large.
    bool InitDIBs();
    void UnloadDIBs();
    void ForceLayerRedraw(std::int32_t layer) {
        layers_.ForceLayerRedraw(layer);
        overlay_stale_ = true;
    }
    // Every layer rebuilt at the next pass; a schedule that opens or closes asks for it.
    void ForceRedraw() { layers_.ForceRedraw(); }
    // Every item refreshed and every layer rebuilt at the next pass.
    void ForceReload() { layers_.ForceReload(); }
    // One composition pass of the update tick: refreshes the items that are due, rebuilds the
    // layers they changed and the composed picture. False when the application stopped
    // running during a script event: the tick goes no further.
    bool UpdateImage(const CompositionServices& services);
    // Draws the items of one layer into its bitmap: all shadows, then graphics, then texts.
    void AddTextAndGraphicLayer(std::int32_t layer);

    // The composed picture that is shown, saved and published; empty until first composed.
    // A camera frame passed through to the live stream is drawn into it here, when asked.
    const tess::DIB& ComposedDIB();
    // Goes up each time the composed picture changes.
    std::uint64_t PictureRevision() const { return layers_.Revision() + passed_frames_; }
    // Camera frames that went to the stream without being drawn (tests, benchmarks).
    std::uint64_t PassedFrames() const { return passed_frames_; }
    // Of those sent to viewers, the ones whose JPEG was the camera's, transcoded.
    std::uint64_t TranscodedFrames() const { return transcoded_frames_; }

    // ---- Outputs ----
    // The fixed file, the sequential file and the desktop background when due at `now`.
    // A file that cannot be written raises an error naming it.
    void DoSaves(double now, OutputServices& outputs);
    void SetNextFixedTime(double now);
    void SetNextSequentialTime(double now);
    void SetNextBackgroundTime(double now);
    double FixedNextFrame() const { return fixed_next_frame_; }
    double SequentialNextFrame() const { return sequential_next_frame_; }
    double BackgroundNextFrame() const { return background_next_frame_; }
    tess::VideoStreaming& VideoStreaming() { return video_streaming_; }

    // The earliest time after the last pass at which an item or an output of the canvas
    // comes due, or `limit` when none comes sooner: the update timer sleeps until then.
    double NextDue(double limit) const;

private:
    template <typename Item, std::size_t N>
    struct ItemTable {
        std::array<std::unique_ptr<Item>, N + 1> items; // [0] unused
        std::array<bool, N + 1> removed{};
    };

    void Mark(bool changed) { need_saving_ |= changed; }
    void MarkAndRedraw(bool changed) {
        if (!changed) return;
        need_saving_ = true;
        layers_.ForceRedraw();
    }
    void WireItem(CanvasItem& item);
    template <typename Table>
    void RemoveItem(Table& table, int index);
    // An item drawn or to be drawn on its layer: marks what must be rebuilt.
    void NoteDrawn(CanvasItem& item, bool changed);
    void NoteHidden(CanvasItem& item);
    bool ComposePass(const CompositionServices& services);
    bool UpdateTexts(const CompositionServices& services, bool reload);
    bool UpdateGraphics(const CompositionServices& services, bool reload);
    // False when nothing changed, so the picture is the one already shown.
    bool RebuildLayers();
    void DrawLayer(std::int32_t index, DIB& layer);
    bool LayerCoversCanvas(std::int32_t index);
    void MergeShadows(DIB& layer, std::int32_t index);

    // ---- A camera frame passed through (canvas_pass_through.cpp) ----
    GraphicItem* PassThroughCamera(double now);
    bool DefersRefresh(const GraphicItem& item, bool reload) const;
    void DeferCamera(GraphicItem& item, int index, const CompositionServices& services);
    bool OverlayStale() const;
    bool PassFrameThrough(const CompositionServices& services, bool changed_this_pass);
    std::vector<std::uint8_t> EncodePassedFrame(const CompositionServices& services,
                                                std::string_view feed,
                                                std::span<const std::uint8_t> jpeg);
    bool OverlayReady(bool changed_this_pass);
    void DrawOverCamera(DIB& target, bool shadows);
    enum class ShadowsOver { None, Frame, Items };
    ShadowsOver CastShadows();
    void DrawDeferredCamera();
    void SaveFixed(const std::vector<std::uint8_t>& jpeg);
    void SaveSequential(const std::vector<std::uint8_t>& jpeg, double now);
    void CheckLoadedSize();
    template <typename Item, std::size_t N>
    void LoadItems(ItemTable<Item, N>& table, const char* prefix);
    template <typename Item, std::size_t N>
    void SaveItems(ItemTable<Item, N>& table, const char* prefix);
    void NoteWrite(bool ok) { writes_ok_ &= ok; }

    std::int32_t canvas_value_;
    SunTimes* sun_;
    std::string file_name_;
    INI ini_;
    bool writes_ok_ = true;

    std::string name_;
    std::int32_t width_ = 320;
    std::int32_t height_ = 240;
    bool size_locked_ = false;
    std::int32_t window_state_ = 2;
    std::int32_t left_ = 0;
    std::int32_t top_ = 0;
    std::int32_t form_type_ = 0;
    std::int32_t shadow_intensity_ = 30;
    std::uint32_t background_color_ = 0xFFFFFF;

    bool fixed_enabled_ = false;
    double fixed_rate_ = 60;
    std::int32_t fixed_base_time_ = 0;
    std::string fixed_file_name_ = "images\\fixed.jpg";
    std::int32_t fixed_quality_ = 80;
    bool cascade_enabled_ = false;
    std::int32_t cascade_count_ = 100;
    std::int32_t cascade_mode_ = 0;

    bool sequential_enabled_ = false;
    double sequential_rate_ = 60;
    std::int32_t sequential_base_time_ = 0;
    std::string sequential_directory_ = "sequential\\";
    std::int32_t sequential_type_ = 0;
    std::int32_t sequential_number_ = 0;
    std::int32_t sequential_quality_ = 80;

    bool background_enabled_ = false;
    double background_rate_ = 60;
    std::int32_t background_base_time_ = 0;

    Schedule fixed_schedule_;
    Schedule sequential_schedule_;
    Schedule background_schedule_;
    tess::FTPPush ftp_push_;
    tess::CanvasWebServer web_server_;

    ItemTable<TextItem, kMaxText> texts_;
    ItemTable<GraphicItem, kMaxGraphic> graphics_;

    bool visible_ = false;
    bool enabled_ = false;
    bool need_saving_ = false;

    CanvasLayers layers_;
    std::array<bool, CanvasLayers::kLayers> layer_used_{};
    bool size_refused_ = false;
    std::string size_problem_;
    double fixed_next_frame_ = 0;
    double sequential_next_frame_ = 0;
    double background_next_frame_ = 0;
    tess::VideoStreaming video_streaming_;

    // A camera item whose frames go to the stream as YCbCr planes, with what lies over them,
    // and are drawn into the layers only when the composed picture is asked for.
    GraphicItem* camera_ = nullptr;       // the candidate of the current pass
    int deferred_index_ = 0;              // the camera item whose newest frame is not drawn; 0 none
    std::uint64_t deferred_revision_ = 0; // that frame's revision
    bool deferred_this_pass_ = false;
    const CompositionServices* deferred_services_ = nullptr;
    double deferred_now_ = 0;
    bool overlay_stale_ = true; // an item over the camera changed since the overlay was made
    std::uint64_t overlay_redraws_ = 0;
    const GraphicItem* overlay_camera_ = nullptr;
    bool overlay_ok_ = false;
    const CanvasItem* drawing_over_ = nullptr; // while the overlay is drawn: the camera
    bool shadows_over_ = false;                // and whether it is the shadows alone
    bool composing_ = false;                   // inside UpdateImage
    YCbCrOverlay overlay_;
    YCbCrPlanes passed_;
    JpegTranscoder transcoder_;
    std::uint64_t passed_frames_ = 0;
    std::uint64_t transcoded_frames_ = 0;
};

} // namespace tess
