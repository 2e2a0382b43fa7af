#pragma once

// Finds and opens fonts: fontconfig turns a font name such as "Arial" into a file (Liberation
// Sans on a Debian machine), FreeType opens it. Both answers are kept, within bounds, and the
// names' files also on disk (FontCache), so that fontconfig starts only for a name not met
// before.

#include "imaging/text/font_cache.h"
#include "imaging/text/font_face.h"
#include "imaging/text/lru_cache.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include <fontconfig/fontconfig.h>

namespace tess {

// Draws what the asked font lacks, a font name fontconfig does not know, and the trend arrows.
inline constexpr std::string_view kFallbackFamily = "DejaVu Sans";

class FontLibrary {
public:
    // One render holds two faces at once (its font and the fallback, which also draws the
    // arrows); at least three stay open, so opening one never closes the other.
    // `cache_path`: the file of remembered answers (see FontCache; empty: none).
    explicit FontLibrary(std::size_t max_faces, std::string cache_path = FontCache::DefaultPath());
    ~FontLibrary();
    FontLibrary(const FontLibrary&) = delete;
    FontLibrary& operator=(const FontLibrary&) = delete;

    // The face for a font name and style, at whatever size it was last used; the fallback
    // family when fontconfig knows nothing like the name; null when no font opens at all.
    FontFace* Face(std::string_view name, bool bold, bool italic);

    // Which file a font name and style resolve to; an empty file when none.
    const FaceSource& Resolve(std::string_view name, bool bold, bool italic);

    std::size_t OpenFaces() const { return faces_.Size(); }
    std::uint64_t FontconfigLookups() const { return lookups_; }

private:
    struct Request {
        std::string name; // lower case, trimmed
        bool bold;
        bool italic;
        bool operator==(const Request&) const = default;
    };
    struct RequestHash {
        std::size_t operator()(const Request& r) const;
    };
    struct Match {
        FaceSource source;
        bool like_name = false; // the family asked for, or one fontconfig names in its place
    };

    FcConfig* Config();
    FontCache::Entry Lookup(std::string_view name, bool bold, bool italic);
    Match MatchFamily(std::string_view family, bool bold, bool italic);
    void WarnOnce(std::string_view name, std::string_view message);
    static std::string NotInstalled();

    FT_Library ft_ = nullptr;
    FcConfig* config_ = nullptr;
    bool config_tried_ = false;
    FontCache disk_;
    // The families fontconfig tries for a name it does not know: a match among these alone
    // means the name itself found nothing.
    std::vector<std::string> default_families_;
    std::unordered_map<Request, FaceSource, RequestHash> resolved_;
    LruCache<FaceSource, std::unique_ptr<FontFace>, FaceSourceHash> faces_;
    std::unordered_set<std::string> warned_;
    std::uint32_t next_face_id_ = 1;
    std::uint64_t lookups_ = 0;
};

} // namespace tess
