#include "document/graphic_item.h"

#include "base/error.h"
#include "document/item_properties.h"
#include "settings/ini_section.h"

namespace tess {

namespace {

void CheckEntry(std::int32_t entry) {
    if (entry < 1 || entry > GraphicItem::kMaxTransparentColors)
        throw TessError(ErrorNumber::SubscriptOutOfRange, "Subscript out of range");
}

} // namespace

void GraphicItem::SetSourceType(std::int32_t value) {
    Mark(StoreIfChanged(source_type_, SourceTypeFromNumber(value)));
}

const TransparentColor& GraphicItem::TransparentColorEntry(std::int32_t entry) const {
    CheckEntry(entry);
    return transparent_colors_[entry - 1];
}

void GraphicItem::SetTransparentColorEntry(std::int32_t entry, TransparentColor value) {
    CheckEntry(entry);
    value.color = std::min(value.color, 0xFFFFFFu);
    TransparentColor& stored = transparent_colors_[entry - 1];
    Mark(StoreIfChanged(stored.color, value.color));
    Mark(StoreIfChanged(stored.tolerance, value.tolerance));
}

void GraphicItem::LoadSettings(IniSection& keys) {
    GraphicItemProperties().Load(*this, IniPlace{&keys.File(), keys.Name(), {}});
}

void GraphicItem::SaveSettings(IniSection& keys) const {
    keys.NoteWrite(GraphicItemProperties().Save(*this, IniPlace{&keys.File(), keys.Name(), {}}));
}

} // namespace tess
