#pragma once

// Dates as the settings files and the whole program keep them: a double counting days since
// 1899-12-30 00:00 local time, the fraction being the time of day. This file only does
// calendar arithmetic; reading the clock belongs to the time library.

#include <string_view>

namespace tess {

struct DateFields {
    int year = 1899;
    int month = 12;
    int day = 30;
    int hour = 0;
    int minute = 0;
    int second = 0;
    int weekday = 7;     // 1 = Sunday ... 7 = Saturday
    int day_of_year = 1; // 1 = the first of January
};

// Months and days out of range roll over into the next or previous ones.
double DateSerial(int year, int month, int day);
double TimeSerial(int hour, int minute, int second);
// Whole days since 1970-01-01 for a calendar date (proleptic Gregorian).
long DaysFromCivil(int year, int month, int day);

// Splits a date into calendar fields, rounded to the nearest second.
DateFields SplitDate(double date);

bool IsLeapYear(int year);
int DaysInMonth(int year, int month);

std::string_view MonthName(int month);      // "January"
std::string_view MonthShortName(int month); // "Jan"
std::string_view DayName(int weekday);      // 1 -> "Sunday"
std::string_view DayShortName(int weekday); // 1 -> "Sun"

// Reads "HH:MM[:SS] [AM|PM]", "YYYY-MM-DD", "M/D/YYYY", "M-D-YY", the two together, or a
// plain number of days. Returns false for anything else or for impossible values.
bool ParseDateText(std::string_view text, double& date);

} // namespace tess
