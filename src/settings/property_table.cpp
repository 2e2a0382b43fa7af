#include "settings/property_table.h"

#include "base/error.h"
#include "base/log.h"
#include "base/text.h"
#include "settings/ini_section.h"
#include "settings/number_text.h"
#include "settings/numbers.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <mutex>
#include <unordered_map>

#include <fmt/format.h>

namespace tess {

std::string_view PropertyTypeName(PropertyType type) {
    switch (type) {
    case PropertyType::Boolean:
        return "Boolean";
    case PropertyType::Integer:
        return "integer";
    case PropertyType::Double:
        return "number";
    case PropertyType::Single:
        return "number";
    case PropertyType::String:
        return "text";
    case PropertyType::Path:
        return "path";
    case PropertyType::Colour:
        return "colour";
    case PropertyType::TimeOfDay:
        return "time of day";
    case PropertyType::Date:
        return "date";
    case PropertyType::Group:
        return "group";
    case PropertyType::Custom:
        return "table";
    }
    return "?";
}

std::string LowerPropertyName(std::string_view text) {
    return ToLowerAscii(text);
}

void UnknownWriteOrderRow(std::string_view name) {
    throw TessError(ErrorNumber::SubscriptOutOfRange,
                    fmt::format("the write order names '{}', which the table lacks", name));
}

namespace {

bool SameName(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (ToLowerAscii(a[i]) != ToLowerAscii(b[i])) return false;
    }
    return true;
}

bool StartsWithName(std::string_view text, std::string_view prefix) {
    return text.size() >= prefix.size() && SameName(text.substr(0, prefix.size()), prefix);
}

// A custom row's key lists the shapes of its keys, separated by ",", "#" standing for a
// digit: "TransparentColorTable###".
bool MatchesShapes(std::string_view shapes, std::string_view key) {
    while (!shapes.empty()) {
        std::size_t comma = shapes.find(',');
        std::string_view shape = shapes.substr(0, comma);
        shapes = comma == std::string_view::npos ? std::string_view() : shapes.substr(comma + 1);
        if (shape.size() != key.size()) continue;
        bool match = true;
        for (std::size_t i = 0; i < shape.size() && match; ++i) {
            match = shape[i] == '#' ? (key[i] >= '0' && key[i] <= '9')
                                    : ToLowerAscii(shape[i]) == ToLowerAscii(key[i]);
        }
        if (match) return true;
    }
    return false;
}

} // namespace

namespace {

// Looking a key up walks every row of the table and of its groups, and a canvas file holds
// about a thousand keys, so answers are remembered: a table's rows never change. The memo is
// emptied when full, so a file of endless made-up keys cannot make it grow without bound.
struct KeyMemo {
    static constexpr std::size_t kLimit = 16384;
    std::mutex mutex;
    std::unordered_map<std::string, bool> known;
};

KeyMemo& MemoOf(const PropertyTableBase* table) {
    static std::mutex mutex;
    static std::unordered_map<const PropertyTableBase*, std::unique_ptr<KeyMemo>> memos;
    std::lock_guard lock(mutex);
    auto& memo = memos[table];
    if (!memo) memo = std::make_unique<KeyMemo>();
    return *memo;
}

bool SearchKey(const PropertyTableBase& table, std::string_view owner, std::string_view section,
               std::string_view key) {
    for (std::size_t i = 0; i < table.Size(); ++i) {
        const PropertyInfo& row = table.Info(i);
        if (row.not_in_files) continue;
        std::string_view row_section = row.section.empty() ? owner : row.section;
        if (row.type == PropertyType::Group) {
            if (StartsWithName(key, row.key) &&
                SearchKey(*row.group, row_section, section, key.substr(row.key.size())))
                return true;
            continue;
        }
        if (!SameName(row_section, section)) continue;
        if (row.type == PropertyType::Custom ? MatchesShapes(row.key, key) : SameName(row.key, key))
            return true;
    }
    return false;
}

} // namespace

