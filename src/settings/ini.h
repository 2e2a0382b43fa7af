#pragma once

// A settings file read and written one key at a time. Every INI bound to the same path
// shares one parsed copy; see IniFile.

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace tess {

class IniFile;

enum class WriteDefault { No, Yes };

class INI {
public:
    INI() = default;
    explicit INI(const std::string& path) { SetFile(path); }

    void SetFile(const std::string& path);
    const std::string& File() const;

    // The key's value with "&34" turned back into quotes. A key that is missing or empty
    // gives `def`, which is also written into the file when `write_default` is Yes; with No
    // the result is empty and the file is left alone.
    std::string GetKey(std::string_view section, std::string_view key, WriteDefault write_default,
                       std::string_view def);
    // Stores the value with quotes written as "&34". False when the file could not be written.
    bool SetKey(std::string_view section, std::string_view key, std::string_view value);
    // Calls `visit` with each key name of a section, as the file writes it, in file order.
    void ForEachKey(std::string_view section, const std::function<void(std::string_view)>& visit);
    // Removes a whole section; false when the file could not be written.
    bool DeleteSection(std::string_view section);
    // Forgets what the file holds, so that it is written whole from what is set next: within
    // a batch, the old file is replaced in one step when the batch ends.
    void StartAfresh();
    // Keeps every later write of this file in memory (see IniFile::SetReadOnly).
    void SetReadOnly();
    bool ReadOnly() const;

private:
    friend class IniBatch;
    std::shared_ptr<IniFile> file_;
};

// Within a batch, reads and writes of the INI's file stay in memory; the file is written
// once when the last batch on it ends (a whole canvas load or save).
class IniBatch {
public:
    explicit IniBatch(const INI& ini);
    ~IniBatch();
    IniBatch(const IniBatch&) = delete;
    IniBatch& operator=(const IniBatch&) = delete;

    // Ends the batch now; false when the file could not be written.
    bool Commit();

private:
    std::shared_ptr<IniFile> file_;
};

} // namespace tess
