// Settings files come from users, other programs and half-finished copies: whatever the
// bytes, parsing must not crash, must keep every byte of what it does not change, and reads
// and writes must stay consistent.

#include "settings/ini_document.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string_view text(reinterpret_cast<const char*>(data), size);
    tess::IniDocument doc;
    doc.Parse(text);
    if (doc.Serialize() != text) __builtin_trap();

    // Use the first line's pieces as a section and key, so the fuzzer reaches real keys.
    std::string_view first = text.substr(0, text.find('\n'));
    std::string_view section = first.substr(0, first.size() / 2);
    std::string_view key = first.substr(first.size() / 2);
    (void)doc.Find(section, key);
    doc.Set(section, key, "value");
    doc.Set("General", "AutoLoad", "True");

    tess::IniDocument again;
    again.Parse(doc.Serialize());
    if (again.Serialize() != doc.Serialize()) __builtin_trap();
    auto value = again.Find("General", "AutoLoad");
    if (!value || *value != "True") __builtin_trap();
    return 0;
}
