#pragma once

// One section of a document's settings file, read and written the way every portfolio and
// canvas file keeps its values: Booleans "True"/"False", invariant numbers, colours as "&H"
// and six or more upper-case hexadecimal digits, times of day as "HH:MM:SS". Reads write a
// missing key back with its default. A value that is not a number is never fatal: the key
// takes its default and one warning names the file, section and key.

#include <cstdint>
#include <string>
#include <string_view>

namespace tess {

class INI;

class IniSection {
public:
    IniSection(INI& ini, std::string_view section) : ini_(&ini), section_(section) {}

    const std::string& Name() const { return section_; }
    INI& File() { return *ini_; }

    std::string Text(std::string_view key, std::string_view def);
    bool Bool(std::string_view key, bool def);
    std::int32_t Long(std::string_view key, std::string_view def); // saturates at 2000000000
    double Double(std::string_view key, std::string_view def);
    // A date or time of day as days (a time alone is a fraction of a day).
    double Date(std::string_view key, std::string_view def);
    // Seconds after midnight, default "00:00:00".
    std::int32_t TimeOfDay(std::string_view key);
    // 0x00BBGGRR, limited to 24 bits.
    std::uint32_t Color(std::string_view key, std::string_view def);

    void SetText(std::string_view key, std::string_view value);
    void SetBool(std::string_view key, bool value);
    void SetLong(std::string_view key, std::int64_t value);
    void SetDouble(std::string_view key, double value);
    void SetSingle(std::string_view key, float value); // seven significant digits
    void SetTimeOfDay(std::string_view key, double seconds);
    void SetColor(std::string_view key, std::uint32_t color);

    // False once a write of this section could not be made (an unreadable or unwritable file),
    // including writes made by others on its behalf and noted here.
    bool WritesOk() const { return writes_ok_; }
    void NoteWrite(bool ok) { writes_ok_ &= ok; }

private:
    std::string Get(std::string_view key, std::string_view def);
    void Warn(std::string_view key, std::string_view text, std::string_view what,
              std::string_view def);

    INI* ini_;
    std::string section_;
    bool writes_ok_ = true;
};

std::string ColorText(std::uint32_t color); // "&H808080"
std::string TimeOfDayText(double seconds);  // "HH:MM:SS"
std::int32_t SecondsOfDay(double date);     // the time of day of a date, whole seconds

} // namespace tess
