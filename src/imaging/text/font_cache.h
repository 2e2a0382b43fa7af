#pragma once

// Which font file each font name and style resolved to, kept on disk between runs. Reading
// fontconfig's configuration costs every process that draws text some 6 ms; a command that
// draws one picture and ends (`tessarolle render`) then needs none of it. The file is only
// used while fontconfig's configuration, its caches and the font folders are unchanged since
// it was written, so installing a font makes every name resolve afresh.

#include "imaging/text/font_face.h"

#include <string>
#include <unordered_map>

namespace tess {

class FontCache {
public:
    struct Entry {
        FaceSource source;
        bool fallback = false; // the name found nothing like itself: the fallback font stood in
    };

    // Reads the file at `path` when it was written for the fonts installed now; an empty path
    // keeps nothing on disk.
    explicit FontCache(std::string path);

    // The entry for a name and style, when its font file is still there.
    const Entry* Find(const std::string& key) const;
    // Adds an entry and writes the file again (whole, replacing the old one).
    void Store(const std::string& key, const Entry& entry);

    // "name\tbold\titalic", the name trimmed and in lower case.
    static std::string Key(std::string_view name, bool bold, bool italic);
    // $XDG_CACHE_HOME/tessarolle/fonts.cache, or ~/.cache/tessarolle/fonts.cache.
    static std::string DefaultPath();
    // What the fonts installed now depend on: fontconfig's version and the change times of
    // its configuration, its caches and the font folders.
    static std::string Stamp();

private:
    std::string path_;
    std::string stamp_;
    std::unordered_map<std::string, Entry> entries_;
};

} // namespace tess
