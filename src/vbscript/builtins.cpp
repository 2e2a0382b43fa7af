// The built-in functions: strings, conversions, tests, maths, dates and arrays.

#include "base/text.h"
#include "settings/format.h"
#include "settings/number_text.h"
#include "settings/vb_date.h"
#include "vbscript/array_box.h"
#include "vbscript/coerce.h"
#include "vbscript/interpreter.h"
#include "vbscript/limits.h"
#include "vbscript/script_chars.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstring>
#include <ctime>

namespace tess::vbs {

namespace {

using Args = std::span<Variant>;

bool Missing(Args a, std::size_t i) {
    return i >= a.size() || (a[i].tag() == Variant::Tag::Error && a[i].whole() == kMissingArgument);
}
Variant Str(std::string s) {
    return Variant::String(std::move(s));
}
std::string S(const Variant& v) {
    return ToString(v);
}
// An argument's text read in place when it already is a string: long texts are not copied.
std::string_view View(const Variant& v, std::string& scratch) {
    if (v.IsString()) return v.text();
    scratch = ToString(v);
    return scratch;
}
long L(const Variant& v) {
    return ToLong(v);
}
Variant Bool(bool b) {
    return Variant::Boolean(b);
}

std::string CheckedRepeat(long count, std::string_view unit) {
    if (count < 0) Raise(err::kIllegalCall);
    if (static_cast<std::size_t>(count) > kMaxStringBytes / std::max<std::size_t>(unit.size(), 1))
        Raise(err::kOutOfStringSpace);
    if (unit.size() == 1) return std::string(static_cast<std::size_t>(count), unit[0]);
    std::string out;
    out.reserve(static_cast<std::size_t>(count) * unit.size());
    for (long i = 0; i < count; ++i)
        out += unit;
    return out;
}

// ---- strings: lengths and positions count characters, not bytes
Variant Len(Interpreter&, Args a) {
    if (a[0].IsNull()) return Variant::Null();
    std::string scratch;
    return Variant::Long(static_cast<std::int32_t>(CountChars(View(a[0], scratch))));
}
// A count argument of Left, Right and Mid.
std::size_t Count(const Variant& v) {
    const long n = L(v);
    if (n < 0) Raise(err::kIllegalCall);
    return static_cast<std::size_t>(n);
}
// The counts are checked before a Null text gives Null, as the language does.
Variant Left(Interpreter&, Args a) {
    const std::size_t n = Count(a[1]);
    if (a[0].IsNull()) return Variant::Null();
    std::string scratch;
    const std::string_view s = View(a[0], scratch);
    return Str(std::string(s.substr(0, CharsToBytes(s, n))));
}
Variant Right(Interpreter&, Args a) {
    const std::size_t n = Count(a[1]);
    if (a[0].IsNull()) return Variant::Null();
    std::string scratch;
    const std::string_view s = View(a[0], scratch);
    if (n >= s.size()) return Str(std::string(s));
    // The last n bytes, when plain ASCII, are the last n characters.
    if (IsAscii(s.substr(s.size() - n))) return Str(std::string(s.substr(s.size() - n)));
    const std::size_t total = CountChars(s);
    if (n >= total) return Str(std::string(s));
    return Str(std::string(s.substr(CharsToBytes(s, total - n))));
}
Variant Mid(Interpreter&, Args a) {
    const long start = L(a[1]);
    const long length = Missing(a, 2) ? -1 : L(a[2]);
    if (start < 1 || (!Missing(a, 2) && length < 0)) Raise(err::kIllegalCall);
    if (a[0].IsNull()) return Variant::Null();
    const std::size_t n = Missing(a, 2) ? kNoChar : static_cast<std::size_t>(length);
    std::string scratch;
    const std::string_view s = View(a[0], scratch);
    const std::size_t from = CharsToBytes(s, static_cast<std::size_t>(start) - 1);
    if (from == kNoChar) return Str("");
    const std::string_view rest = s.substr(from);
    return Str(std::string(n == kNoChar ? rest : rest.substr(0, CharsToBytes(rest, n))));
}
// The compare argument: vbBinaryCompare (0, the default) or vbTextCompare (1).
bool TextMode(Args a, std::size_t i) {
    if (Missing(a, i)) return false;
    const long mode = L(a[i]);
    if (mode != 0 && mode != 1) Raise(err::kIllegalCall);
    return mode == 1;
}
// Repeated searches of one text: in text mode both sides are lower-cased once, not per hit.
// Lower-casing keeps byte lengths, so offsets found hold in the original text.
class Search {
public:
    Search(std::string_view hay, std::string_view needle, bool text) : hay_(hay), needle_(needle) {
        if (!text) return;
        lower_hay_ = ToLowerText(hay);
        lower_needle_ = ToLowerText(needle);
        hay_ = lower_hay_;
        needle_ = lower_needle_;
    }
    Search(const Search&) = delete;
    Search& operator=(const Search&) = delete;
    std::size_t From(std::size_t pos) const { return FindChars(hay_, needle_, pos); }
    std::size_t LastBefore(std::size_t end) const { return FindLastChars(hay_, needle_, end); }

private:
    std::string lower_hay_, lower_needle_;
    std::string_view hay_, needle_;
};
Variant InStr(Interpreter&, Args a) {
    // InStr([start,] string1, string2[, compare])
    long start = 1;
    std::size_t i = 0;
    if (a.size() >= 3) {
        if (a[0].IsNull()) Raise(err::kInvalidUseOfNull);
        start = L(a[0]);
        i = 1;
    }
    if (start < 1) Raise(err::kIllegalCall);
    const bool text = TextMode(a, i + 2);
    if (a[i].IsNull() || a[i + 1].IsNull()) return Variant::Null();
    std::string hay_scratch, needle_scratch;
    const std::string_view hay = View(a[i], hay_scratch), needle = View(a[i + 1], needle_scratch);
    const std::size_t from = CharsToBytes(hay, static_cast<std::size_t>(start) - 1);
    if (from == kNoChar || from == hay.size()) return Variant::Long(0);
    if (needle.empty()) return Variant::Long(start);
    const Search search(hay, needle, text);
    const std::size_t p = search.From(from);
    if (p == std::string::npos) return Variant::Long(0);
    return Variant::Long(static_cast<std::int32_t>(BytesToChars(hay, p) + 1));
}
// Unlike InStr, InStrRev and Replace refuse a Null text with error 94.
Variant InStrRev(Interpreter&, Args a) {
    if (a[0].IsNull() || a[1].IsNull()) Raise(err::kInvalidUseOfNull);
    std::string hay_scratch, needle_scratch;
    const std::string_view hay = View(a[0], hay_scratch), needle = View(a[1], needle_scratch);
    long start = Missing(a, 2) ? -1 : L(a[2]);
    const bool text = TextMode(a, 3);
    if (start == 0 || start < -1) Raise(err::kIllegalCall);
    if (start == -1) start = static_cast<long>(CountChars(hay));
    const std::size_t end = CharsToBytes(hay, static_cast<std::size_t>(start));
    if (end == kNoChar) return Variant::Long(0);
    if (needle.empty()) return Variant::Long(start);
    const Search search(hay, needle, text);
    const std::size_t p = search.LastBefore(end);
    if (p == std::string::npos) return Variant::Long(0);
    return Variant::Long(static_cast<std::int32_t>(BytesToChars(hay, p) + 1));
}
Variant Replace(Interpreter&, Args a) {
    for (std::size_t i = 0; i < a.size(); ++i)
        if (a[i].IsNull()) Raise(err::kInvalidUseOfNull);
    std::string s_scratch, find_scratch, with_scratch;
    const std::string_view s = View(a[0], s_scratch), find = View(a[1], find_scratch),
                           with = View(a[2], with_scratch);
    const long start = Missing(a, 3) ? 1 : L(a[3]);
    long count = Missing(a, 4) ? -1 : L(a[4]);
    const bool text = TextMode(a, 5);
    if (start < 1 || count < -1) Raise(err::kIllegalCall);
    const std::size_t from = CharsToBytes(s, static_cast<std::size_t>(start) - 1);
    if (from == kNoChar) return Str("");
    const std::string_view src = s.substr(from);
    if (find.empty() || count == 0) return Str(std::string(src));
    const Search search(src, find, text);
    std::string out;
    std::size_t pos = 0;
    while (count != 0) {
        const std::size_t hit = search.From(pos);
        if (hit == std::string::npos) break;
        out.append(src.substr(pos, hit - pos));
        out += with;
        if (out.size() > kMaxStringBytes) Raise(err::kOutOfStringSpace);
        pos = hit + find.size();
        if (count > 0) --count;
    }
    out.append(src.substr(pos));
    return Str(std::move(out));
}
Variant MakeArray(std::vector<Variant> items) {
    int code = 0;
    ArrayBox* box = ArrayBox::Create({static_cast<int>(items.size()) - 1}, code);
    if (!box) Raise(code);
    box->items = std::move(items);
    return Variant::Array(box);
}
Variant SplitFn(Interpreter&, Args a) {
    if (a[0].IsNull()) Raise(err::kInvalidUseOfNull);
    std::string s_scratch, delim_scratch = " ";
    const std::string_view s = View(a[0], s_scratch);
    const std::string_view delim = Missing(a, 1) ? delim_scratch : View(a[1], delim_scratch);
    long limit = Missing(a, 2) ? -1 : L(a[2]);
    const bool text = TextMode(a, 3);
    if (limit < -1) Raise(err::kIllegalCall);
    std::vector<Variant> parts;
    if (s.empty()) return MakeArray({});
    if (delim.empty()) return MakeArray({Str(std::string(s))});
    const Search search(s, delim, text);
    std::size_t pos = 0;
    while (limit < 0 || static_cast<long>(parts.size()) + 1 < limit) {
        const std::size_t hit = search.From(pos);
        if (hit == std::string::npos) break;
        parts.push_back(Str(std::string(s.substr(pos, hit - pos))));
        pos = hit + delim.size();
    }
    parts.push_back(Str(std::string(s.substr(pos))));
    return MakeArray(std::move(parts));
}
const ArrayBox& ArrayArg(const Variant& v) {
    if (!v.IsArray()) Raise(err::kTypeMismatch);
    return *v.array();
}
Variant Join(Interpreter&, Args a) {
    const ArrayBox& box = ArrayArg(a[0]);
    std::string delim_scratch = " ", item_scratch;
    const std::string_view delim = Missing(a, 1) ? delim_scratch : View(a[1], delim_scratch);
    // Sized first when every item is a string, so the result is built without regrowing.
    std::size_t total = 0;
    for (const Variant& item : box.items)
        total += (item.IsString() ? item.text().size() : 0) + delim.size();
    std::string out;
    out.reserve(std::min(total, kMaxStringBytes));
    for (std::size_t i = 0; i < box.items.size(); ++i) {
        if (i) out += delim;
        out += View(box.items[i], item_scratch);
        if (out.size() > kMaxStringBytes) Raise(err::kOutOfStringSpace);
    }
    return Str(std::move(out));
}
Variant UCase(Interpreter&, Args a) {
    return a[0].IsNull() ? Variant::Null() : Str(ToUpperText(S(a[0])));
}
Variant LCase(Interpreter&, Args a) {
    return a[0].IsNull() ? Variant::Null() : Str(ToLowerText(S(a[0])));
}
std::string TrimSpaces(const std::string& s, bool left, bool right) {
    std::size_t b = 0, e = s.size();
    if (left)
        while (b < e && s[b] == ' ')
            ++b;
    if (right)
        while (e > b && s[e - 1] == ' ')
            --e;
    return s.substr(b, e - b);
}
Variant TrimFn(Interpreter&, Args a) {
    return a[0].IsNull() ? Variant::Null() : Str(TrimSpaces(S(a[0]), true, true));
}
Variant LTrim(Interpreter&, Args a) {
    return a[0].IsNull() ? Variant::Null() : Str(TrimSpaces(S(a[0]), true, false));
}
Variant RTrim(Interpreter&, Args a) {
    return a[0].IsNull() ? Variant::Null() : Str(TrimSpaces(S(a[0]), false, true));
}
Variant Space(Interpreter&, Args a) {
    return Str(CheckedRepeat(L(a[0]), " "));
}
// The character of a code-page number, as UTF-8.
std::string CodePageChar(long code) {
    std::string out;
    AppendUtf8(out, FromCodePage(static_cast<std::uint8_t>(code)));
    return out;
}
Variant StringFn(Interpreter&, Args a) {
    if (a[1].IsNull()) return Variant::Null();
    std::string unit;
    if (a[1].IsString()) {
        const std::string& s = a[1].text();
        if (s.empty()) Raise(err::kIllegalCall);
        unit = s.substr(0, CharAt(s, 0).size);
    } else {
        unit = CodePageChar(L(a[1]) & 0xFF); // numbers past 255 are taken modulo 256
    }
    return Str(CheckedRepeat(L(a[0]), unit));
}
Variant StrComp(Interpreter&, Args a) {
    if (a[0].IsNull() || a[1].IsNull()) return Variant::Null();
    return Variant::Integer(Compare(Str(S(a[0])), Str(S(a[1])), Literal::None, TextMode(a, 2)));
}
Variant StrReverse(Interpreter&, Args a) {
    return Str(ReverseChars(S(a[0])));
}
// The first character of a text, error 5 when it is empty.
ScriptChar FirstChar(const Variant& v, std::string& scratch) {
    const std::string_view s = View(v, scratch);
    if (s.empty()) Raise(err::kIllegalCall);
    return CharAt(s, 0);
}
Variant Asc(Interpreter&, Args a) {
    std::string scratch;
    const ScriptChar c = FirstChar(a[0], scratch);
    // A byte that is not UTF-8 is read as a code-page byte already.
    return Variant::Integer(c.valid ? ToCodePage(c.code) : static_cast<int>(c.code));
}
Variant AscW(Interpreter&, Args a) {
    std::string scratch;
    const ScriptChar c = FirstChar(a[0], scratch);
    char32_t code = c.valid ? c.code : FromCodePage(static_cast<std::uint8_t>(c.code));
    // Past the Basic Multilingual Plane the language sees the first half of a surrogate pair.
    if (code > 0xFFFF) code = 0xD800 + ((code - 0x10000) >> 10);
    return Variant::Integer(static_cast<std::int16_t>(static_cast<std::uint16_t>(code)));
}
Variant AscB(Interpreter&, Args a) {
    std::string scratch;
    const std::string_view s = View(a[0], scratch);
    if (s.empty()) Raise(err::kIllegalCall);
    return Variant::Integer(static_cast<unsigned char>(s[0]));
}
Variant Chr(Interpreter&, Args a) {
    const long c = L(a[0]);
    if (c < 0 || c > 255) Raise(err::kIllegalCall);
    return Str(CodePageChar(c));
}
Variant ChrW(Interpreter&, Args a) {
    const long c = L(a[0]);
    if (c < -32768 || c > 65535) Raise(err::kIllegalCall);
    std::string out;
    AppendUtf8(out, static_cast<char32_t>(static_cast<unsigned>(c) & 0xFFFF));
    return Str(std::move(out));
}
Variant Radix(Args a, int base) {
    if (a[0].IsNull()) return Variant::Null();
    const Variant& v = a[0];
    std::int64_t n = ToLong(v);
    std::uint32_t u = static_cast<std::uint32_t>(n);
    if (n < 0 && n >= -32768 && (v.tag() == Variant::Tag::Integer || v.tag() == Variant::Tag::Byte))
        u &= 0xFFFF;
    std::string out;
    do {
        out.insert(out.begin(), "0123456789ABCDEF"[u % base]);
        u /= base;
    } while (u);
    return Str(out);
}
Variant Hex(Interpreter&, Args a) {
    return Radix(a, 16);
}
Variant Oct(Interpreter&, Args a) {
    return Radix(a, 8);
}

// ---- conversions
Variant CBool(Interpreter&, Args a) {
    return Bool(ToBool(a[0]));
}
Variant CByte(Interpreter&, Args a) {
    return Variant::Byte(ToByte(a[0]));
}
Variant CInt(Interpreter&, Args a) {
    return Variant::Integer(ToInteger(a[0]));
}
Variant CLng(Interpreter&, Args a) {
    return Variant::Long(ToLong(a[0]));
}
Variant CSng(Interpreter&, Args a) {
    return Variant::Single(ToSingle(a[0]));
}
Variant CDbl(Interpreter&, Args a) {
    return Variant::Double(ToDouble(a[0]));
}
Variant CCur(Interpreter&, Args a) {
    return Variant::Currency(ToCurrency(a[0]));
}
Variant CStr(Interpreter&, Args a) {
    return Str(S(a[0]));
}
Variant CDate(Interpreter&, Args a) {
    return Variant::Date(ToDate(a[0]));
}

// ---- tests
Variant IsNumeric(Interpreter&, Args a) {
    const Variant& v = a[0];
    if (v.IsString()) {
        double d;
        return Bool(StringToNumber(v.text(), d));
    }
    return Bool(v.IsNumeric() || v.IsEmpty());
}
Variant IsDate(Interpreter&, Args a) {
    if (a[0].tag() == Variant::Tag::Date) return Bool(true);
    if (!a[0].IsString()) return Bool(false);
    double d;
    return Bool(ParseDateText(Trim(a[0].text()), d));
}
Variant IsEmptyFn(Interpreter&, Args a) {
    return Bool(a[0].IsEmpty());
}
Variant IsNullFn(Interpreter&, Args a) {
    return Bool(a[0].IsNull());
}
Variant IsArrayFn(Interpreter&, Args a) {
    return Bool(a[0].IsArray());
}
Variant IsObjectFn(Interpreter&, Args a) {
    return Bool(a[0].IsObject());
}
Variant VarTypeFn(Interpreter&, Args a) {
    return Variant::Integer(static_cast<int>(a[0].Type()));
}
Variant TypeNameFn(Interpreter&, Args a) {
    switch (a[0].tag()) {
    case Variant::Tag::Empty:
        return Str("Empty");
    case Variant::Tag::Null:
        return Str("Null");
    case Variant::Tag::Boolean:
        return Str("Boolean");
    case Variant::Tag::Byte:
        return Str("Byte");
    case Variant::Tag::Integer:
        return Str("Integer");
    case Variant::Tag::Long:
        return Str("Long");
    case Variant::Tag::Single:
        return Str("Single");
    case Variant::Tag::Double:
        return Str("Double");
    case Variant::Tag::Currency:
        return Str("Currency");
    case Variant::Tag::Date:
        return Str("Date");
    case Variant::Tag::String:
        return Str("String");
    case Variant::Tag::Array:
        return Str("Variant()");
    case Variant::Tag::Error:
        return Str("Error");
    case Variant::Tag::Object:
        return Str(a[0].object() ? std::string(a[0].object()->ClassName()) : "Nothing");
    default:
        return Str("Unknown");
    }
}

// ---- maths
Variant Same(const Variant& v, double d) {
    switch (v.tag()) {
    case Variant::Tag::Integer:
        return Variant::Integer(static_cast<int>(d));
    case Variant::Tag::Long:
        return Variant::Long(static_cast<std::int32_t>(d));
    case Variant::Tag::Byte:
        return Variant::Byte(static_cast<int>(d));
    case Variant::Tag::Single:
        return Variant::Single(static_cast<float>(d));
    case Variant::Tag::Currency:
        return Variant::Currency(static_cast<std::int64_t>(d * 10000));
    case Variant::Tag::Date:
        return Variant::Date(d);
    case Variant::Tag::Boolean:
        return Variant::Integer(static_cast<int>(d));
    default:
        return Variant::Double(d);
    }
}
Variant Abs(Interpreter&, Args a) {
    if (a[0].IsNull()) return Variant::Null();
    if (a[0].IsEmpty()) return Variant::Integer(0);
    if (a[0].IsWhole())
        return FitWhole(std::llabs(a[0].whole()), a[0].tag() == Variant::Tag::Long ? 3 : 2);
    return Same(a[0], std::fabs(ToDouble(a[0])));
}
Variant Sgn(Interpreter&, Args a) {
    if (a[0].IsNull()) return Variant::Null();
    const double d = ToDouble(a[0]);
    return Variant::Integer(d < 0 ? -1 : d > 0 ? 1 : 0);
}
Variant IntFn(Interpreter&, Args a) {
    if (a[0].IsNull()) return Variant::Null();
    if (a[0].IsString()) return Variant::Double(std::floor(ToDouble(a[0])));
    return Same(a[0], std::floor(ToDouble(a[0])));
}
Variant Fix(Interpreter&, Args a) {
    if (a[0].IsNull()) return Variant::Null();
    if (a[0].IsString()) return Variant::Double(std::trunc(ToDouble(a[0])));
    return Same(a[0], std::trunc(ToDouble(a[0])));
}
Variant Round(Interpreter&, Args a) {
    if (a[0].IsNull()) return Variant::Null();
    const long digits = Missing(a, 1) ? 0 : L(a[1]);
    if (digits < 0) Raise(err::kIllegalCall);
    const double scale = std::pow(10.0, static_cast<double>(digits));
    const double d = ToDouble(a[0]);
    const double r = digits == 0 ? RoundEven(d) : RoundEven(d * scale) / scale;
    if (a[0].IsString()) return Variant::Double(r);
    return Same(a[0], r);
}
double D(const Variant& v) {
    return ToDouble(v);
}
Variant Sqr(Interpreter&, Args a) {
    const double d = D(a[0]);
    if (d < 0) Raise(err::kIllegalCall);
    return Variant::Double(std::sqrt(d));
}
Variant Exp(Interpreter&, Args a) {
    const double r = std::exp(D(a[0]));
    if (!std::isfinite(r)) Raise(err::kOverflow);
    return Variant::Double(r);
}
Variant Log(Interpreter&, Args a) {
    const double d = D(a[0]);
    if (d <= 0) Raise(err::kIllegalCall);
    return Variant::Double(std::log(d));
}
Variant Sin(Interpreter&, Args a) {
    return Variant::Double(std::sin(D(a[0])));
}
Variant Cos(Interpreter&, Args a) {
    return Variant::Double(std::cos(D(a[0])));
}
Variant Tan(Interpreter&, Args a) {
    return Variant::Double(std::tan(D(a[0])));
}
Variant Atn(Interpreter&, Args a) {
    return Variant::Double(std::atan(D(a[0])));
}
// The classic 24-bit linear congruential generator.
Variant Rnd(Interpreter& in, Args a) {
    const double arg = Missing(a, 0) ? 1 : D(a[0]);
    auto& seed = in.rnd_seed;
    if (arg == 0) return Variant::Single(static_cast<float>(in.last_rnd));
    if (arg < 0) {
        const float f = static_cast<float>(arg);
        std::uint32_t bits;
        std::memcpy(&bits, &f, sizeof bits);
        seed = static_cast<double>((bits + (bits >> 24)) & 0xFFFFFF);
    }
    std::uint32_t s = static_cast<std::uint32_t>(seed);
    s = (s * 0x43FD43FDu + 0xC39EC3u) & 0xFFFFFFu;
    seed = s;
    in.last_rnd = s / 16777216.0;
    return Variant::Single(static_cast<float>(in.last_rnd));
}
Variant Randomize(Interpreter& in, Args a) {
    const double value =
        Missing(a, 0) ? static_cast<double>(
                            std::chrono::steady_clock::now().time_since_epoch().count() % 86400)
                      : D(a[0]);
    std::uint64_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    const std::uint32_t hi = static_cast<std::uint32_t>(bits >> 32);
    std::uint32_t s = static_cast<std::uint32_t>(in.rnd_seed);
    s = (s & 0xFF) | (((hi ^ (hi >> 16)) & 0xFFFF) << 8);
    in.rnd_seed = s & 0xFFFFFF;
    return {};
}

// ---- dates
double NowDays() {
    const auto now = std::chrono::system_clock::now();
    const std::time_t t = std::chrono::system_clock::to_time_t(now);
    std::tm local{};
    localtime_r(&t, &local);
    return DateSerial(local.tm_year + 1900, local.tm_mon + 1, local.tm_mday) +
           TimeSerial(local.tm_hour, local.tm_min, local.tm_sec);
}
Variant Now(Interpreter&, Args) {
    return Variant::Date(NowDays());
}
Variant DateFn(Interpreter&, Args) {
    return Variant::Date(std::floor(NowDays()));
}
Variant TimeFn(Interpreter&, Args) {
    const double n = NowDays();
    return Variant::Date(n - std::floor(n));
}
Variant Timer(Interpreter&, Args) {
    const double n = NowDays();
    return Variant::Single(static_cast<float>((n - std::floor(n)) * 86400.0));
}
DateFields Fields(const Variant& v) {
    return SplitDate(ToDate(v));
}
Variant Year(Interpreter&, Args a) {
    return a[0].IsNull() ? Variant::Null() : Variant::Integer(Fields(a[0]).year);
}
Variant Month(Interpreter&, Args a) {
    return a[0].IsNull() ? Variant::Null() : Variant::Integer(Fields(a[0]).month);
}
Variant Day(Interpreter&, Args a) {
    return a[0].IsNull() ? Variant::Null() : Variant::Integer(Fields(a[0]).day);
}
Variant Hour(Interpreter&, Args a) {
    return a[0].IsNull() ? Variant::Null() : Variant::Integer(Fields(a[0]).hour);
}
Variant Minute(Interpreter&, Args a) {
    return a[0].IsNull() ? Variant::Null() : Variant::Integer(Fields(a[0]).minute);
}
Variant Second(Interpreter&, Args a) {
    return a[0].IsNull() ? Variant::Null() : Variant::Integer(Fields(a[0]).second);
}
Variant Weekday(Interpreter&, Args a) {
    if (a[0].IsNull()) return Variant::Null();
    const int first = Missing(a, 1) ? 1 : static_cast<int>(L(a[1]));
    if (first < 0 || first > 7) Raise(err::kIllegalCall);
    const int f = first == 0 ? 1 : first;
    return Variant::Integer((Fields(a[0]).weekday - f + 7) % 7 + 1);
}
Variant WeekdayName(Interpreter&, Args a) {
    const long d = L(a[0]);
    const bool abbreviate = !Missing(a, 1) && ToBool(a[1]);
    const int first = Missing(a, 2) ? 1 : static_cast<int>(L(a[2]));
    if (d < 1 || d > 7 || first < 0 || first > 7) Raise(err::kIllegalCall);
    const int day = (static_cast<int>(d) - 1 + (first == 0 ? 1 : first) - 1) % 7 + 1;
    return Str(std::string(abbreviate ? DayShortName(day) : DayName(day)));
}
Variant MonthNameFn(Interpreter&, Args a) {
    const long m = L(a[0]);
    if (m < 1 || m > 12) Raise(err::kIllegalCall);
    const bool abbreviate = !Missing(a, 1) && ToBool(a[1]);
    return Str(std::string(abbreviate ? MonthShortName(static_cast<int>(m))
                                      : MonthName(static_cast<int>(m))));
}
Variant DateSerialFn(Interpreter&, Args a) {
    return Variant::Date(DateSerial(static_cast<int>(L(a[0])), static_cast<int>(L(a[1])),
                                    static_cast<int>(L(a[2]))));
}
Variant TimeSerialFn(Interpreter&, Args a) {
    const double t =
        TimeSerial(static_cast<int>(L(a[0])), static_cast<int>(L(a[1])), static_cast<int>(L(a[2])));
    return Variant::Date(t);
}
Variant DateValue(Interpreter&, Args a) {
    return Variant::Date(std::floor(ToDate(a[0])));
}
Variant TimeValue(Interpreter&, Args a) {
    const double d = ToDate(a[0]);
    return Variant::Date(d - std::floor(d));
}
// Interval letters of DateAdd, DateDiff and DatePart.
enum class Unit { Year, Quarter, Month, DayOfYear, Day, Weekday, Week, Hour, Minute, Second };
Unit UnitOf(const Variant& v) {
    const std::string s = ToLowerAscii(S(v));
    if (s == "yyyy") return Unit::Year;
    if (s == "q") return Unit::Quarter;
    if (s == "m") return Unit::Month;
    if (s == "y") return Unit::DayOfYear;
    if (s == "d") return Unit::Day;
    if (s == "w") return Unit::Weekday;
    if (s == "ww") return Unit::Week;
    if (s == "h") return Unit::Hour;
    if (s == "n") return Unit::Minute;
    if (s == "s") return Unit::Second;
    Raise(err::kIllegalCall);
}
Variant DateAdd(Interpreter&, Args a) {
    const Unit u = UnitOf(a[0]);
    const double n = std::trunc(D(a[1]));
    const double date = ToDate(a[2]);
    const double time = date - std::floor(date);
    DateFields f = SplitDate(date);
    switch (u) {
    case Unit::Year:
    case Unit::Quarter:
    case Unit::Month: {
        const int months = static_cast<int>(n) * (u == Unit::Year      ? 12
                                                  : u == Unit::Quarter ? 3
                                                                       : 1);
        const int total = f.year * 12 + (f.month - 1) + months;
        const int y = total / 12, m = total % 12 + 1;
        const int d = std::min(f.day, DaysInMonth(y, m));
        return Variant::Date(DateSerial(y, m, d) + (date < 0 ? -time : time));
    }
    case Unit::DayOfYear:
    case Unit::Day:
    case Unit::Weekday:
        return Variant::Date(date + n);
    case Unit::Week:
        return Variant::Date(date + 7 * n);
    case Unit::Hour:
        return Variant::Date(date + n / 24.0);
    case Unit::Minute:
        return Variant::Date(date + n / 1440.0);
    case Unit::Second:
        return Variant::Date(date + n / 86400.0);
    }
    return {};
}
Variant DateDiff(Interpreter&, Args a) {
    const Unit u = UnitOf(a[0]);
    const double d1 = ToDate(a[1]), d2 = ToDate(a[2]);
    const DateFields f1 = SplitDate(d1), f2 = SplitDate(d2);
    auto secs = [](double d) { return std::llround(d * 86400.0); };
    switch (u) {
    case Unit::Year:
        return Variant::Long(f2.year - f1.year);
    case Unit::Quarter:
        return Variant::Long((f2.year * 4 + (f2.month - 1) / 3) -
                             (f1.year * 4 + (f1.month - 1) / 3));
    case Unit::Month:
        return Variant::Long((f2.year * 12 + f2.month) - (f1.year * 12 + f1.month));
    case Unit::DayOfYear:
    case Unit::Day:
        return Variant::Long(static_cast<std::int32_t>(std::floor(d2) - std::floor(d1)));
    case Unit::Weekday:
        return Variant::Long(static_cast<std::int32_t>((std::floor(d2) - std::floor(d1)) / 7));
    case Unit::Week: {
        const double w1 = std::floor(d1) - (f1.weekday - 1), w2 = std::floor(d2) - (f2.weekday - 1);
        return Variant::Long(static_cast<std::int32_t>((w2 - w1) / 7));
    }
    case Unit::Hour:
        return Variant::Long(static_cast<std::int32_t>(secs(d2) / 3600 - secs(d1) / 3600));
    case Unit::Minute:
        return Variant::Long(static_cast<std::int32_t>(secs(d2) / 60 - secs(d1) / 60));
    case Unit::Second:
        return Variant::Long(static_cast<std::int32_t>(secs(d2) - secs(d1)));
    }
    return {};
}
Variant DatePart(Interpreter&, Args a) {
    const Unit u = UnitOf(a[0]);
    const DateFields f = SplitDate(ToDate(a[1]));
    switch (u) {
    case Unit::Year:
        return Variant::Integer(f.year);
    case Unit::Quarter:
        return Variant::Integer((f.month - 1) / 3 + 1);
    case Unit::Month:
        return Variant::Integer(f.month);
    case Unit::DayOfYear:
        return Variant::Integer(f.day_of_year);
    case Unit::Day:
        return Variant::Integer(f.day);
    case Unit::Weekday:
        return Variant::Integer(f.weekday);
    case Unit::Week: {
        const int jan1 = SplitDate(DateSerial(f.year, 1, 1)).weekday;
        return Variant::Integer((f.day_of_year + jan1 - 2) / 7 + 1);
    }
    case Unit::Hour:
        return Variant::Integer(f.hour);
    case Unit::Minute:
        return Variant::Integer(f.minute);
    case Unit::Second:
        return Variant::Integer(f.second);
    }
    return {};
}
Variant FormatDateTime(Interpreter&, Args a) {
    const double d = ToDate(a[0]);
    const long style = Missing(a, 1) ? 0 : L(a[1]);
    switch (style) {
    case 0:
        return Str(DateToString(d));
    case 1:
        return Str(FormatDate(d, "dddd, mmmm d, yyyy"));
    case 2:
        return Str(FormatDate(d, "m/d/yyyy"));
    case 3:
        return Str(FormatDate(d, "h:nn:ss AM/PM"));
    case 4:
        return Str(FormatDate(d, "hh:nn"));
    default:
        Raise(err::kIllegalCall);
    }
}
// FormatNumber(value[, decimals[, leading zero[, parentheses[, grouping]]]])
std::string NumberText(Args a, double value) {
    const long decimals = Missing(a, 1) || L(a[1]) == -1 ? 2 : L(a[1]);
    if (decimals < 0 || decimals > 255) Raise(err::kIllegalCall);
    const bool leading = Missing(a, 2) || L(a[2]) != 0;
    const bool parens = !Missing(a, 3) && L(a[3]) == -1;
    const bool group = Missing(a, 4) || L(a[4]) != 0;
    std::string pattern = group ? "#,##0" : "0";
    if (decimals > 0) pattern += "." + std::string(static_cast<std::size_t>(decimals), '0');
    std::string text = FormatDigits(std::fabs(value), pattern, NumberStyle{});
    if (!leading && text.rfind("0.", 0) == 0) text.erase(0, 1);
    const bool negative = value < 0 && text.find_first_not_of("0.,") != std::string::npos;
    if (negative) text = parens ? "(" + text + ")" : "-" + text;
    return text;
}
Variant FormatNumber(Interpreter&, Args a) {
    return Str(NumberText(a, D(a[0])));
}
Variant FormatPercent(Interpreter&, Args a) {
    return Str(NumberText(a, D(a[0]) * 100.0) + "%");
}
Variant FormatCurrency(Interpreter&, Args a) {
    const double v = D(a[0]);
    std::string text = NumberText(a, std::fabs(v));
    if (v < 0 && !(!Missing(a, 3) && L(a[3]) == -1)) return Str("-$" + text);
    if (v < 0) return Str("($" + text + ")");
    return Str("$" + text);
}

// ---- arrays
Variant ArrayFn(Interpreter&, Args a) {
    return MakeArray(std::vector<Variant>(a.begin(), a.end()));
}
Variant Bound(Args a, bool upper) {
    const ArrayBox& box = ArrayArg(a[0]);
    const long dim = Missing(a, 1) ? 1 : L(a[1]);
    if (dim < 1 || dim > box.Dimensions()) Raise(err::kSubscript);
    return Variant::Long(upper ? box.Upper(static_cast<int>(dim) - 1) : 0);
}
Variant UBound(Interpreter&, Args a) {
    return Bound(a, true);
}
Variant LBound(Interpreter&, Args a) {
    return Bound(a, false);
}
Variant Filter(Interpreter&, Args a) {
    const ArrayBox& box = ArrayArg(a[0]);
    const std::string match = S(a[1]);
    const bool include = Missing(a, 2) || ToBool(a[2]);
    const bool text = TextMode(a, 3);
    std::vector<Variant> out;
    for (const Variant& v : box.items) {
        const std::string s = S(v);
        const Search search(s, match, text);
        if ((search.From(0) != std::string::npos) == include) out.push_back(Str(s));
    }
    return MakeArray(std::move(out));
}

// ---- the user interface
Variant MsgBox(Interpreter& in, Args a) {
    const std::string text = a[0].IsNull() ? "Null" : S(a[0]);
    const int buttons = Missing(a, 1) ? 0 : static_cast<int>(L(a[1]));
    const std::string title = Missing(a, 2) ? "" : S(a[2]);
    return Variant::Integer(in.ui ? in.ui->MsgBox(text, buttons, title) : 1);
}
Variant InputBox(Interpreter& in, Args a) {
    const std::string prompt = S(a[0]);
    const std::string title = Missing(a, 1) ? "" : S(a[1]);
    const std::string def = Missing(a, 2) ? "" : S(a[2]);
    return Str(in.ui ? in.ui->InputBox(prompt, title, def) : std::string());
}
Variant ErrFn(Interpreter& in, Args) {
    return Variant::Object(in.err);
}

constexpr Builtin kBuiltins[] = {
    {"Len", 1, 1, Len},
    {"Left", 2, 2, Left},
    {"Right", 2, 2, Right},
    {"Mid", 2, 3, Mid},
    {"InStr", 2, 4, InStr},
    {"InStrRev", 2, 4, InStrRev},
    {"Replace", 3, 6, Replace},
    {"Split", 1, 4, SplitFn},
    {"Join", 1, 2, Join},
    {"UCase", 1, 1, UCase},
    {"LCase", 1, 1, LCase},
    {"Trim", 1, 1, TrimFn},
    {"LTrim", 1, 1, LTrim},
    {"RTrim", 1, 1, RTrim},
    {"Space", 1, 1, Space},
    {"String", 2, 2, StringFn},
    {"StrComp", 2, 3, StrComp},
    {"StrReverse", 1, 1, StrReverse},
    {"Asc", 1, 1, Asc},
    {"AscW", 1, 1, AscW},
    {"AscB", 1, 1, AscB},
    {"Chr", 1, 1, Chr},
    {"ChrW", 1, 1, ChrW},
    {"Hex", 1, 1, Hex},
    {"Oct", 1, 1, Oct},
    {"CBool", 1, 1, CBool},
    {"CByte", 1, 1, CByte},
    {"CInt", 1, 1, CInt},
    {"CLng", 1, 1, CLng},
    {"CSng", 1, 1, CSng},
    {"CDbl", 1, 1, CDbl},
    {"CCur", 1, 1, CCur},
    {"CStr", 1, 1, CStr},
    {"CDate", 1, 1, CDate},
    {"IsNumeric", 1, 1, IsNumeric},
    {"IsDate", 1, 1, IsDate},
    {"IsEmpty", 1, 1, IsEmptyFn},
    {"IsNull", 1, 1, IsNullFn},
    {"IsArray", 1, 1, IsArrayFn},
    {"IsObject", 1, 1, IsObjectFn},
    {"VarType", 1, 1, VarTypeFn},
    {"TypeName", 1, 1, TypeNameFn},
    {"Abs", 1, 1, Abs},
    {"Sgn", 1, 1, Sgn},
    {"Int", 1, 1, IntFn},
    {"Fix", 1, 1, Fix},
    {"Round", 1, 2, Round},
    {"Sqr", 1, 1, Sqr},
    {"Exp", 1, 1, Exp},
    {"Log", 1, 1, Log},
    {"Sin", 1, 1, Sin},
    {"Cos", 1, 1, Cos},
    {"Tan", 1, 1, Tan},
    {"Atn", 1, 1, Atn},
    {"Rnd", 0, 1, Rnd},
    {"Randomize", 0, 1, Randomize},
    {"Now", 0, 0, Now},
    {"Date", 0, 0, DateFn},
    {"Time", 0, 0, TimeFn},
    {"Timer", 0, 0, Timer},
    {"Year", 1, 1, Year},
    {"Month", 1, 1, Month},
    {"Day", 1, 1, Day},
    {"Hour", 1, 1, Hour},
    {"Minute", 1, 1, Minute},
    {"Second", 1, 1, Second},
    {"Weekday", 1, 2, Weekday},
    {"WeekdayName", 1, 3, WeekdayName},
    {"MonthName", 1, 2, MonthNameFn},
    {"DateAdd", 3, 3, DateAdd},
    {"DateDiff", 3, 5, DateDiff},
    {"DatePart", 2, 4, DatePart},
    {"DateSerial", 3, 3, DateSerialFn},
    {"TimeSerial", 3, 3, TimeSerialFn},
    {"DateValue", 1, 1, DateValue},
    {"TimeValue", 1, 1, TimeValue},
    {"FormatDateTime", 1, 2, FormatDateTime},
    {"FormatNumber", 1, 5, FormatNumber},
    {"FormatPercent", 1, 5, FormatPercent},
    {"FormatCurrency", 1, 5, FormatCurrency},
    {"Array", 0, 64, ArrayFn},
    {"UBound", 1, 2, UBound},
    {"LBound", 1, 2, LBound},
    {"Filter", 2, 4, Filter},
    {"MsgBox", 1, 5, MsgBox},
    {"InputBox", 1, 7, InputBox},
    {"Err", 0, 0, ErrFn},
    {"CreateObject", 1, 2, CreateObjectFn},
};

} // namespace

int FindBuiltin(std::string_view name) {
    for (std::size_t i = 0; i < std::size(kBuiltins); ++i)
        if (EqualsIgnoreCase(kBuiltins[i].name, name)) return static_cast<int>(i);
    return -1;
}

const Builtin& BuiltinAt(int index) {
    return kBuiltins[index];
}

} // namespace tess::vbs
