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
#include <unordered_set>

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

// Every key a table reads, made once per table: a canvas file holds thousands of keys, and
// walking the rows and groups for each was a third of a canvas's load. Custom rows keep
// their shapes, tried only when no name matched.
struct KeyIndex {
    using Names = std::unordered_set<std::string, NoCaseHash, NoCaseEqual>;
    struct Shapes {
        std::string section; // empty: the owner's
        std::string prefix;
        std::string_view shapes;
    };
    std::vector<std::string> sections; // where the rows live, in row order; empty: the owner's
    Names owner_keys;                  // the keys of the rows in the owner's section
    NoCaseMap<Names> named_keys;       // section -> the keys of the rows naming it
    std::vector<Shapes> shapes;
};

void AddKeys(KeyIndex& index, const PropertyTableBase& table, const std::string& section,
             const std::string& prefix) {
    for (std::size_t i = 0; i < table.Size(); ++i) {
        const PropertyInfo& row = table.Info(i);
        if (row.not_in_files) continue;
        const std::string row_section = row.section.empty() ? section : std::string(row.section);
        std::string key = prefix + std::string(row.key);
        if (row.type == PropertyType::Group) {
            AddKeys(index, *row.group, row_section, key);
            continue;
        }
        if (std::find_if(index.sections.begin(), index.sections.end(), [&](const auto& known) {
                return SameName(known, row_section);
            }) == index.sections.end())
            index.sections.push_back(row_section);
        if (row.type == PropertyType::Custom)
            index.shapes.push_back({row_section, prefix, row.key});
        else if (row_section.empty())
            index.owner_keys.insert(std::move(key));
        else
            index.named_keys[row_section].insert(std::move(key));
    }
}

const KeyIndex& IndexOf(const PropertyTableBase* table) {
    static std::mutex mutex;
    static std::unordered_map<const PropertyTableBase*, std::unique_ptr<KeyIndex>> indexes;
    std::lock_guard lock(mutex);
    auto& index = indexes[table];
    if (!index) {
        index = std::make_unique<KeyIndex>();
        AddKeys(*index, *table, {}, {});
    }
    return *index;
}

// Whether a row reads `key` in `section`; `in_owner` when that is the owner's section.
bool Knows(const KeyIndex& index, bool in_owner, std::string_view section, std::string_view key) {
    if (in_owner && index.owner_keys.contains(key)) return true;
    if (!index.named_keys.empty()) {
        auto named = index.named_keys.find(section);
        if (named != index.named_keys.end() && named->second.contains(key)) return true;
    }
    for (const KeyIndex::Shapes& shapes : index.shapes) {
        const bool here = shapes.section.empty() ? in_owner : SameName(shapes.section, section);
        if (here && StartsWithName(key, shapes.prefix) &&
            MatchesShapes(shapes.shapes, key.substr(shapes.prefix.size())))
            return true;
    }
    return false;
}

} // namespace

bool PropertyTableBase::KnowsKey(std::string_view owner, std::string_view section,
                                 std::string_view key) const {
    return Knows(IndexOf(this), SameName(owner, section), section, key);
}

void WarnUnknownKeys(INI& ini, const PropertyTableBase& table, std::string_view owner,
                     std::string_view prefix_shape) {
    const KeyIndex& index = IndexOf(&table);
    std::vector<std::string_view> sections;
    for (const std::string& named : index.sections) {
        const std::string_view section = named.empty() ? owner : std::string_view(named);
        if (std::none_of(sections.begin(), sections.end(),
                         [&](std::string_view seen) { return SameName(seen, section); }))
            sections.push_back(section);
    }
    for (const std::string_view section : sections) {
        const bool in_owner = SameName(owner, section);
        ini.ForEachKey(section, [&](std::string_view key) {
            std::string_view name = key;
            if (!prefix_shape.empty()) {
                if (name.size() < prefix_shape.size() ||
                    !MatchesShapes(prefix_shape, name.substr(0, prefix_shape.size()))) {
                    name = {};
                } else {
                    name.remove_prefix(prefix_shape.size());
                }
            }
            if (!name.empty() && Knows(index, in_owner, section, name)) return;
            LogWarning("'{}' [{}] {}: no setting has this key (misspelt?); it is left as it is",
                       ini.File(), section, key);
        });
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

// The row's key with the place's prefix; `storage` holds it when there is a prefix.
std::string_view KeyOf(const IniPlace& place, const PropertyInfo& info, std::string& storage) {
    if (place.key_prefix.empty()) return info.key;
    storage.assign(place.key_prefix);
    storage.append(info.key);
    return storage;
}

std::string_view SectionOf(const IniPlace& place, const PropertyInfo& info) {
    return info.section.empty() ? place.section : info.section;
}

// An optional key is never written, so the default is only what it reads as when absent; a
// number that is not one is warned of as any other key's would be.
PropertyValue ReadOptionalKey(const IniPlace& place, const PropertyInfo& info, std::string_view key,
                              std::string_view def) {
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
    std::string storage;
    const std::string_view key = KeyOf(place, info, storage);
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
    std::string storage;
    const std::string_view key = KeyOf(place, info, storage);
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
