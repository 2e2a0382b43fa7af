// The command-line side of add-text, add-picture and set: options, and the check of a
// section and key against the settings tables.

#include "app/canvas_edit_command.h"
#include "app/exit_status.h"
#include "base/text.h"
#include "document/canvas.h"
#include "document/canvas_properties.h"
#include "document/item_properties.h"
#include "settings/ini.h"
#include "settings/numbers.h"

#include <cctype>
#include <filesystem>
#include <iostream>
#include <memory>
#include <optional>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

namespace tess {

namespace {

struct TextRequest {
    std::string file, text, font, color;
    int x = 0, y = 0;
    std::optional<int> size;
};

struct PictureRequest {
    std::string file, picture, url, feed;
    int x = 0, y = 0;
};

struct SetRequest {
    std::string file, section, key, value;
};

// "#RRGGBB" as web pages write it becomes the files' "&HBBGGRR"; anything else is passed on
// for the loader to judge.
std::string ColorSetting(const std::string& color) {
    if (color.size() != 7 || color[0] != '#') return color;
    for (std::size_t i = 1; i < 7; ++i)
        if (!std::isxdigit(static_cast<unsigned char>(color[i]))) return color;
    return "&H" + color.substr(5, 2) + color.substr(3, 2) + color.substr(1, 2);
}

int NoFreeItem(const std::string& command, const std::string& file, const char* what) {
    std::cerr << command << ": '" << file << "' holds every " << what << " item there can be\n";
    return kExitNotDone;
}

int AddText(const TextRequest& r) {
    const std::string section = FreeItemSection(r.file, "Text", Canvas::kMaxText);
    if (section.empty()) return NoFreeItem("canvas add-text", r.file, "text");
    std::vector<KeyEdit> edits = {{section, "Enabled", "True"},
                                  {section, "Text", r.text},
                                  {section, "LocationX", CStrNI(r.x)},
                                  {section, "LocationY", CStrNI(r.y)}};
    if (!r.font.empty()) edits.push_back({section, "FontName", r.font});
    if (r.size) edits.push_back({section, "FontSize", CStrNI(*r.size)});
    if (!r.color.empty()) edits.push_back({section, "Color", ColorSetting(r.color)});
    return EditCanvasFile("canvas add-text", r.file, edits, std::cout, std::cerr);
}

int AddPicture(const PictureRequest& r) {
    const std::string section = FreeItemSection(r.file, "Graphic", Canvas::kMaxGraphic);
    if (section.empty()) return NoFreeItem("canvas add-picture", r.file, "graphic");
    std::vector<KeyEdit> edits = {{section, "Enabled", "True"}};
    if (!r.picture.empty()) {
        edits.push_back({section, "SourceType", "1"});
        edits.push_back({section, "SourceFileName", r.picture});
        if (std::error_code ec; !std::filesystem::exists(PathFromSettings(r.picture), ec)) {
            std::cerr << "canvas add-picture: note: the picture file '" << r.picture
                      << "' does not exist (yet); the item shows nothing until it does\n";
        }
    } else if (!r.url.empty()) {
        edits.push_back({section, "SourceType", "2"});
        edits.push_back({section, "SourceURL", r.url});
    } else {
        edits.push_back({section, "SourceType", "0"});
        edits.push_back({section, "SourceVideoFeedName", r.feed});
    }
    edits.push_back({section, "LocationX", CStrNI(r.x)});
    edits.push_back({section, "LocationY", CStrNI(r.y)});
    return EditCanvasFile("canvas add-picture", r.file, edits, std::cout, std::cerr);
}

// "Text004" -> 4 for the prefix "Text"; 0 when the section is not one of that kind.
int ItemIndex(const std::string& section, std::string_view prefix) {
    if (section.size() != prefix.size() + 3) return 0;
    if (ToLowerAscii(section.substr(0, prefix.size())) != ToLowerAscii(prefix)) return 0;
    int index = 0;
    for (std::size_t i = prefix.size(); i < section.size(); ++i) {
        if (!std::isdigit(static_cast<unsigned char>(section[i]))) return 0;
        index = index * 10 + (section[i] - '0');
    }
    return index;
}

// The table that reads the section, or null; `item` tells whether it is an item's.
const PropertyTableBase* TableOf(const std::string& section, bool& item) {
    item = true;
    if (int i = ItemIndex(section, "Text"); i >= 1 && i <= Canvas::kMaxText)
        return &TextItemProperties();
    if (int i = ItemIndex(section, "Graphic"); i >= 1 && i <= Canvas::kMaxGraphic)
        return &GraphicItemProperties();
    item = false;
    return &CanvasProperties();
}

int SetKey(const SetRequest& r) {
    bool item = false;
    const PropertyTableBase* table = TableOf(r.section, item);
    const std::string owner = item ? r.section : std::string("General");
    if (!table->KnowsKey(owner, r.section, r.key)) {
        std::cerr << "canvas set: '" << r.file << "' [" << r.section << "] " << r.key
                  << ": no setting has this key; 'tessarolle keys' lists every section and key\n";
        return kExitUsage;
    }
    // A section without Enabled is no item: a key set there would not be read.
    if (item && ToLowerAscii(r.key) != "enabled" &&
        INI(PathFromSettings(r.file)).GetKey(r.section, "Enabled", WriteDefault::No, "").empty()) {
        std::cerr << "canvas set: '" << r.file << "' has no item [" << r.section
                  << "]; add one with 'tessarolle canvas add-text' or 'add-picture'\n";
        return kExitUsage;
    }
    return EditCanvasFile("canvas set", r.file, {{r.section, r.key, r.value}}, std::cout,
                          std::cerr);
}

} // namespace

void AddCanvasEditCommands(CLI::App& canvas, int& status) {
    auto text = std::make_shared<TextRequest>();
    CLI::App* add_text = canvas.add_subcommand("add-text", "Add a text item to a canvas file");
    add_text->add_option("file", text->file, "The canvas file (.can)")->required();
    add_text->add_option("--text", text->text, "The text; tags such as <TIME> are allowed")
        ->required();
    add_text->add_option("--x", text->x, "Left, in pixels")->required();
    add_text->add_option("--y", text->y, "Top, in pixels")->required();
    add_text->add_option("--font", text->font, "Font name (default Arial)");
    add_text->add_option("--size", text->size, "Font size in points (default 14)");
    add_text->add_option("--color", text->color, "Colour, #RRGGBB or &HBBGGRR (default grey)");
    add_text->callback([text, &status] { status = AddText(*text); });

    auto picture = std::make_shared<PictureRequest>();
    CLI::App* add_picture =
        canvas.add_subcommand("add-picture", "Add a graphic item to a canvas file");
    add_picture->add_option("file", picture->file, "The canvas file (.can)")->required();
    auto* from_file = add_picture->add_option("--file", picture->picture, "A picture file");
    auto* from_url = add_picture->add_option("--url", picture->url, "A picture's URL");
    auto* from_feed = add_picture->add_option("--feed", picture->feed, "A video feed's name");
    from_file->excludes(from_url)->excludes(from_feed);
    from_url->excludes(from_feed);
    add_picture->add_option("--x", picture->x, "Left, in pixels (default 0)");
    add_picture->add_option("--y", picture->y, "Top, in pixels (default 0)");
    add_picture->callback([picture, &status, from_file, from_url, from_feed] {
        if (!*from_file && !*from_url && !*from_feed)
            throw CLI::RequiredError("one of --file, --url or --feed");
        status = AddPicture(*picture);
    });

    auto set = std::make_shared<SetRequest>();
    CLI::App* set_key = canvas.add_subcommand(
        "set", "Set one key of a canvas file ('tessarolle keys' lists them), within its range");
    set_key->add_option("file", set->file, "The canvas file (.can)")->required();
    set_key->add_option("section", set->section, "The section, such as General or Text001")
        ->required();
    set_key->add_option("key", set->key, "The key, such as Width")->required();
    set_key->add_option("value", set->value, "The value, as the file writes it")->required();
    set_key->callback([set, &status] { status = SetKey(*set); });
}

} // namespace tess
