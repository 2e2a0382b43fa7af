// The canvas file: its sections and keys are those of the canvas's property tables, read in
// one order and written in another; both orders are kept exactly, since a key that is
// missing is appended where it is first read.

#include "base/log.h"
#include "base/text.h"
#include "document/canvas.h"
#include "document/canvas_properties.h"
#include "settings/numbers.h"

#include <fcntl.h>
#include <filesystem>
#include <unistd.h>

#include <fmt/format.h>

namespace tess {

namespace {

constexpr const char* kGeneral = "General";

// A file that is there but holds nothing of a canvas (emptied, truncated, another kind of
// file) is filled with the defaults like a missing one; the user hears of it.
void WarnIfNoCanvasIn(INI& ini, const std::string& path) {
    std::error_code ec; // missing and unreadable files have messages of their own
    if (!std::filesystem::is_regular_file(path, ec)) return;
    for (const char* key : {"Name", "Width", "Height"}) {
        if (!ini.GetKey(kGeneral, key, WriteDefault::No, "").empty()) return;
    }
    const bool empty = std::filesystem::file_size(path, ec) == 0 && !ec;
    LogWarning("canvas file '{}' {}: it has no [General] Name, Width or Height; the canvas takes "
               "the defaults, which are written back to it",
               path, empty ? "is empty" : "holds no canvas settings");
}

// A canvas file that holds an FTP password is for its owner's eyes only. The file is made
// private before it is written, and every later atomic write keeps its mode.
void KeepPrivate(const std::string& path) {
    namespace fs = std::filesystem;
    std::error_code ec;
    if (!fs::exists(path, ec)) {
        int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
        if (fd >= 0) ::close(fd);
        return;
    }
    fs::permissions(path, fs::perms::group_all | fs::perms::others_all, fs::perm_options::remove,
                    ec);
}

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
        WarnIfNoCanvasIn(ini_, path);
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
    // A copy loaded read-only would keep the save in memory. Otherwise the file stays open,
    // so that a save does not read and parse the whole file again first.
    if (ini_.ReadOnly()) ini_ = INI();
    const std::string path = PathFromSettings(file_name_);
    if (!ftp_push_.Password().empty()) KeepPrivate(path);
    ini_.SetFile(path);
    writes_ok_ = true;
    {
        IniBatch batch(ini_);
        NoteWrite(CanvasProperties().Save(*this, IniPlace{&ini_, {}, {}}));
        // The server key is optional: written when set, or to clear one the file holds.
        const std::string& key = ftp_push_.ServerKey();
        if (!key.empty() || !ini_.GetKey("FTPPush", "ServerKey", WriteDefault::No, "").empty())
            NoteWrite(ini_.SetKey("FTPPush", "ServerKey", key));
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
