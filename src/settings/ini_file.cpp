#include "settings/ini_file.h"

#include "base/atomic_file.h"
#include "base/log.h"

#include <filesystem>
#include <mutex>
#include <unordered_map>
#include <unordered_set>

namespace tess {

namespace {

constexpr std::size_t kMaxSettingsFile = 64u << 20;

// Reloading a portfolio opens its files again; their folders need not be searched again.
bool FirstLookAt(const std::string& path) {
    static std::mutex mutex;
    static std::unordered_set<std::string> seen;
    std::lock_guard lock(mutex);
    if (seen.size() >= 4096) seen.clear(); // bounded, whatever names a script makes up
    return seen.insert(path).second;
}

} // namespace

IniFile::IniFile(std::string path) : path_(std::move(path)) {
    doc_.Clear();
}

std::shared_ptr<IniFile> IniFile::Open(const std::string& path) {
    // Not thread-safe on purpose: settings are only touched from the event loop's thread.
    static std::unordered_map<std::string, std::weak_ptr<IniFile>> registry;
    std::error_code ec;
    std::string key = std::filesystem::absolute(path, ec).lexically_normal().string();
    if (ec) key = path;
    if (auto existing = registry[key].lock()) return existing;
    auto file = std::make_shared<IniFile>(path);
    registry[key] = file;
    if (registry.size() > 64) std::erase_if(registry, [](auto& e) { return e.second.expired(); });
    return file;
}

void IniFile::Refresh() {
    FileStamp now = FileStamp::Of(path_);
    if (loaded_ && (now == stamp_ || read_only_)) return;
    if (dirty_) {
        LogWarning("settings file '{}' changed on disk; unsaved settings are written over it",
                   path_);
        return;
    }
    // The program's first look at a settings file also clears what killed saves of it left
    // behind (each save clears them again).
    if (!loaded_ && FirstLookAt(path_)) RemoveLeftoverTemporaries(path_);
    loaded_ = true;
    stamp_ = now;
    unreadable_ = false;
    std::string text, error;
    switch (ReadWholeFile(path_, text, kMaxSettingsFile, &error)) {
    case ReadStatus::Ok:
        doc_.Parse(text);
        return;
    case ReadStatus::Missing:
        doc_.Clear();
        return;
    case ReadStatus::Unreadable:
    case ReadStatus::TooLarge:
        LogError("settings file {}; its defaults are used and it is left untouched", error);
        unreadable_ = true;
        doc_.Clear();
        return;
    }
}

std::optional<std::string> IniFile::Read(std::string_view section, std::string_view key) {
    if (batch_depth_ == 0) Refresh();
    if (auto value = doc_.Find(section, key)) return std::string(*value);
    return std::nullopt;
}

void IniFile::ForEachKey(std::string_view section,
                         const std::function<void(std::string_view)>& visit) {
    if (batch_depth_ == 0) Refresh();
    doc_.ForEachKey(section, visit);
}

bool IniFile::Write(std::string_view section, std::string_view key, std::string_view value) {
    if (batch_depth_ == 0) Refresh();
    if (unreadable_) return false;
    dirty_ |= doc_.Set(section, key, value);
    return batch_depth_ > 0 || Flush();
}

bool IniFile::RemoveSection(std::string_view section) {
    if (batch_depth_ == 0) Refresh();
    if (unreadable_) return false;
    dirty_ |= doc_.RemoveSection(section);
    return batch_depth_ > 0 || Flush();
}

bool IniFile::Flush() {
    if (!dirty_ || read_only_) return true;
    std::string error;
    if (!WriteFileAtomic(path_, doc_.Serialize(), &error)) {
        LogError("settings not saved: {}", error);
        return false;
    }
    dirty_ = false;
    stamp_ = FileStamp::Of(path_);
    return true;
}

void IniFile::StartAfresh() {
    if (batch_depth_ == 0) Refresh();
    doc_.Clear();
    loaded_ = true;
    unreadable_ = false; // an unreadable file is replaced, not kept, when saved over on purpose
    dirty_ = true;
    if (batch_depth_ == 0) Flush();
}

void IniFile::BeginBatch() {
    if (batch_depth_++ == 0) Refresh();
}

bool IniFile::EndBatch() {
    if (batch_depth_ > 0 && --batch_depth_ > 0) return true;
    return unreadable_ || Flush();
}

} // namespace tess
