#pragma once

// Whole-file reads and writes. A write goes to a temporary file beside the target, is
// flushed to disk and then renamed over it, so a reader (or a crash) sees the old file or
// the new one, never a part of either.

#include <cstddef>
#include <string>
#include <string_view>

namespace tess {

// Whether the bytes are forced to the disk before the rename. Settings are; pictures that are
// replaced many times a minute are not, since forcing each one would wear out the memory
// cards of small machines and stall the update loop: readers still never see half a file.
enum class Durability { Synced, Unsynced };

// Returns true on success; on failure `error` says which file and why.
bool WriteFileAtomic(const std::string& path, std::string_view bytes, std::string* error = nullptr,
                     Durability durability = Durability::Synced);

// Removes the temporary files that saves into `file`'s folder left when their process was
// killed ("name.tmp<pid>.<n>" of processes no longer running). Saves call it themselves.
void RemoveLeftoverTemporaries(const std::string& file);

// Reads a regular file whole; anything else (a FIFO, a device, a folder) is refused without
// waiting on it, as Unreadable with the reason.
enum class ReadStatus { Ok, Missing, Unreadable, TooLarge };

ReadStatus ReadWholeFile(const std::string& path, std::string& out, std::size_t max_bytes,
                         std::string* error = nullptr);

} // namespace tess
