#pragma once

// One description per setting. A settings class lists its properties once, in a table: the
// name scripts and the control panel use, the section and key of the settings file, the
// type, the default as the file writes it, the clamp range, the units, a one-line meaning and
// the accessor pair. Loading and saving a file, reading and writing a setting by name, and
// the reference of every key are all made from the same rows; the accessors keep doing the
// clamping and the needs-saving rule.

#include "settings/ini.h"

#include <cstdint>
#include <functional>
#include <limits>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <unordered_map>
#include <utility>
#include <variant>
#include <vector>

namespace tess {

enum class PropertyType {
    Boolean,
    Integer,
    Double, // written with up to fifteen significant digits
    Single, // written with seven, as single-precision values were
    String,
    Path, // "\" kept as written; converted only when a file is opened
    Colour,
    TimeOfDay, // seconds after midnight, written "HH:MM:SS"
    Date,      // days since 1899-12-30, written as a number
    Group,     // the properties of an owned object, in a section of their own or this one
    Custom,    // keys of a shape no single row describes (a numbered table)
};

std::string_view PropertyTypeName(PropertyType type);

// A setting's value as scripts and the control panel see it. Integers, colours and times of
// day are int64; Double, Single and Date are double; String and Path are string.
using PropertyValue = std::variant<bool, std::int64_t, double, std::string>;

struct PropertyRange {
    double min = 0;
    double max = 0;
};

class PropertyTableBase;
template <typename Owner>
class PropertyTable;

// Where a table's rows live in a file: the section of rows that name none, and the text put
// before every key ("Feed3" for "Feed3Enabled").
struct IniPlace {
    INI* ini = nullptr;
    std::string_view section;
    std::string_view key_prefix;
};

// The part of a row that describes it, without its owner's type: enough for the reference.
struct PropertyInfo {
    std::string_view name;
    std::string_view section; // empty: the owner's
    std::string_view key;     // for a group, the prefix its keys take
    PropertyType type = PropertyType::String;
    std::string_view def;
    std::optional<PropertyRange> range;
    std::string_view units;
    std::string_view meaning;
    const PropertyTableBase* group = nullptr;
    bool skip_on_load = false; // read by its owner before the table (a probe key)
    bool gate = false;         // an empty value means the remaining rows are not read
    bool not_in_files = false; // reachable by name only; no key
    bool optional = false;     // text read only when present, never written by the program
};

class PropertyTableBase {
public:
    virtual ~PropertyTableBase() = default;
    virtual std::size_t Size() const = 0;
    virtual const PropertyInfo& Info(std::size_t row) const = 0;
    // True when a row of this table (or of a group in the same section) reads `key`
    // (already stripped of the place's prefix) in the section `section`, which is `owner`
    // for rows that name none.
    bool KnowsKey(std::string_view owner, std::string_view section, std::string_view key) const;
};

// Logs one warning, naming the file, the section and the key, for each key in the table's
// sections of the file that no row reads: a misspelt "LocatoinX" would otherwise be ignored
// without a word. The file is left as it is. With a `prefix_shape` ("Feed#", "#" a digit),
// keys carry that prefix before the names the rows know.
void WarnUnknownKeys(INI& ini, const PropertyTableBase& table, std::string_view owner,
                     std::string_view prefix_shape = {});

namespace property_detail {

template <typename T>
PropertyValue ToValue(const T& value) {
    if constexpr (std::is_same_v<T, bool>)
        return value;
    else if constexpr (std::is_enum_v<T>)
        return static_cast<std::int64_t>(value);
    else if constexpr (std::is_integral_v<T>)
        return static_cast<std::int64_t>(value);
    else if constexpr (std::is_floating_point_v<T>)
        return static_cast<double>(value);
    else
        return std::string(value);
}

bool AsBool(const PropertyValue& value);
std::int64_t AsInteger(const PropertyValue& value);
double AsDouble(const PropertyValue& value);
std::string AsString(const PropertyValue& value);

// Out-of-range integers are saturated before they reach a setter of a narrower type, so
// that a script's 1e12 clamps like any other large value instead of wrapping.
template <typename T>
T FromValue(const PropertyValue& value) {
    if constexpr (std::is_same_v<T, bool>)
        return AsBool(value);
    else if constexpr (std::is_enum_v<T>)
        return static_cast<T>(FromValue<std::underlying_type_t<T>>(value));
    else if constexpr (std::is_integral_v<T>) {
        std::int64_t v = AsInteger(value);
        if (v < static_cast<std::int64_t>(std::numeric_limits<T>::min()))
            v = std::numeric_limits<T>::min();
        if (v > static_cast<std::int64_t>(std::numeric_limits<T>::max()))
            v = std::numeric_limits<T>::max();
        return static_cast<T>(v);
    } else if constexpr (std::is_floating_point_v<T>)
        return static_cast<T>(AsDouble(value));
    else
        return AsString(value);
}

template <typename S>
struct SetterArg;
template <typename C, typename A>
struct SetterArg<void (C::*)(A)> {
    using type = std::decay_t<A>;
};
template <typename L, typename O, typename A>
struct SetterArg<void (L::*)(O&, A) const> {
    using type = std::decay_t<A>;
};
template <typename S>
requires requires {
    &S::operator();
}
struct SetterArg<S> : SetterArg<decltype(&S::operator())> {};

// Reading and writing one key of a row's type; true when the write could be made.
PropertyValue ReadKey(const IniPlace& place, const PropertyInfo& info, std::string_view def);
bool WriteKey(const IniPlace& place, const PropertyInfo& info, const PropertyValue& value);
IniPlace ChildPlace(const IniPlace& place, const PropertyInfo& info, std::string& prefix);
// The value in the variant member its type uses (a time of day kept as a double is an int64).
PropertyValue Canonical(PropertyType type, PropertyValue value);

} // namespace property_detail

template <typename Owner>
class Property {
public:
    Property(std::string_view name, std::string_view section, std::string_view key,
             PropertyType type, std::string_view def) {
        info_.name = name;
        info_.section = section;
        info_.key = key;
        info_.type = type;
        info_.def = def;
    }

