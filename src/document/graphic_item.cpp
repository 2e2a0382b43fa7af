#include "document/graphic_item.h"

#include "base/error.h"
#include "settings/ini_section.h"

#include <fmt/format.h>

namespace tess {

namespace {

std::string EntryKey(std::string_view name, std::int32_t entry) {
    return fmt::format("{}{:03}", name, entry);
}

void CheckEntry(std::int32_t entry) {
    if (entry < 1 || entry > GraphicItem::kMaxTransparentColors)
        throw TessError(ErrorNumber::SubscriptOutOfRange, "Subscript out of range");
}

} // namespace

void GraphicItem::SetSourceType(std::int32_t value) {
    Limit(value, 0, static_cast<std::int32_t>(tess::SourceType::CanvasImage));
    Mark(StoreIfChanged(source_type_, static_cast<tess::SourceType>(value)));
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

// Each entry is a colour under "TransparentColorTable" and its tolerance under
// "TransparentColorTolerance", both numbered from "001", so files that only ever held
// colours read as exact matches.
void GraphicItem::LoadTransparentColors(IniSection& keys) {
    for (std::int32_t entry = 1; entry <= TransparentColorCount(); ++entry) {
        TransparentColor value;
        value.color = keys.Color(EntryKey("TransparentColorTable", entry), "&H000000");
        std::int32_t tolerance = keys.Long(EntryKey("TransparentColorTolerance", entry), "0");
        Limit(tolerance, 0, 255);
        value.tolerance = static_cast<std::uint8_t>(tolerance);
        SetTransparentColorEntry(entry, value);
    }
}

void GraphicItem::SaveTransparentColors(IniSection& keys) const {
    for (std::int32_t entry = 1; entry <= TransparentColorCount(); ++entry) {
        const TransparentColor& value = TransparentColorEntry(entry);
        keys.SetColor(EntryKey("TransparentColorTable", entry), value.color);
        keys.SetLong(EntryKey("TransparentColorTolerance", entry), value.tolerance);
    }
}

void GraphicItem::LoadSettings(IniSection& keys) {
    SetAlign(keys.Long("Align", "0"));
    SetBackgroundColor(keys.Color("BackgroundColor", "&H000000"));
    SetColorProcessing(keys.Long("ColorProcessing", "0"));
    SetCropBottom(keys.Long("CropBottom", "0"));
    SetCropLeft(keys.Long("CropLeft", "0"));
    SetCropRight(keys.Long("CropRight", "0"));
    SetCropTop(keys.Long("CropTop", "0"));
    SetFeatherRadius(keys.Long("FeatherRadius", "0"));
    SetFeatherWidth(keys.Long("FeatherWidth", "0"));
    SetLayer(keys.Long("Layer", "1"));
    SetOpacity(keys.Long("Opacity", "100"));
    SetOpacityFileName(keys.Text("OpacityFileName", ""));
    SetOpacityMode(keys.Long("OpacityMode", "2"));
    SetOpacityUseFile(keys.Bool("OpacityUseFile", false));
    SetInterval(keys.Double("Interval", "10"));
    SetRotationAngle(static_cast<float>(keys.Double("RotationAngle", "0")));
    LoadSchedule(keys);
    SetScripted(keys.Bool("Scripted", false));
    SetShadow(keys.Bool("Shadow", false));
    SetShadowSize(keys.Long("ShadowSize", "1"));
    SetShadowOffsetX(keys.Long("ShadowOffsetX", "2"));
    SetShadowOffsetY(keys.Long("ShadowOffsetY", "2"));
    SetSourceFileName(keys.Text("SourceFileName", ""));
    SetSourceType(keys.Long("SourceType", "3"));
    SetSourceURL(keys.Text("SourceURL", ""));
    SetSourceVideoFeedName(keys.Text("SourceVideoFeedName", ""));
    SetSourceCanvas(keys.Long("SourceCanvas", "1"));
    SetStretched(keys.Bool("Stretched", false));
    SetStretchedHeight(keys.Long("StretchedHeight", "240"));
    SetStretchedWidth(keys.Long("StretchedWidth", "320"));
    // Misspelt, and kept so: years of canvas files hold this name.
    SetStretchedSmoothing(keys.Bool("StrechedSmoothing", false));
    SetTransparentColorCount(keys.Long("TransparentColorCount", "1"));
    SetTransparentColorEnabled(keys.Bool("TransparentColorEnabled", false));
    LoadTransparentColors(keys);
    SetUpdateBaseTime(keys.TimeOfDay("UpdateBaseTime"));
    SetLocationX(keys.Long("LocationX", "0"));
    SetLocationY(keys.Long("LocationY", "0"));
}

void GraphicItem::SaveSettings(IniSection& keys) const {
    keys.SetBool("Enabled", Enabled());
    keys.SetLong("Align", Align());
    keys.SetColor("BackgroundColor", BackgroundColor());
    keys.SetLong("ColorProcessing", ColorProcessing());
    keys.SetLong("CropBottom", CropBottom());
    keys.SetLong("CropLeft", CropLeft());
    keys.SetLong("CropRight", CropRight());
    keys.SetLong("CropTop", CropTop());
    keys.SetLong("FeatherRadius", FeatherRadius());
    keys.SetLong("FeatherWidth", FeatherWidth());
    keys.SetDouble("Interval", Interval());
    keys.SetLong("Layer", Layer());
    keys.SetLong("Opacity", Opacity());
    keys.SetText("OpacityFileName", OpacityFileName());
    keys.SetLong("OpacityMode", OpacityMode());
    keys.SetBool("OpacityUseFile", OpacityUseFile());
    keys.SetSingle("RotationAngle", RotationAngle());
    SaveSchedule(keys);
    keys.SetBool("Scripted", Scripted());
    keys.SetBool("Shadow", Shadow());
    keys.SetLong("ShadowSize", ShadowSize());
    keys.SetLong("ShadowOffsetX", ShadowOffsetX());
    keys.SetLong("ShadowOffsetY", ShadowOffsetY());
    keys.SetText("SourceFileName", SourceFileName());
    keys.SetLong("SourceType", static_cast<std::int32_t>(SourceType()));
    keys.SetText("SourceURL", SourceURL());
    keys.SetText("SourceVideoFeedName", SourceVideoFeedName());
    keys.SetLong("SourceCanvas", SourceCanvas());
    keys.SetBool("Stretched", Stretched());
    keys.SetLong("StretchedHeight", StretchedHeight());
    keys.SetLong("StretchedWidth", StretchedWidth());
    keys.SetBool("StrechedSmoothing", StretchedSmoothing());
    keys.SetLong("TransparentColorCount", TransparentColorCount());
    keys.SetBool("TransparentColorEnabled", TransparentColorEnabled());
    SaveTransparentColors(keys);
    keys.SetTimeOfDay("UpdateBaseTime", UpdateBaseTime());
    keys.SetLong("LocationX", LocationX());
    keys.SetLong("LocationY", LocationY());
}

} // namespace tess