bool PropertyTableBase::KnowsKey(std::string_view owner, std::string_view section,
                                 std::string_view key) const {
    std::string name = ToLowerAscii(owner);
    name += '\n';
    name += ToLowerAscii(section);
    name += '\n';
    name += ToLowerAscii(key);
    KeyMemo& memo = MemoOf(this);
    {
        std::lock_guard lock(memo.mutex);
        if (auto found = memo.known.find(name); found != memo.known.end()) return found->second;
    }
    const bool known = SearchKey(*this, owner, section, key);
    std::lock_guard lock(memo.mutex);
    if (memo.known.size() >= KeyMemo::kLimit) memo.known.clear();
    memo.known.emplace(std::move(name), known);
    return known;
}

void PropertyTableBase::CollectSections(std::string_view owner,
                                        std::vector<std::string>& sections) const {
    for (std::size_t i = 0; i < Size(); ++i) {
        const PropertyInfo& row = Info(i);
        if (row.not_in_files) continue;
        std::string_view section = row.section.empty() ? owner : row.section;
        if (row.type == PropertyType::Group) {
            row.group->CollectSections(section, sections);
            continue;
        }
        if (std::find(sections.begin(), sections.end(), section) == sections.end())
            sections.emplace_back(section);
    }
}

void WarnUnknownKeys(INI& ini, const PropertyTableBase& table, std::string_view owner,
                     std::string_view prefix_shape) {
    std::vector<std::string> sections;
    table.CollectSections(owner, sections);
    for (const std::string& section : sections) {
        for (const std::string& key : ini.Keys(section)) {
            std::string_view name = key;
            if (!prefix_shape.empty()) {
                if (name.size() < prefix_shape.size() ||
                    !MatchesShapes(prefix_shape, name.substr(0, prefix_shape.size()))) {
                    name = {};
                } else {
                    name.remove_prefix(prefix_shape.size());
                }
            }
            if (!name.empty() && table.KnowsKey(owner, section, name)) continue;
            LogWarning("'{}' [{}] {}: no setting has this key (misspelt?); it is left as it is",
                       ini.File(), section, key);
        }
    }
}

