#include "vbscript/operators.h"

#include "base/text.h"
#include "vbscript/coerce.h"
#include "vbscript/errors.h"
#include "vbscript/limits.h"
#include "vbscript/object.h"
#include "vbscript/script_chars.h"

#include <charconv>
#include <cmath>
#include <limits>

namespace tess::vbs {

using Tag = Variant::Tag;

namespace {

// Ranks of the numeric subtypes, narrowest first.
enum Rank {
    kByte = 1,
    kInteger = 2,
    kLong = 3,
    kSingle = 4,
    kDouble = 5,
    kCurrency = 6,
    kDate = 7
};

int RankOf(const Variant& v) {
    switch (v.tag()) {
    case Tag::Byte:
        return kByte;
    case Tag::Empty:
    case Tag::Boolean:
    case Tag::Integer:
        return kInteger;
    case Tag::Long:
        return kLong;
    case Tag::Single:
        return kSingle;
    case Tag::Currency:
        return kCurrency;
    case Tag::Date:
        return kDate;
    case Tag::Array:
    case Tag::Error:
        Raise(err::kTypeMismatch);
    default:
        return kDouble;
    }
}

int ResultRank(int a, int b) {
    if (a == kCurrency || b == kCurrency)
        return (a == kSingle || b == kSingle || a == kDouble || b == kDouble) ? kDouble : kCurrency;
    if ((a == kSingle && b == kLong) || (a == kLong && b == kSingle)) return kDouble;
    return a > b ? a : b;
}

Variant RealResult(double d, int rank) {
    if (!std::isfinite(d)) Raise(err::kOverflow);
    if (rank == kSingle && std::fabs(d) <= std::numeric_limits<float>::max())
        return Variant::Single(static_cast<float>(d));
    return Variant::Double(d);
}

Variant CurrencyResult(double scaled) {
    if (!(std::fabs(scaled) < 9.2233720368547758e18)) Raise(err::kOverflow);
    return Variant::Currency(static_cast<std::int64_t>(RoundEven(scaled)));
}

Variant AddLike(BinaryOp op, const Variant& a, const Variant& b) {
    int ra = RankOf(a), rb = RankOf(b);
    if (a.IsWhole() || a.IsEmpty()) {
        if (b.IsWhole() || b.IsEmpty()) {
            const std::int64_t x = a.IsEmpty() ? 0 : a.whole();
            const std::int64_t y = b.IsEmpty() ? 0 : b.whole();
            std::int64_t r = op == BinaryOp::Add ? x + y : op == BinaryOp::Subtract ? x - y : x * y;
            // Byte and Empty/Boolean together count as Integer.
            const int rank = (ra == kByte && rb == kByte) ? kByte : ResultRank(ra, rb);
            return FitWhole(r, rank);
        }
    }
    const int rank = ResultRank(ra, rb);
    if (rank == kCurrency) {
        const double x = static_cast<double>(ToCurrency(a));
        const double y = static_cast<double>(ToCurrency(b));
        if (op == BinaryOp::Multiply) return CurrencyResult(x * y / 10000.0);
        return CurrencyResult(op == BinaryOp::Add ? x + y : x - y);
    }
    const double x = ToDouble(a), y = ToDouble(b);
    const double r = op == BinaryOp::Add ? x + y : op == BinaryOp::Subtract ? x - y : x * y;
    if (rank == kDate && op != BinaryOp::Multiply) {
        if (op == BinaryOp::Subtract && ra == kDate && rb == kDate) return Variant::Double(r);
        if (!std::isfinite(r)) Raise(err::kOverflow);
        return Variant::Date(r);
    }
    return RealResult(r, rank == kDate ? kDouble : rank);
}

// The operands of "\" and Mod become whole numbers first.
int WholeRank(const Variant& a, const Variant& b) {
    const int ra = RankOf(a), rb = RankOf(b);
    if (ra == kByte && rb == kByte) return kByte;
    if (ra <= kInteger && rb <= kInteger) return kInteger;
    return kLong;
}

} // namespace

Variant Arithmetic(BinaryOp op, const Variant& in_a, const Variant& in_b) {
    const Variant& ra = in_a.Deref();
    const Variant& rb = in_b.Deref();
    if (ra.IsNull() || rb.IsNull()) return Variant::Null();
    if (ra.IsObject() || rb.IsObject()) return Arithmetic(op, ValueOf(ra), ValueOf(rb));
    const Variant& a = ra;
    const Variant& b = rb;
    switch (op) {
    case BinaryOp::Add:
        if (a.IsString() && b.IsString()) return Variant::String(a.text() + b.text());
        [[fallthrough]];
    case BinaryOp::Subtract:
    case BinaryOp::Multiply:
        return AddLike(op, a, b);
    case BinaryOp::Divide: {
        const int rank = ResultRank(RankOf(a), RankOf(b));
        const double x = ToDouble(a), y = ToDouble(b);
        if (y == 0) Raise(x == 0 ? err::kOverflow : err::kDivisionByZero);
        return RealResult(x / y, rank == kSingle ? kSingle : kDouble);
    }
    case BinaryOp::IntDivide:
    case BinaryOp::Mod: {
        const int rank = WholeRank(a, b);
        const std::int64_t x = ToLong(a), y = ToLong(b);
        if (y == 0) Raise(err::kDivisionByZero);
        const std::int64_t r = op == BinaryOp::IntDivide ? x / y : x % y;
        if (rank == kLong && r > std::numeric_limits<std::int32_t>::max()) Raise(err::kOverflow);
        return FitWhole(r, rank);
    }
    case BinaryOp::Power: {
        const double x = ToDouble(a), y = ToDouble(b);
        if (x == 0 && y < 0) Raise(err::kDivisionByZero);
        if (x < 0 && y != std::trunc(y)) Raise(err::kIllegalCall);
        const double r = std::pow(x, y);
        if (!std::isfinite(r)) Raise(err::kOverflow);
        return Variant::Double(r);
    }
    default:
        break;
    }
    Raise(err::kTypeMismatch);
}

Variant Negate(const Variant& in) {
    const Variant& v = in.Deref();
    switch (v.tag()) {
    case Tag::Null:
        return Variant::Null();
    case Tag::Empty:
        return Variant::Integer(0);
    case Tag::Boolean:
    case Tag::Byte:
    case Tag::Integer:
        return FitWhole(-static_cast<std::int64_t>(v.whole()), kInteger);
    case Tag::Long:
        return FitWhole(-static_cast<std::int64_t>(v.whole()), kLong);
    case Tag::Single:
        return Variant::Single(static_cast<float>(-v.real()));
    case Tag::Date:
        return Variant::Date(-v.real());
    case Tag::Currency:
        return Variant::Currency(-v.currency());
    case Tag::Object:
        return Negate(ValueOf(v));
    default:
        return Variant::Double(-ToDouble(v));
    }
}

namespace {

// Strings and whole numbers, the usual operands of "&", are appended without a temporary.
void AppendText(std::string& out, const Variant& v) {
    if (v.IsNull()) return;
    if (v.IsString()) {
        out += v.text();
    } else if (v.tag() == Tag::Integer || v.tag() == Tag::Long || v.tag() == Tag::Byte) {
        char digits[16];
        const auto end = std::to_chars(digits, digits + sizeof digits, v.whole()).ptr;
        out.append(digits, end);
    } else {
        out += ToString(v);
    }
}

std::size_t KnownLength(const Variant& v) {
    return v.IsString() ? v.text().size() : 0;
}

} // namespace

Variant Concat(const Variant& in_a, const Variant& in_b) {
    const Variant& a = in_a.Deref();
    const Variant& b = in_b.Deref();
    if (a.IsNull() && b.IsNull()) return Variant::Null();
    const std::size_t known = KnownLength(a) + KnownLength(b);
    if (known > kMaxString()) Raise(err::kOutOfStringSpace);
    std::string text;
    if (known > 15) text.reserve(known + 16); // shorter results stay in the string itself
    AppendText(text, a);
    AppendText(text, b);
    if (text.size() > kMaxString()) Raise(err::kOutOfStringSpace);
    return Variant::String(std::move(text));
}

namespace {

// Whole operands of the logical operators, and whether the result stays Boolean.
struct Bits {
    std::int32_t value;
    int rank;
    bool boolean;
};

Bits LogicalOperand(const Variant& v) {
    if (v.tag() == Tag::Boolean) return {v.whole(), kInteger, true};
    if (v.tag() == Tag::String) return {ToBool(v) ? -1 : 0, kInteger, true};
    const int rank = RankOf(v) == kByte ? kByte : RankOf(v) <= kInteger ? kInteger : kLong;
    return {ToLong(v), rank, false};
}

Variant LogicalResult(std::int32_t r, const Bits& a, const Bits& b) {
    if (a.boolean && b.boolean) return Variant::Boolean(r != 0);
    int rank = a.boolean ? b.rank : b.boolean ? a.rank : (a.rank > b.rank ? a.rank : b.rank);
    if (rank == kByte) return Variant::Byte(r & 0xFF);
    if (rank == kInteger) return Variant::Integer(static_cast<std::int16_t>(r));
    return Variant::Long(r);
}

Variant NullLogical(BinaryOp op, const Variant& other, bool null_left) {
    if (other.IsNull()) return Variant::Null();
    const Bits o = LogicalOperand(other);
    switch (op) {
    case BinaryOp::And:
        if (o.value == 0) return o.boolean ? Variant::Boolean(false) : LogicalResult(0, o, o);
        return Variant::Null();
    case BinaryOp::Or:
        if (o.value == -1) return o.boolean ? Variant::Boolean(true) : LogicalResult(-1, o, o);
        return Variant::Null();
    case BinaryOp::Imp:
        // False Imp x and x Imp True are True whatever x is.
        if (!null_left && o.value == 0) return Variant::Boolean(true);
        if (null_left && o.value == -1) return Variant::Boolean(true);
        return Variant::Null();
    default:
        return Variant::Null();
    }
}

} // namespace

Variant Logical(BinaryOp op, const Variant& in_a, const Variant& in_b) {
    const Variant a = ValueOf(in_a);
    const Variant b = ValueOf(in_b);
    if (a.IsNull()) return NullLogical(op, b, true);
    if (b.IsNull()) return NullLogical(op, a, false);
    const Bits x = LogicalOperand(a), y = LogicalOperand(b);
    std::int32_t r = 0;
    switch (op) {
    case BinaryOp::And:
        r = x.value & y.value;
        break;
    case BinaryOp::Or:
        r = x.value | y.value;
        break;
    case BinaryOp::Xor:
        r = x.value ^ y.value;
        break;
    case BinaryOp::Eqv:
        r = ~(x.value ^ y.value);
        break;
    case BinaryOp::Imp:
        r = ~x.value | y.value;
        break;
    default:
        Raise(err::kTypeMismatch);
    }
    return LogicalResult(r, x, y);
}

Variant Not(const Variant& in) {
    const Variant v = ValueOf(in);
    if (v.IsNull()) return Variant::Null();
    const Bits x = LogicalOperand(v);
    return LogicalResult(~x.value, x, x);
}

namespace {

int Sign(double d) {
    return d < 0 ? -1 : d > 0 ? 1 : 0;
}

int CompareText(const std::string& a, const std::string& b, bool text_mode) {
    if (!text_mode) {
        const int c = a.compare(b);
        return c < 0 ? -1 : c > 0 ? 1 : 0;
    }
    const int c = ToLowerText(a).compare(ToLowerText(b));
    return c < 0 ? -1 : c > 0 ? 1 : 0;
}

} // namespace

int Compare(const Variant& in_a, const Variant& in_b, Literal literal, bool text_mode) {
    const Variant& ra = in_a.Deref();
    const Variant& rb = in_b.Deref();
    if (ra.IsObject() || rb.IsObject())
        return Compare(ValueOf(ra), ValueOf(rb), literal, text_mode);
    const Variant& a = ra;
    const Variant& b = rb;
    if (a.IsNull() || b.IsNull()) return 2;
    if (a.IsArray() || b.IsArray()) Raise(err::kTypeMismatch);
    if (a.IsString() && b.IsString()) return CompareText(a.text(), b.text(), text_mode);
    if (a.IsString() || b.IsString()) {
        const Variant& s = a.IsString() ? a : b;
        const Variant& n = a.IsString() ? b : a;
        const int flip = a.IsString() ? -1 : 1;
        if (n.IsEmpty()) return flip * CompareText(std::string(), s.text(), text_mode);
        const bool string_is_literal = (a.IsString() && literal == Literal::Left) ||
                                       (b.IsString() && literal == Literal::Right);
        const bool number_is_literal = (!a.IsString() && literal == Literal::Left) ||
                                       (!b.IsString() && literal == Literal::Right);
        if (string_is_literal) return flip * Sign(ToDouble(n) - ToDouble(s));
        if (number_is_literal) return flip * CompareText(ToString(n), s.text(), text_mode);
        return flip * -1; // a number is less than any string
    }
    if (a.IsWhole() && b.IsWhole()) return a.whole() < b.whole() ? -1 : a.whole() > b.whole();
    const double x = ToDouble(a), y = ToDouble(b);
    return x < y ? -1 : x > y ? 1 : 0;
}

Variant Comparison(BinaryOp op, const Variant& a, const Variant& b, Literal literal) {
    const int c = Compare(a, b, literal);
    if (c == 2) return Variant::Null();
    switch (op) {
    case BinaryOp::Equal:
        return Variant::Boolean(c == 0);
    case BinaryOp::NotEqual:
        return Variant::Boolean(c != 0);
    case BinaryOp::Less:
        return Variant::Boolean(c < 0);
    case BinaryOp::LessEqual:
        return Variant::Boolean(c <= 0);
    case BinaryOp::Greater:
        return Variant::Boolean(c > 0);
    default:
        return Variant::Boolean(c >= 0);
    }
}

} // namespace tess::vbs
