#pragma once

// The one parsed copy of a settings file that every INI bound to its path shares. Outside a
// batch, each read checks whether the file changed on disk (another program, a user's
// editor) and each write replaces the file atomically at once. Inside a batch the copy is
// read once at the start and written once at the end.

#include "base/file_stamp.h"
#include "settings/ini_document.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace tess {

class IniFile {
public:
    explicit IniFile(std::string path);

    const std::string& Path() const { return path_; }
    std::optional<std::string> Read(std::string_view section, std::string_view key);
    bool Write(std::string_view section, std::string_view key, std::string_view value);
    bool RemoveSection(std::string_view section);
    void ForEachKey(std::string_view section, const std::function<void(std::string_view)>& visit);

    void StartAfresh();
    void BeginBatch();
    bool EndBatch();

    // From now on writes change only the copy in memory: for commands that preview a file
    // without touching it.
    void SetReadOnly() { read_only_ = true; }
    bool ReadOnly() const { return read_only_; }

    // The shared copy for a path, created on first use.
    static std::shared_ptr<IniFile> Open(const std::string& path);

private:
    void Refresh();
    bool Flush();

    std::string path_;
    IniDocument doc_;
    FileStamp stamp_;
    bool loaded_ = false;
    bool unreadable_ = false; // the file exists but could not be read: never overwrite it
    bool dirty_ = false;
    bool read_only_ = false;
    int batch_depth_ = 0;
};

} // namespace tess
