#include "imaging/text/font_cache.h"

#include "base/atomic_file.h"
#include "base/file_stamp.h"
#include "base/text.h"

#include <cstdlib>
#include <filesystem>

#include <fmt/format.h>
#include <fontconfig/fontconfig.h>

namespace tess {

namespace {

constexpr std::string_view kHeader = "Tessarolle font cache 1";
constexpr std::size_t kMaxFileBytes = 1 << 20;

std::string Env(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : "";
}

std::string Home() {
    return Env("HOME");
}

} // namespace

FontCache::FontCache(std::string path) : path_(std::move(path)), stamp_(Stamp()) {
    std::string text;
    if (path_.empty() || ReadWholeFile(path_, text, kMaxFileBytes) != ReadStatus::Ok) return;
    const std::vector<std::string_view> lines = Split(text, '\n');
    if (lines.size() < 2 || lines[0] != kHeader || lines[1] != stamp_) return;
    for (std::size_t i = 2; i < lines.size(); ++i) {
        // key (three fields), file, index, embolden, oblique, fallback
        const std::vector<std::string_view> f = Split(lines[i], '\t');
        if (f.size() != 8) continue;
        Entry entry;
        entry.source.file = std::string(f[3]);
        entry.source.index = std::atoi(std::string(f[4]).c_str());
        entry.source.embolden = f[5] == "1";
        entry.source.oblique = f[6] == "1";
        entry.fallback = f[7] == "1";
        entries_[fmt::format("{}\t{}\t{}", f[0], f[1], f[2])] = std::move(entry);
    }
}

const FontCache::Entry* FontCache::Find(const std::string& key) const {
    auto it = entries_.find(key);
    if (it == entries_.end() || !FileStamp::Of(it->second.source.file).exists) return nullptr;
    return &it->second;
}

void FontCache::Store(const std::string& key, const Entry& entry) {
    entries_[key] = entry;
    if (path_.empty()) return;
    std::string text = fmt::format("{}\n{}\n", kHeader, stamp_);
    for (const auto& [k, e] : entries_) {
        text += fmt::format("{}\t{}\t{}\t{:d}\t{:d}\t{:d}\n", k, e.source.file, e.source.index,
                            e.source.embolden, e.source.oblique, e.fallback);
    }
    std::error_code ec;
    std::filesystem::create_directories(std::filesystem::path(path_).parent_path(), ec);
    WriteFileAtomic(path_, text, nullptr, Durability::Unsynced); // a cache: losing it costs 6 ms
}

std::string FontCache::Key(std::string_view name, bool bold, bool italic) {
    return fmt::format("{}\t{:d}\t{:d}", ToLowerAscii(Trim(name)), bold, italic);
}

std::string FontCache::DefaultPath() {
    const std::string cache = Env("XDG_CACHE_HOME");
    if (!cache.empty()) return cache + "/tessarolle/fonts.cache";
    if (Home().empty()) return {};
    return Home() + "/.cache/tessarolle/fonts.cache";
}

std::string FontCache::Stamp() {
    const std::string home = Home();
    const std::string config =
        Env("XDG_CONFIG_HOME").empty() ? home + "/.config" : Env("XDG_CONFIG_HOME");
    const std::string data =
        Env("XDG_DATA_HOME").empty() ? home + "/.local/share" : Env("XDG_DATA_HOME");
    const std::string cache =
        Env("XDG_CACHE_HOME").empty() ? home + "/.cache" : Env("XDG_CACHE_HOME");
    std::string stamp = fmt::format("{} {}", FcGetVersion(), Env("FONTCONFIG_FILE"));
    for (const std::string& path :
         {std::string("/etc/fonts"), std::string("/etc/fonts/conf.d"),
          std::string("/etc/fonts/fonts.conf"), std::string("/etc/fonts/local.conf"),
          std::string("/var/cache/fontconfig"), std::string("/usr/share/fonts"),
          std::string("/usr/local/share/fonts"), config + "/fontconfig", cache + "/fontconfig",
          data + "/fonts", home + "/.fonts"}) {
        const FileStamp s = FileStamp::Of(path);
        stamp += fmt::format(" {}", s.exists ? s.mtime_ns : 0);
    }
    return stamp;
}

} // namespace tess
