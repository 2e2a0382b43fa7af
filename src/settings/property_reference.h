#pragma once

// The reference of every settings file, section and key, made from the property tables: the
// text `tessarolle keys` prints and docs/keys.md holds. Markdown, one table per section.

#include "settings/property_table.h"

#include <string>
#include <string_view>
#include <vector>

namespace tess {

class PropertyReference {
public:
    // Starts the part of one settings file; `about` is a paragraph under its heading.
    void File(std::string_view name, std::string_view about);
    // The rows of `table` whose section is `section` (rows naming none) or their own, groups
    // in their place; `key_prefix` is shown before each key ("Feed<N>").
    void Table(const PropertyTableBase& table, std::string_view section,
               std::string_view key_prefix = {});
    std::string Text() const;

private:
    struct Row {
        std::string key;
        const PropertyInfo* info;
    };
    struct Section {
        std::string name;
        std::vector<Row> rows;
    };
    struct FilePart {
        std::string name;
        std::string about;
        std::vector<Section> sections;
    };

    Section& SectionNamed(std::string_view name);

    std::vector<FilePart> files_;
};

} // namespace tess
