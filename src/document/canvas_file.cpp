// The canvas file: its sections and keys in the order they are read and written. Keys are
// read in one order and written in another; both orders are kept exactly, since a key that
// is missing is appended where it is first read.

#include "base/log.h"
#include "base/text.h"
#include "document/canvas.h"
#include "settings/ini_section.h"
#include "settings/numbers.h"

#include <fcntl.h>
#include <filesystem>
#include <unistd.h>

#include <fmt/format.h>

namespace tess {

namespace {

constexpr const char* kGeneral = "General";
constexpr const char* kBackground = "Background";
constexpr const char* kCapture = "Capture";
constexpr const char* kFTPPush = "FTPPush";
constexpr const char* kWebServer = "WebServer";
// No real server: users replace it with their own.
constexpr const char* kExampleFTPServer = "ftp.example.com";

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
        LoadGeneral();
        LoadCapture();
        LoadBackgroundOutput();
        LoadFTPPush();
        LoadWebServer();
        LoadText();
        LoadGraphics();
        NoteWrite(batch.Commit());
    }
    SetNeedSaving(false);
    return writes_ok_;
}

bool Canvas::SaveFile() {
    if (file_name_.empty()) return false;
    ini_ = INI(); // a copy loaded read-only would keep the save in memory
    const std::string path = PathFromSettings(file_name_);
    if (!ftp_push_.Password().empty()) KeepPrivate(path);
    ini_.SetFile(path);
    writes_ok_ = true;
    {
        IniBatch batch(ini_);
        SaveGeneral();
        SaveCapture();
        SaveBackgroundOutput();
        SaveFTPPush();
        SaveWebServer();
        SaveText();
        SaveGraphics();
        NoteWrite(batch.Commit());
    }
    if (writes_ok_) SetNeedSaving(false);
    return writes_ok_;
}

void Canvas::LoadGeneral() {
    IniSection general(ini_, kGeneral);
    // A name given before loading (a new canvas's name) stands in for a missing one.
    SetName(general.Text("Name", name_.empty() ? "New Canvas" : name_));
    std::int32_t width = general.Long("Width", "320");
    std::int32_t height = general.Long("Height", "240");
    SetWidthHeight(width, height);
    size_problem_.clear();
    if (width != width_ || height != height_) {
        size_problem_ = fmt::format("a canvas of {} x {} pixels is outside 1 x 1 to {} x {}", width,
                                    height, kMaxDimension, kMaxDimension);
        LogWarning("canvas file '{}': {}; it is {} x {}", file_name_, size_problem_, width_,
                   height_);
    }
    SetSizeLocked(general.Bool("SizeLocked", false));
    SetWindowState(general.Long("WindowState", "2"));
    SetLeft(general.Long("PosX", CStrNI(left_)));
    SetTop(general.Long("PosY", CStrNI(top_)));
    SetShadowIntensity(general.Long("ShadowIntensity", "30"));
    SetFormType(general.Long("FormType", "0"));
    IniSection background(ini_, kBackground);
    SetBackgroundColor(background.Color("BackgroundColor", "&HFFFFFF"));
}

void Canvas::SaveGeneral() {
    IniSection general(ini_, kGeneral);
    IniSection background(ini_, kBackground);
    general.SetText("Name", Name());
    general.SetLong("Width", Width());
    general.SetLong("Height", Height());
    general.SetBool("SizeLocked", SizeLocked());
    general.SetLong("PosX", Left());
    general.SetLong("PosY", Top());
    general.SetLong("WindowState", WindowState());
    general.SetLong("ShadowIntensity", ShadowIntensity());
    background.SetColor("BackgroundColor", BackgroundColor());
    general.SetLong("FormType", FormType());
    NoteWrite(general.WritesOk() && background.WritesOk());
}

void Canvas::LoadCapture() {
    IniSection capture(ini_, kCapture);
    SetFixedEnabled(capture.Bool("FixedEnabled", false));
    SetFixedRate(capture.Double("FixedRate", "60"));
    SetFixedBaseTime(capture.TimeOfDay("FixedBaseTime"));
    SetFixedFileName(capture.Text("FixedFileName", "images\\fixed.jpg"));
    SetFixedQuality(capture.Long("FixedQuality", "80"));
    SetCascadeEnabled(capture.Bool("CascadeEnabled", false));
    SetCascadeCount(capture.Long("CascadeCount", "100"));
    SetCascadeMode(capture.Long("CascadeMode", "0"));
    fixed_schedule_.LoadSettings(ini_, "FixedCaptureSchedule");
    SetSequentialEnabled(capture.Bool("SequentialEnabled", false));
    SetSequentialRate(capture.Double("SequentialRate", "60"));
    SetSequentialBaseTime(capture.TimeOfDay("SequentialBaseTime"));
    SetSequentialDirectory(capture.Text("SequentialDirectory", "sequential\\"));
    SetSequentialType(capture.Long("SequentialType", "0"));
    SetSequentialNumber(capture.Long("SequentialNumber", "0"));
    SetSequentialQuality(capture.Long("SequentialQuality", "80"));
    sequential_schedule_.LoadSettings(ini_, "SequentialCaptureSchedule");
}

