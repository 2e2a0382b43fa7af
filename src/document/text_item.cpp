#include "document/text_item.h"

#include "settings/ini_section.h"

namespace tess {

void TextItem::LoadSettings(IniSection& keys) {
    SetText(keys.Text("Text", ""));
    SetLayer(keys.Long("Layer", "1"));
    SetAlign(keys.Long("Align", "0"));
    SetColor(keys.Color("Color", "&H808080"));
    SetFontBold(keys.Bool("FontBold", false));
    SetFontItalic(keys.Bool("FontItalic", false));
    SetFontName(keys.Text("FontName", "Arial"));
    SetFontSize(keys.Long("FontSize", "14"));
    SetOpacity(keys.Long("Opacity", "100"));
    SetOpacityMode(keys.Long("OpacityMode", "2"));
    SetInterval(keys.Double("Interval", "1"));
    SetRotationAngle(static_cast<float>(keys.Double("RotationAngle", "0")));
    LoadSchedule(keys);
    SetScripted(keys.Bool("Scripted", false));
    SetShadow(keys.Bool("Shadow", false));
    SetShadowOffsetX(keys.Long("ShadowOffsetX", "2"));
    SetShadowOffsetY(keys.Long("ShadowOffsetY", "2"));
    SetShadowSize(keys.Long("ShadowSize", "1"));
    SetUpdateBaseTime(keys.TimeOfDay("UpdateBaseTime"));
    SetLocationX(keys.Long("LocationX", "0"));
    SetLocationY(keys.Long("LocationY", "0"));
}

void TextItem::SaveSettings(IniSection& keys) const {
    keys.SetBool("Enabled", Enabled());
    keys.SetLong("Align", Align());
    keys.SetColor("Color", Color());
    keys.SetBool("FontBold", FontBold());
    keys.SetBool("FontItalic", FontItalic());
    keys.SetText("FontName", FontName());
    keys.SetLong("FontSize", FontSize());
    keys.SetLong("Layer", Layer());
    keys.SetLong("LocationX", LocationX());
    keys.SetLong("LocationY", LocationY());
    keys.SetDouble("Interval", Interval());
    keys.SetLong("Opacity", Opacity());
    keys.SetLong("OpacityMode", OpacityMode());
    keys.SetSingle("RotationAngle", RotationAngle());
    SaveSchedule(keys);
    keys.SetBool("Scripted", Scripted());
    keys.SetBool("Shadow", Shadow());
    keys.SetLong("ShadowOffsetX", ShadowOffsetX());
    keys.SetLong("ShadowOffsetY", ShadowOffsetY());
    keys.SetLong("ShadowSize", ShadowSize());
    keys.SetText("Text", Text());
    keys.SetTimeOfDay("UpdateBaseTime", UpdateBaseTime());
}

} // namespace tess
