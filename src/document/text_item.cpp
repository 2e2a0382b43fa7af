#include "document/text_item.h"

#include "document/item_properties.h"
#include "settings/ini_section.h"

namespace tess {

void TextItem::LoadSettings(IniSection& keys) {
    TextItemProperties().Load(*this, IniPlace{&keys.File(), keys.Name(), {}});
}

void TextItem::SaveSettings(IniSection& keys) const {
    keys.NoteWrite(TextItemProperties().Save(*this, IniPlace{&keys.File(), keys.Name(), {}}));
}

} // namespace tess