    Property&& Range(double min, double max) && {
        info_.range = PropertyRange{min, max};
        return std::move(*this);
    }
    Property&& Units(std::string_view units) && {
        info_.units = units;
        return std::move(*this);
    }
    Property&& Means(std::string_view meaning) && {
        info_.meaning = meaning;
        return std::move(*this);
    }
    Property&& SkipOnLoad() && {
        info_.skip_on_load = true;
        return std::move(*this);
    }
    Property&& Gate() && {
        info_.gate = true;
        return std::move(*this);
    }
    Property&& Optional() && {
        info_.optional = true;
        return std::move(*this);
    }
    Property&& NotInFiles() && {
        info_.not_in_files = true;
        return std::move(*this);
    }
    // The default worked out from the owner when the file is read (a canvas's slot number in
    // a file name); `def` then only describes it.
    Property&& DefaultFrom(std::function<std::string(const Owner&)> def) && {
        dynamic_default_ = std::move(def);
        return std::move(*this);
    }

    // The accessor pair: member functions or callables taking the owner.
    template <typename G, typename S>
    Property&& Access(G get, S set) && {
        using Arg = typename property_detail::SetterArg<S>::type;
        get_ = [get](const Owner& owner) {
            return property_detail::ToValue(std::invoke(get, owner));
        };
        set_ = [set](Owner& owner, const PropertyValue& value) {
            std::invoke(set, owner, property_detail::FromValue<Arg>(value));
        };
        return std::move(*this);
    }

    // The rows of an owned object, reached through `child`, a callable that gives the child
    // of a const owner as const (a generic lambda over the owner's accessor).
    template <typename Child, typename C>
    Property&& Group(const PropertyTable<Child>& table, C child) && {
        info_.group = &table;
        load_ = [&table, child](Owner& owner, const IniPlace& place) {
            table.Load(std::invoke(child, owner), place);
        };
        save_ = [&table, child](const Owner& owner, const IniPlace& place) {
            return table.Save(std::invoke(child, owner), place);
        };
        return std::move(*this);
    }

    // Keys no single row describes.
    Property&& Custom(std::function<void(Owner&, const IniPlace&)> load,
                      std::function<bool(const Owner&, const IniPlace&)> save) && {
        load_ = std::move(load);
        save_ = std::move(save);
        return std::move(*this);
    }