void Canvas::SaveCapture() {
    IniSection capture(ini_, kCapture);
    capture.SetBool("FixedEnabled", FixedEnabled());
    capture.SetDouble("FixedRate", FixedRate());
    capture.SetTimeOfDay("FixedBaseTime", FixedBaseTime());
    capture.SetText("FixedFileName", FixedFileName());
    capture.SetLong("FixedQuality", FixedQuality());
    capture.SetBool("CascadeEnabled", CascadeEnabled());
    capture.SetLong("CascadeCount", CascadeCount());
    capture.SetLong("CascadeMode", CascadeMode());
    NoteWrite(fixed_schedule_.SaveSettings(ini_, "FixedCaptureSchedule"));
    capture.SetBool("SequentialEnabled", SequentialEnabled());
    capture.SetDouble("SequentialRate", SequentialRate());
    capture.SetTimeOfDay("SequentialBaseTime", SequentialBaseTime());
    capture.SetText("SequentialDirectory", SequentialDirectory());
    capture.SetLong("SequentialType", SequentialType());
    capture.SetLong("SequentialNumber", SequentialNumber());
    capture.SetLong("SequentialQuality", SequentialQuality());
    NoteWrite(sequential_schedule_.SaveSettings(ini_, "SequentialCaptureSchedule"));
    NoteWrite(capture.WritesOk());
}

void Canvas::LoadBackgroundOutput() {
    IniSection background(ini_, kBackground);
    SetBackgroundEnabled(background.Bool("BackgroundEnabled", false));
    SetBackgroundRate(background.Double("BackgroundRate", "60"));
    SetBackgroundBaseTime(background.TimeOfDay("BackgroundBaseTime"));
    background_schedule_.LoadSettings(ini_, "BackgroundSchedule");
}

void Canvas::SaveBackgroundOutput() {
    IniSection background(ini_, kBackground);
    background.SetBool("BackgroundEnabled", BackgroundEnabled());
    background.SetDouble("BackgroundRate", BackgroundRate());
    background.SetTimeOfDay("BackgroundBaseTime", BackgroundBaseTime());
    NoteWrite(background.WritesOk());
    NoteWrite(background_schedule_.SaveSettings(ini_, "BackgroundSchedule"));
}

void Canvas::LoadFTPPush() {
    IniSection push(ini_, kFTPPush);
    tess::FTPPush& p = ftp_push_;
    p.SetEnabled(push.Bool("Enabled", false));
    p.SetBaseTime(push.TimeOfDay("BaseTime"));
    p.SetPath(push.Text("FilePath", fmt::format("FTPPush{:02}.jpg", canvas_value_)));
    p.SetFTPMode(push.Long("FTPMode", "0"));
    p.SetInterval(push.Double("Interval", "60"));
    p.SetPassword(push.Text("Password", ""));
    p.SetQuality(push.Long("Quality", "80"));
    p.SetServerName(push.Text("ServerName", kExampleFTPServer));
    p.SetUserName(push.Text("UserName", ""));
    // Only files that use the key carry it.
    p.SetServerKey(ini_.GetKey(kFTPPush, "ServerKey", WriteDefault::No, ""));
    p.Schedule().LoadSettings(ini_, "FTPPushSchedule");
}

void Canvas::SaveFTPPush() {
    IniSection push(ini_, kFTPPush);
    const tess::FTPPush& p = ftp_push_;
    push.SetBool("Enabled", p.Enabled());
    push.SetTimeOfDay("BaseTime", p.BaseTime());
    push.SetText("FilePath", p.Path());
    push.SetLong("FTPMode", p.FTPMode());
    push.SetDouble("Interval", p.Interval());
    push.SetText("Password", p.Password());
    push.SetLong("Quality", p.Quality());
    push.SetText("ServerName", p.ServerName());
    push.SetText("UserName", p.UserName());
    if (!p.ServerKey().empty() || !ini_.GetKey(kFTPPush, "ServerKey", WriteDefault::No, "").empty())
        push.SetText("ServerKey", p.ServerKey());
    NoteWrite(push.WritesOk());
    NoteWrite(p.Schedule().SaveSettings(ini_, "FTPPushSchedule"));
}

void Canvas::LoadWebServer() {
    IniSection web(ini_, kWebServer);
    tess::CanvasWebServer& w = web_server_;
    w.SetEnabled(web.Bool("Enabled", false));
    w.SetFileName(web.Text("FileName", fmt::format("Canvas{:02}.jpg", canvas_value_)));
    w.SetInterval(web.Double("Interval", "0"));
    w.SetQuality(web.Long("Quality", "80"));
    w.SetOffScheduleFile(web.Text("OffScheduleFile", "offair.jpg"));
    w.Schedule().LoadSettings(ini_, "WebServerSchedule");
}

void Canvas::SaveWebServer() {
    IniSection web(ini_, kWebServer);
    const tess::CanvasWebServer& w = web_server_;
    web.SetBool("Enabled", w.Enabled());
    web.SetText("FileName", w.FileName());
    web.SetDouble("Interval", w.Interval());
    web.SetLong("Quality", w.Quality());
    web.SetText("OffScheduleFile", w.OffScheduleFile());
    NoteWrite(web.WritesOk());
    NoteWrite(w.Schedule().SaveSettings(ini_, "WebServerSchedule"));
}

} // namespace tess
