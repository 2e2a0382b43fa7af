#pragma once

// One settings file in memory, read and changed the way private-profile files are: sections
// and keys compare without case, the first section and the first key of a name win, values
// are trimmed and lose one pair of surrounding quotes, and a missing key or section is
// appended. Every line that is not changed is kept byte for byte, line endings included, so
// parsing and serialising an untouched file gives the same bytes.

#include "base/text.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace tess {

class IniDocument {
public:
    static constexpr std::size_t kMaxValueLength = 254;

    void Parse(std::string_view text);
    void Clear();
    std::string Serialize() const;

    std::optional<std::string_view> Find(std::string_view section, std::string_view key) const;
    // The names of the keys of the first section of that name, as written, in file order.
    void ForEachKey(std::string_view section,
                    const std::function<void(std::string_view)>& visit) const;
    // Writes "key=value"; returns true when the text changed. Names and values that could
    // not be read back as written (a key starting with "[" or holding "=", a section holding
    // "]", a line break anywhere) are refused and change nothing.
    bool Set(std::string_view section, std::string_view key, std::string_view value);
    // Removes the first section of the name with all its lines; true when there was one.
    bool RemoveSection(std::string_view section);

private:
    enum class Eol : std::uint8_t { None, Lf, CrLf };

    struct Line {
        std::string text;
        Eol eol = Eol::None;
        std::uint32_t key_length = 0; // length of the text before '=' when it is a key line
        bool is_key = false;
    };

    // The first line of each key name, without regard to case: open addressing over line
    // numbers, so that indexing the thousands of keys of a canvas file allocates nothing per
    // key.
    class KeyTable {
    public:
        static constexpr std::size_t kNone = static_cast<std::size_t>(-1);
        std::size_t Find(const std::vector<Line>& lines, std::string_view key) const;
        void Add(const std::vector<Line>& lines, std::size_t line); // an earlier one wins

    private:
        struct Slot {
            std::uint32_t hash = 0;
            std::uint32_t line = 0; // the line's number plus one; 0: empty
        };
        void Grow();
        std::vector<Slot> slots_; // a power of two in size, at most half full
        std::size_t used_ = 0;
    };

    struct Section {
        Line header; // empty text and no eol for the part before the first header
        std::vector<Line> lines;
        KeyTable keys;
    };

    static Line MakeLine(std::string_view text, Eol eol);
    static std::string_view KeyName(const Line& line);
    static void IndexKey(Section& section, std::size_t index);
    Section& AddSection(std::string_view name);
    void EndLastLine();

    std::vector<Section> sections_; // [0]: lines before any header
    NoCaseMap<std::size_t> index_;  // name -> first section
    Eol default_eol_ = Eol::CrLf;
    bool bom_ = false; // the file began with a UTF-8 byte-order mark, written back
};

} // namespace tess
