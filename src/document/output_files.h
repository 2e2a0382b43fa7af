#pragma once

// The names and the replacing of a canvas's output files. Every file is written whole to a
// temporary file beside it and renamed over the old one, so a web server or an uploader that
// reads it meanwhile gets the old picture or the new one, never half of either.

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace tess {

// Sequential naming schemes (the canvas file's SequentialType).
enum SequentialNaming : std::int32_t {
    kSequentialTimeStamped =
        0, // "YYMMDDHHMMSS" and the hundredths of the second: "24051714320575.jpg"
    kSequentialNumbered = 1, // SequentialNumber as eight digits: "00000042.jpg"
};

// Cascade variants (the canvas file's CascadeMode). Either way number 0001 is the newest
// copy and higher numbers are older; each save moves every copy one number on and drops
// the one past CascadeCount.
enum CascadeVariant : std::int32_t {
    kCascadeOlderCopies = 0, // the copies are the pictures before the fixed file's picture
    kCascadeWithCurrent = 1, // copy 0001 is the picture just saved, the same as the fixed file
};

// "images/fixed.jpg" and 7 give "images/fixed0007.jpg"; a name without an extension gets
// none ("fixed" -> "fixed0007").
std::string CascadeFileName(std::string_view fixed_file, int index);

// The sequential file for a save at `now` (a local date) or with `number`, in `directory`
// (as a settings file holds it: "\" allowed, a missing separator added).
std::string SequentialFileName(std::string_view directory, std::int32_t naming, double now,
                               std::int32_t number);

// A time-stamped sequential name that no file has yet. When the clock repeats a time (the
// hour the autumn change repeats, a clock set back), the name is taken already; its
// hundredths field then counts on to the first value free, so both pictures are kept.
std::string UnusedTimeStampedName(const std::string& path);

// Writes `bytes` to `path` atomically, creating missing folders. A failure raises an error
// that names the file and the reason; `what` says which output it was ("fixed file").
void WriteOutputFile(const std::string& path, std::span<const std::uint8_t> bytes,
                     std::string_view what);

// Moves copies 1..count-1 one number on and removes copy `count`, so that number 1 is free.
// Copies that do not exist are skipped.
void ShiftCascade(const std::string& fixed_file, int count);

// Makes `to` a second name of the file `from` (a copy where links are not possible); a
// missing `from` is no error.
void LinkOrCopy(const std::string& from, const std::string& to);

} // namespace tess
