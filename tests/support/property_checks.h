#pragma once

// Checks that hold for every row of every settings table: each setting set by name reads
// back by name (through a file when the caller saves and reloads between the two halves),
// and a ranged setting clamps at both ends.

#include "settings/property_table.h"

#include <cmath>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace tess::test {

// A value of the row's type that differs from `current`, and, as far as the type allows,
// from the values given to the other rows (`k` is the row's number), so that two rows
// swapped in a file would not read back.
inline PropertyValue DistinctValue(const PropertyInfo& row, const PropertyValue& current, int k) {
    using property_detail::AsDouble;
    using property_detail::AsInteger;
    using property_detail::AsString;
    const bool finite = row.range && std::isfinite(row.range->min) && std::isfinite(row.range->max);
    switch (row.type) {
    case PropertyType::Boolean:
        return !property_detail::AsBool(current);
    case PropertyType::Integer: {
        if (!finite) return AsInteger(current) + 100 + k;
        auto lo = static_cast<std::int64_t>(row.range->min);
        auto span = static_cast<std::int64_t>(row.range->max) - lo + 1;
        std::int64_t v = lo + (k * 7 + 1) % span;
        if (v == AsInteger(current)) v = lo + (v - lo + 1) % span;
        return v;
    }
    case PropertyType::Double:
    case PropertyType::Single:
    case PropertyType::Date: {
        // Quarters are exact in every type and in the files' seven-digit singles.
        const double step = 0.25 * (k % 7 + 1);
        if (!finite) return AsDouble(current) + step;
        double v = row.range->min + (row.range->max - row.range->min) * step / 2.5;
        if (v == AsDouble(current)) v = (v + row.range->max) / 2;
        return v;
    }
    case PropertyType::Colour:
        return static_cast<std::int64_t>((0x010203 * (k + 1)) & 0xFFFFFF);
    case PropertyType::TimeOfDay:
        return static_cast<std::int64_t>(60 * (k + 1) + 1);
    default:
        return AsString(current) + "_" + std::string(row.name) + "\"q\\";
    }
}

inline void ExpectSameValue(const PropertyInfo& row, const PropertyValue& expected,
                            const PropertyValue& actual, const std::string& where) {
    if (row.type == PropertyType::Double || row.type == PropertyType::Single ||
        row.type == PropertyType::Date) {
        const double e = property_detail::AsDouble(expected);
        const double tolerance =
            (row.type == PropertyType::Single ? 1e-6 : 1e-12) * std::max(1.0, std::abs(e));
        EXPECT_NEAR(property_detail::AsDouble(actual), e, tolerance) << where;
    } else {
        EXPECT_EQ(actual, expected) << where;
    }
}

inline bool RoundTrips(const PropertyInfo& row) {
    return !row.not_in_files && !row.optional && row.type != PropertyType::Group &&
           row.type != PropertyType::Custom;
}

// Sets every plain row of `owner` by name to a distinct value and checks it reads back at
// once; returns the values, by row, for ExpectReadBack after a reload.
template <typename Owner>
std::vector<PropertyValue> SetDistinctValues(const PropertyTable<Owner>& table, Owner& owner,
                                             int& k) {
    std::vector<PropertyValue> values;
    for (const Property<Owner>& row : table.Rows()) {
        const PropertyInfo& info = row.Info();
        if (!RoundTrips(info)) {
            values.emplace_back();
            continue;
        }
        // Lookup by name ignores case.
        const Property<Owner>* found = table.Find(LowerPropertyName(info.name));
        EXPECT_EQ(found, &row) << info.name;
        PropertyValue value = DistinctValue(info, row.Get(owner), k++);
        row.Set(owner, value);
        ExpectSameValue(info, value, row.Get(owner), std::string(info.name) + " set by name");
        values.push_back(row.Get(owner));
    }
    return values;
}

template <typename Owner>
void ExpectReadBack(const PropertyTable<Owner>& table, const Owner& owner,
                    const std::vector<PropertyValue>& values, const std::string& where) {
    for (std::size_t i = 0; i < table.Size(); ++i) {
        const PropertyInfo& info = table.Info(i);
        if (!RoundTrips(info)) continue;
        const Property<Owner>* row = table.Find(info.name);
        ExpectSameValue(info, values[i], row->Get(owner),
                        where + " " + std::string(info.section) + " " + std::string(info.key));
    }
}

// Below the least and above the largest value, each ranged row keeps to its range. Rows in
// `wrapping` turn their largest value into the least (an angle of 360 degrees is 0).
template <typename Owner>
void ExpectClampsAtBothEnds(const PropertyTable<Owner>& table, Owner& owner,
                            const std::vector<std::string_view>& wrapping = {}) {
    for (const Property<Owner>& row : table.Rows()) {
        const PropertyInfo& info = row.Info();
        if (!info.range || !row.HasAccessors()) continue;
        const bool integral = info.type == PropertyType::Integer ||
                              info.type == PropertyType::Colour ||
                              info.type == PropertyType::TimeOfDay;
        auto value = [&](double v) -> PropertyValue {
            if (integral) return static_cast<std::int64_t>(v);
            return v;
        };
        const std::string name(info.name);
        if (std::isfinite(info.range->min)) {
            row.Set(owner, value(info.range->min - 1));
            ExpectSameValue(info, value(info.range->min), row.Get(owner), name + " below");
        }
        if (std::isfinite(info.range->max)) {
            bool wraps = std::find(wrapping.begin(), wrapping.end(), info.name) != wrapping.end();
            row.Set(owner, value(info.range->max + 1));
            ExpectSameValue(info, value(wraps ? info.range->min : info.range->max), row.Get(owner),
                            name + " above");
        }
    }
}

} // namespace tess::test
