#include "imaging/text/font_library.h"

#include "base/log.h"
#include "base/text.h"

#include <algorithm>
#include <array>
#include <limits>

namespace tess {

namespace {

// Remembered answers and warned-about names are forgotten past these counts; a fontconfig
// lookup costs well under a millisecond, so forgetting only costs a little time.
constexpr std::size_t kMaxRememberedRequests = 256;
constexpr std::size_t kMaxWarnedNames = 256;

// Generic names are fulfilled by the default families by definition.
constexpr std::array<std::string_view, 7> kGenericFamilies = {
    "sans-serif", "sans", "serif", "monospace", "mono", "cursive", "fantasy"};

// fontconfig compares family names ignoring case and spaces; so do we.
std::string FamilyKey(std::string_view family) {
    std::string key;
    for (char c : family) {
        if (c != ' ') key += ToLowerAscii(c);
    }
    return key;
}

std::vector<std::string> Families(FcPattern* pattern) {
    std::vector<std::string> families;
    FcChar8* family = nullptr;
    for (int i = 0; FcPatternGetString(pattern, FC_FAMILY, i, &family) == FcResultMatch; ++i) {
        families.push_back(FamilyKey(reinterpret_cast<const char*>(family)));
    }
    return families;
}

bool Contains(const std::vector<std::string>& list, const std::string& key) {
    return std::find(list.begin(), list.end(), key) != list.end();
}

FcPattern* Substituted(FcConfig* config, FcPattern* pattern) {
    FcConfigSubstitute(config, pattern, FcMatchPattern);
    FcDefaultSubstitute(pattern);
    return pattern;
}

FaceSource SourceOf(FcPattern* match) {
    FaceSource source;
    FcChar8* file = nullptr;
    if (FcPatternGetString(match, FC_FILE, 0, &file) == FcResultMatch) {
        source.file = reinterpret_cast<const char*>(file);
    }
    FcPatternGetInteger(match, FC_INDEX, 0, &source.index);
    FcBool embolden = FcFalse;
    if (FcPatternGetBool(match, FC_EMBOLDEN, 0, &embolden) == FcResultMatch) {
        source.embolden = embolden == FcTrue;
    }
    // fontconfig slants a family without an italic through a shear matrix.
    FcMatrix* matrix = nullptr;
    if (FcPatternGetMatrix(match, FC_MATRIX, 0, &matrix) == FcResultMatch) {
        source.oblique = matrix->xy != 0;
    }
    return source;
}

} // namespace

std::size_t FontLibrary::RequestHash::operator()(const Request& r) const {
    return std::hash<std::string>()(r.name) ^ (r.bold ? 0x9E37 : 0) ^ (r.italic ? 0x79B9 : 0);
}

FontLibrary::FontLibrary(std::size_t max_faces, std::string cache_path)
    : disk_(std::move(cache_path)),
      faces_(std::max<std::size_t>(max_faces, 3), std::numeric_limits<std::size_t>::max()) {
    if (FT_Init_FreeType(&ft_) != 0) {
        ft_ = nullptr;
        LogError("text: FreeType could not start; texts will not be drawn");
    }
}

// fontconfig starts at the first name that neither this run nor the disk cache has met.
FcConfig* FontLibrary::Config() {
    if (config_tried_) return config_;
    config_tried_ = true;
    config_ = FcInitLoadConfigAndFonts();
    if (!config_) {
        LogError("text: fontconfig could not load its configuration; texts will not be drawn");
        return nullptr;
    }
    FcPattern* unknown = Substituted(config_, FcPatternCreate());
    default_families_ = Families(unknown);
    FcPatternDestroy(unknown);
    return config_;
}

FontLibrary::~FontLibrary() {
    faces_.Clear(); // before the library the faces belong to
    if (ft_) FT_Done_FreeType(ft_);
    if (config_) FcConfigDestroy(config_);
}

FontFace* FontLibrary::Face(std::string_view name, bool bold, bool italic) {
    const FaceSource& source = Resolve(name, bold, italic);
    if (source.file.empty() || !ft_) return nullptr;
    if (auto* face = faces_.Find(source)) return face->get();
    std::unique_ptr<FontFace> face = FontFace::Open(ft_, source, next_face_id_++);
    if (!face) {
        WarnOnce(source.file, "cannot be opened by FreeType");
        return nullptr;
    }
    FontFace* result = face.get();
    faces_.Insert(source, std::move(face), 1);
    return result;
}

const FaceSource& FontLibrary::Resolve(std::string_view name, bool bold, bool italic) {
    Request request{ToLowerAscii(Trim(name)), bold, italic};
    if (auto it = resolved_.find(request); it != resolved_.end()) return it->second;
    if (resolved_.size() >= kMaxRememberedRequests) resolved_.clear();
    const std::string key = FontCache::Key(name, bold, italic);
    FontCache::Entry entry;
    if (const FontCache::Entry* known = disk_.Find(key)) {
        entry = *known;
    } else {
        entry = Lookup(Trim(name), bold, italic);
        if (!entry.source.file.empty()) disk_.Store(key, entry);
    }
    if (entry.fallback) WarnOnce(Trim(name), NotInstalled());
    return resolved_.emplace(std::move(request), std::move(entry.source)).first->second;
}

std::string FontLibrary::NotInstalled() {
    return fmt::format("is not installed; drawing with {} instead", kFallbackFamily);
}

FontCache::Entry FontLibrary::Lookup(std::string_view name, bool bold, bool italic) {
    if (!Config()) return {};
    if (name.empty()) return {MatchFamily(kFallbackFamily, bold, italic).source, false};
    Match match = MatchFamily(name, bold, italic);
    if (match.like_name) return {match.source, false};
    Match fallback = MatchFamily(kFallbackFamily, bold, italic);
    // Without DejaVu installed, fontconfig's own choice is better than nothing.
    return {fallback.like_name ? fallback.source : match.source, true};
}

FontLibrary::Match FontLibrary::MatchFamily(std::string_view family, bool bold, bool italic) {
    ++lookups_;
    std::string family_z(family);
    FcPattern* pattern = FcPatternCreate();
    FcPatternAddString(pattern, FC_FAMILY, reinterpret_cast<const FcChar8*>(family_z.c_str()));
    FcPatternAddInteger(pattern, FC_WEIGHT, bold ? FC_WEIGHT_BOLD : FC_WEIGHT_REGULAR);
    FcPatternAddInteger(pattern, FC_SLANT, italic ? FC_SLANT_ITALIC : FC_SLANT_ROMAN);
    Substituted(config_, pattern);
    // The name followed by the substitutes fontconfig's rules give it ("Arial" brings
    // "Liberation Sans"), then the defaults every name gets.
    std::vector<std::string> candidates = Families(pattern);

    Match result;
    FcResult status = FcResultNoMatch;
    FcPattern* match = FcFontMatch(config_, pattern, &status);
    FcPatternDestroy(pattern);
    if (!match) return result;
    result.source = SourceOf(match);

    std::string asked = FamilyKey(family);
    bool generic = std::find(kGenericFamilies.begin(), kGenericFamilies.end(), asked) !=
                   kGenericFamilies.end();
    for (const std::string& got : Families(match)) {
        if (got == asked || generic ||
            (Contains(candidates, got) && !Contains(default_families_, got))) {
            result.like_name = true;
        }
    }
    FcPatternDestroy(match);
    return result;
}

void FontLibrary::WarnOnce(std::string_view name, std::string_view message) {
    std::string key = ToLowerAscii(name);
    if (warned_.contains(key)) return;
    if (warned_.size() >= kMaxWarnedNames) warned_.clear();
    warned_.insert(key);
    LogWarning("text: the font \"{}\" {}", name, message);
}

} // namespace tess
