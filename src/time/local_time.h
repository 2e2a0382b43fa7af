#pragma once

// Conversions between the program's dates (days since 1899-12-30 00:00 local wall-clock time)
// and the system clock. Local time is whatever the C library's time zone says (TZ or
// /etc/localtime); calendar fields of a date come from DateSerial/SplitDate.

#include <ctime>

namespace tess {

// The system time as a local date, with the sub-second part kept.
double DateFromTimespec(const timespec& time);

// The system time at which the local wall clock shows `date`. A wall-clock time that the
// daylight-saving change skips is taken as the same distance past the change (02:30 on a
// spring-forward night is 03:30 summer time). A time in the hour that the autumn change
// repeats is taken in the pass of the latest moment given to DateFromTimespec (the clock's
// last reading), and in summer time when that was outside the hour.
timespec TimespecFromDate(double date);

// The broken-down local time in force at `date`: zone abbreviation, offset from UTC and
// whether summer time applies. False when the C library cannot say.
bool LocalTmAt(double date, std::tm& out);

// The system clock now, read once.
timespec SystemTimeNow();

} // namespace tess
