// The canvas file's item sections: "Text001".."Text101" and "Graphic001".."Graphic100".

#include "document/canvas.h"
#include "document/item_properties.h"
#include "settings/ini_section.h"
#include "settings/numbers.h"

#include <fmt/format.h>

namespace tess {

// Every index is probed by its Enabled key, read without writing a default: a section
// without it is no item, whatever else it holds, and loading does not create it.
template <typename Item, std::size_t N>
void Canvas::LoadItems(ItemTable<Item, N>& table, const char* prefix) {
    IniBatch batch(ini_);
    for (std::size_t i = 1; i <= N; ++i) {
        table.removed[i] = false;
        const std::string section = fmt::format("{}{:03}", prefix, i);
        const std::string probe = ini_.GetKey(section, "Enabled", WriteDefault::No, "");
        if (probe.empty()) {
            if (table.items[i]) NoteHidden(*table.items[i]);
            table.items[i].reset();
            continue;
        }
        if (table.items[i]) NoteHidden(*table.items[i]);
        auto item = std::make_unique<Item>(*sun_);
        WireItem(*item);
        item->SetEnabled(Str2Bool(probe));
        IniSection keys(ini_, section);
        item->LoadSettings(keys);
        item->SetNeedsSaving(false);
        table.items[i] = std::move(item);
    }
}

// A section is written only for an item that exists; the section of an item removed since
// the last load or save goes, so that the item does not come back.
template <typename Item, std::size_t N>
void Canvas::SaveItems(ItemTable<Item, N>& table, const char* prefix) {
    IniBatch batch(ini_);
    for (std::size_t i = 1; i <= N; ++i) {
        if (!table.items[i] && !table.removed[i]) continue;
        const std::string section = fmt::format("{}{:03}", prefix, i);
        if (table.items[i]) {
            IniSection keys(ini_, section);
            table.items[i]->SaveSettings(keys);
            NoteWrite(keys.WritesOk());
        } else {
            NoteWrite(ini_.DeleteSection(section));
            table.removed[i] = false;
        }
    }
}

namespace {

template <typename Table>
void WarnUnknownItemKeys(INI& ini, const Table& table, const char* prefix,
                         const PropertyTableBase& properties) {
    for (std::size_t i = 1; i < table.items.size(); ++i) {
        if (table.items[i]) WarnUnknownKeys(ini, properties, fmt::format("{}{:03}", prefix, i));
    }
}

} // namespace

void Canvas::LoadText() {
    LoadItems(texts_, "Text");
    WarnUnknownItemKeys(ini_, texts_, "Text", TextItemProperties());
}

void Canvas::SaveText() {
    SaveItems(texts_, "Text");
}

void Canvas::LoadGraphics() {
    LoadItems(graphics_, "Graphic");
    WarnUnknownItemKeys(ini_, graphics_, "Graphic", GraphicItemProperties());
}

void Canvas::SaveGraphics() {
    SaveItems(graphics_, "Graphic");
}

} // namespace tess
