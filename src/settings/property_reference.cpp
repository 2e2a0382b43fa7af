#include "settings/property_reference.h"

#include <cmath>

#include <fmt/format.h>

namespace tess {

namespace {

std::string Number(double value) {
    std::string text = fmt::format("{}", value);
    return text.size() > 10 ? fmt::format("{:.6g}", value) : text;
}

std::string RangeText(const PropertyInfo& info) {
    if (!info.range) return {};
    const PropertyRange& r = *info.range;
    if (info.type == PropertyType::Colour)
        return fmt::format("&H{:06X}..&H{:06X}", static_cast<unsigned>(r.min),
                           static_cast<unsigned>(r.max));
    if (!std::isfinite(r.max)) return ">= " + Number(r.min);
    return Number(r.min) + ".." + Number(r.max);
}

std::string UnitsText(const PropertyInfo& info) {
    if (!info.units.empty()) return std::string(info.units);
    switch (info.type) {
    case PropertyType::Colour:
        return "&HBBGGRR";
    case PropertyType::TimeOfDay:
        return "HH:MM:SS";
    default:
        return {};
    }
}

// Written values as code; "(empty)" and descriptions of worked-out defaults as words.
std::string DefaultText(const PropertyInfo& info) {
    if (info.skip_on_load) return "(none)";
    if (info.def.empty()) return "(empty)";
    if (info.def.front() == '(') return std::string(info.def);
    return "`" + std::string(info.def) + "`";
}

// A table cell: a "|" would end it.
std::string Cell(std::string_view text) {
    std::string cell;
    for (char c : text) {
        if (c == '|') cell += '\\';
        cell += c;
    }
    return cell;
}

// "TransparentColorTable###,TransparentColorTolerance###" reads as
// "TransparentColorTable<NNN>, TransparentColorTolerance<NNN>".
std::string ShapesText(std::string_view shapes) {
    std::string text;
    for (std::size_t i = 0; i < shapes.size(); ++i) {
        if (shapes[i] == ',') {
            text += ", ";
        } else if (shapes[i] == '#') {
            std::size_t end = shapes.find_first_not_of('#', i);
            if (end == std::string_view::npos) end = shapes.size();
            text += "<" + std::string(end - i, 'N') + ">";
            i = end - 1;
        } else {
            text += shapes[i];
        }
    }
    return text;
}

} // namespace

void PropertyReference::File(std::string_view name, std::string_view about) {
    files_.push_back({std::string(name), std::string(about), {}});
}

PropertyReference::Section& PropertyReference::SectionNamed(std::string_view name) {
    std::vector<Section>& sections = files_.back().sections;
    for (Section& s : sections) {
        if (s.name == name) return s;
    }
    sections.push_back({std::string(name), {}});
    return sections.back();
}

void PropertyReference::Table(const PropertyTableBase& table, std::string_view section,
                              std::string_view key_prefix) {
    for (std::size_t i = 0; i < table.Size(); ++i) {
        const PropertyInfo& info = table.Info(i);
        if (info.not_in_files) continue;
        std::string_view row_section = info.section.empty() ? section : info.section;
        if (info.type == PropertyType::Group) {
            Table(*info.group, row_section, std::string(key_prefix) + std::string(info.key));
            continue;
        }
        std::string key = std::string(key_prefix) + std::string(info.key);
        if (info.type == PropertyType::Custom) key = ShapesText(key);
        SectionNamed(row_section).rows.push_back({std::move(key), &info});
    }
}

std::string PropertyReference::Text() const {
    std::string text =
        "# Settings files: every section and key\n\n"
        "Made by `tessarolle keys` from the program's own tables of settings; a test fails when "
        "this page differs from what the program prints.\n\n"
        "All settings files are INI files: section and key names compare without regard to "
        "case, a value may stand in double quotes, and a key that is missing is written back "
        "with its default when the file is read. Booleans are `True` or `False`. Numbers use a "
        "full stop for decimals whatever the locale. Colours are `&H` and the hexadecimal "
        "value `BBGGRR` (blue, green, red: `&H0000FF` is red). Times of day are `HH:MM:SS`. "
        "Rates and intervals are in seconds, schedule offsets in minutes, dates in days since "
        "30 December 1899. A value outside its range is clamped to the nearest end. The "
        "script name is the name scripts and the control panel use for the setting.\n";
    for (const FilePart& file : files_) {
        text += fmt::format("\n## {}\n\n{}\n", file.name, file.about);
        for (const Section& section : file.sections) {
            text += fmt::format("\n### `[{}]`\n\n", section.name);
            text += "| Key | Type | Default | Range | Units | Meaning | Script name |\n"
                    "|---|---|---|---|---|---|---|\n";
            for (const Row& row : section.rows) {
                const PropertyInfo& info = *row.info;
                text += fmt::format("| `{}` | {} | {} | {} | {} | {} | {} |\n", Cell(row.key),
                                    PropertyTypeName(info.type), Cell(DefaultText(info)),
                                    Cell(RangeText(info)), Cell(UnitsText(info)),
                                    Cell(info.meaning), Cell(info.name));
            }
        }
    }
    return text;
}

} // namespace tess