    const PropertyInfo& Info() const { return info_; }
    bool HasAccessors() const { return static_cast<bool>(get_); }
    PropertyValue Get(const Owner& owner) const {
        return property_detail::Canonical(info_.type, get_(owner));
    }
    void Set(Owner& owner, const PropertyValue& value) const { set_(owner, value); }

    // Returns false for a gate row that read an empty value.
    bool Load(Owner& owner, const IniPlace& place) const {
        if (info_.not_in_files) return true;
        if (load_) {
            std::string prefix;
            load_(owner, property_detail::ChildPlace(place, info_, prefix));
            return true;
        }
        const std::string def = dynamic_default_ ? dynamic_default_(owner) : std::string(info_.def);
        PropertyValue value = property_detail::ReadKey(place, info_, def);
        if (info_.gate && property_detail::AsString(value).empty()) return false;
        set_(owner, value);
        return true;
    }

    bool Save(const Owner& owner, const IniPlace& place) const {
        if (info_.not_in_files || info_.optional) return true;
        if (save_) {
            std::string prefix;
            return save_(owner, property_detail::ChildPlace(place, info_, prefix));
        }
        return property_detail::WriteKey(place, info_, get_(owner));
    }

private:
    PropertyInfo info_;
    std::function<std::string(const Owner&)> dynamic_default_;
    std::function<PropertyValue(const Owner&)> get_;
    std::function<void(Owner&, const PropertyValue&)> set_;
    std::function<void(Owner&, const IniPlace&)> load_;
    std::function<bool(const Owner&, const IniPlace&)> save_;
};

template <typename Owner>
class PropertyTable : public PropertyTableBase {
public:
    // Rows in the order the file is read; `write_order` names them in the order the file is
    // written, when that differs.
    explicit PropertyTable(std::vector<Property<Owner>> rows,
                           std::vector<std::string_view> write_order = {})
        : rows_(std::move(rows)) {
        for (std::size_t i = 0; i < rows_.size(); ++i)
            by_name_.emplace(Lower(rows_[i].Info().name), i);
        if (write_order.empty()) {
            for (std::size_t i = 0; i < rows_.size(); ++i)
                write_order_.push_back(i);
        } else {
            for (std::string_view name : write_order)
                write_order_.push_back(IndexOf(name));
        }
    }

    std::size_t Size() const override { return rows_.size(); }
    const PropertyInfo& Info(std::size_t row) const override { return rows_[row].Info(); }
    std::span<const Property<Owner>> Rows() const { return rows_; }

    // The row of that name, compared without regard to case; null when there is none.
    const Property<Owner>* Find(std::string_view name) const {
        auto it = by_name_.find(Lower(name));
        return it == by_name_.end() ? nullptr : &rows_[it->second];
    }

    // Reads every row in read order; a gate row that reads empty ends it.
    void Load(Owner& owner, const IniPlace& place) const {
        IniBatch batch(*place.ini);
        for (const Property<Owner>& row : rows_) {
            if (row.Info().skip_on_load) continue;
            if (!row.Load(owner, place)) return;
        }
    }
    // Writes every row in write order; false when a write could not be made.
    bool Save(const Owner& owner, const IniPlace& place) const {
        IniBatch batch(*place.ini);
        bool ok = true;
        for (std::size_t i : write_order_)
            ok &= rows_[i].Save(owner, place);
        return ok;
    }

private:
    static std::string Lower(std::string_view text);
    std::size_t IndexOf(std::string_view name) const;

    std::vector<Property<Owner>> rows_;
    std::vector<std::size_t> write_order_;
    std::unordered_map<std::string, std::size_t> by_name_;
};

std::string LowerPropertyName(std::string_view text);
// Raises an error naming the row when a write order names a row the table lacks: a table
// is a constant of the program, so this can only be a mistake in it.
[[noreturn]] void UnknownWriteOrderRow(std::string_view name);

template <typename Owner>
std::string PropertyTable<Owner>::Lower(std::string_view text) {
    return LowerPropertyName(text);
}

template <typename Owner>
std::size_t PropertyTable<Owner>::IndexOf(std::string_view name) const {
    auto it = by_name_.find(Lower(name));
    if (it == by_name_.end()) UnknownWriteOrderRow(name);
    return it->second;
}

} // namespace tess