namespace property_detail {

bool AsBool(const PropertyValue& value) {
    if (auto b = std::get_if<bool>(&value)) return *b;
    if (auto i = std::get_if<std::int64_t>(&value)) return *i != 0;
    if (auto d = std::get_if<double>(&value)) return *d != 0;
    return Str2Bool(std::get<std::string>(value));
}

std::int64_t AsInteger(const PropertyValue& value) {
    if (auto i = std::get_if<std::int64_t>(&value)) return *i;
    double d = AsDouble(value);
    if (!(d > -9.2e18)) return d != d ? 0 : std::numeric_limits<std::int64_t>::min();
    if (d > 9.2e18) return std::numeric_limits<std::int64_t>::max();
    return std::llround(d);
}

double AsDouble(const PropertyValue& value) {
    if (auto d = std::get_if<double>(&value)) return *d;
    if (auto i = std::get_if<std::int64_t>(&value)) return static_cast<double>(*i);
    if (auto b = std::get_if<bool>(&value)) return *b ? -1 : 0; // True is -1, as scripts know it
    double parsed = 0;
    ParseNumber(std::get<std::string>(value), '.', parsed);
    return parsed;
}

std::string AsString(const PropertyValue& value) {
    if (auto s = std::get_if<std::string>(&value)) return *s;
    if (auto b = std::get_if<bool>(&value)) return CStrNI(*b);
    if (auto i = std::get_if<std::int64_t>(&value)) return CStrNI(*i);
    return CStrNI(std::get<double>(value));
}

PropertyValue Canonical(PropertyType type, PropertyValue value) {
    switch (type) {
    case PropertyType::Boolean:
        return AsBool(value);
    case PropertyType::Integer:
    case PropertyType::Colour:
    case PropertyType::TimeOfDay:
        return AsInteger(value);
    case PropertyType::Double:
    case PropertyType::Single:
    case PropertyType::Date:
        return AsDouble(value);
    case PropertyType::String:
    case PropertyType::Path:
        return AsString(value);
    default:
        return value;
    }
}

IniPlace ChildPlace(const IniPlace& place, const PropertyInfo& info, std::string& prefix) {
    IniPlace child = place;
    if (!info.section.empty()) child.section = info.section;
    if (info.type == PropertyType::Group && !info.key.empty()) {
        prefix.assign(place.key_prefix);
        prefix.append(info.key);
        child.key_prefix = prefix;
    }
    return child;
}

namespace {

std::string KeyOf(const IniPlace& place, const PropertyInfo& info) {
    std::string key(place.key_prefix);
    key.append(info.key);
    return key;
}

std::string_view SectionOf(const IniPlace& place, const PropertyInfo& info) {
    return info.section.empty() ? place.section : info.section;
}

// An optional key is never written, so the default is only what it reads as when absent; a
// number that is not one is warned of as any other key's would be.
PropertyValue ReadOptionalKey(const IniPlace& place, const PropertyInfo& info,
                              const std::string& key, std::string_view def) {
    const std::string_view section = SectionOf(place, info);
    std::string text = place.ini->GetKey(section, key, WriteDefault::No, def);
    const bool integer = info.type == PropertyType::Integer;
    if (!integer && info.type != PropertyType::Double && info.type != PropertyType::Single)
        return text;
    double value = 0;
    if (text.empty()) text = std::string(def);
    if (!ParseNumber(text, '.', value)) {
        LogWarning("'{}' [{}] {}: '{}' is not a number; {} is used instead", place.ini->File(),
                   section, key, text, def);
        ParseNumber(def, '.', value);
    }
    if (!integer) return value;
    constexpr double kMost = 9.2e18; // within std::int64_t
    return static_cast<std::int64_t>(std::clamp(std::round(value), -kMost, kMost));
}

} // namespace

PropertyValue ReadKey(const IniPlace& place, const PropertyInfo& info, std::string_view def) {
    const std::string key = KeyOf(place, info);
    if (info.optional) return ReadOptionalKey(place, info, key, def);
    IniSection keys(*place.ini, SectionOf(place, info));
    switch (info.type) {
    case PropertyType::Boolean:
        return keys.Bool(key, Str2Bool(def));
    case PropertyType::Integer:
        return std::int64_t{keys.Long(key, def)};
    case PropertyType::Double:
    case PropertyType::Single:
        return keys.Double(key, def);
    case PropertyType::Colour:
        return std::int64_t{keys.Color(key, def)};
    case PropertyType::TimeOfDay:
        return std::int64_t{keys.TimeOfDay(key)};
    case PropertyType::Date:
        return keys.Date(key, def);
    default:
        return keys.Text(key, def);
    }
}

bool WriteKey(const IniPlace& place, const PropertyInfo& info, const PropertyValue& value) {
    IniSection keys(*place.ini, SectionOf(place, info));
    const std::string key = KeyOf(place, info);
    switch (info.type) {
    case PropertyType::Boolean:
        keys.SetBool(key, AsBool(value));
        break;
    case PropertyType::Integer:
        keys.SetLong(key, AsInteger(value));
        break;
    case PropertyType::Double:
    case PropertyType::Date:
        keys.SetDouble(key, AsDouble(value));
        break;
    case PropertyType::Single:
        keys.SetSingle(key, static_cast<float>(AsDouble(value)));
        break;
    case PropertyType::Colour:
        keys.SetColor(key, static_cast<std::uint32_t>(AsInteger(value)));
        break;
    case PropertyType::TimeOfDay:
        keys.SetTimeOfDay(key, AsDouble(value));
        break;
    default:
        keys.SetText(key, AsString(value));
        break;
    }
    return keys.WritesOk();
}

} // namespace property_detail

} // namespace tess
