// The canvas file: its sections and keys are those of the canvas's property tables, read in
// one order and written in another; both orders are kept exactly, since a key that is
// missing is appended where it is first read.

#include "base/log.h"
#include "base/text.h"
#include "document/canvas.h"
#include "document/canvas_properties.h"
#include "settings/numbers.h"

#include <filesystem>

#include <fmt/format.h>

namespace tess {

namespace {

constexpr const char* kGeneral = "General";

} // namespace

bool Canvas::LoadFile(FileAccess access) {
    if (file_name_.empty()) return false;
    const std::string path = PathFromSettings(file_name_);
    if (std::error_code ec; !std::filesystem::exists(path, ec) && access == FileAccess::ReadWrite)
        LogInfo("canvas file '{}' does not exist yet; it is created with the defaults", path);
    ini_.SetFile(path);
    if (access == FileAccess::ReadOnly) ini_.SetReadOnly();
    writes_ok_ = true;
    {
        IniBatch batch(ini_);
        CanvasProperties().Load(*this, IniPlace{&ini_, {}, {}});
        CheckLoadedSize();
        WarnUnknownKeys(ini_, CanvasProperties(), kGeneral);
        LoadText();
        LoadGraphics();
        NoteWrite(batch.Commit());
    }
    SetNeedSaving(false);
    return writes_ok_;
}

bool Canvas::SaveFile() {
    if (file_name_.empty()) return false;
    ini_.SetFile(PathFromSettings(file_name_));
    writes_ok_ = true;
    {
        IniBatch batch(ini_);
        NoteWrite(CanvasProperties().Save(*this, IniPlace{&ini_, {}, {}}));
        SaveText();
        SaveGraphics();
        NoteWrite(batch.Commit());
    }
    if (writes_ok_) SetNeedSaving(false);
    return writes_ok_;
}

// The size is read as two keys and set as one; a size the canvas refused is reported with
// what the file held.
void Canvas::CheckLoadedSize() {
    auto stored = [this](const char* key, std::int32_t fallback) {
        double value = 0;
        std::string text = ini_.GetKey(kGeneral, key, WriteDefault::No, "");
        return ParseNumber(text, '.', value) ? Str2LngNI(text) : fallback;
    };
    const std::int32_t width = stored("Width", width_);
    const std::int32_t height = stored("Height", height_);
    size_problem_.clear();
    if (width == width_ && height == height_) return;
    size_problem_ = fmt::format("a canvas of {} x {} pixels is outside 1 x 1 to {} x {}", width,
                                height, kMaxDimension, kMaxDimension);
    LogWarning("canvas file '{}': {}; it is {} x {}", file_name_, size_problem_, width_, height_);
}

} // namespace tess
