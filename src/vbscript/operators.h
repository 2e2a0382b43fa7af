#pragma once
// VBScript's operators on Variants: the result subtypes and overflow promotions of the
// language (Integer -> Long -> Double), Null propagation, and its comparison rules.

#include "vbscript/variant.h"

namespace tess::vbs {

enum class BinaryOp {
    Add,
    Subtract,
    Multiply,
    Divide,
    IntDivide,
    Mod,
    Power,
    Concat,
    Equal,
    NotEqual,
    Less,
    LessEqual,
    Greater,
    GreaterEqual,
    And,
    Or,
    Xor,
    Eqv,
    Imp,
    Is
};

Variant Arithmetic(BinaryOp op, const Variant& a, const Variant& b);
Variant Negate(const Variant& a);
Variant Not(const Variant& a);
Variant Concat(const Variant& a, const Variant& b);
Variant Logical(BinaryOp op, const Variant& a, const Variant& b);

// A comparison (Equal to GreaterEqual) of two whole numbers.
inline bool CompareWhole(BinaryOp op, std::int32_t a, std::int32_t b) {
    switch (op) {
    case BinaryOp::Equal:
        return a == b;
    case BinaryOp::NotEqual:
        return a != b;
    case BinaryOp::Less:
        return a < b;
    case BinaryOp::LessEqual:
        return a <= b;
    case BinaryOp::Greater:
        return a > b;
    default:
        return a >= b;
    }
}
// Integer, Long and Byte, which compare as plain whole numbers (Boolean does not).
inline bool IsPlainWhole(const Variant& v) {
    return v.tag() == Variant::Tag::Integer || v.tag() == Variant::Tag::Long ||
           v.tag() == Variant::Tag::Byte;
}

enum class Literal { None, Left, Right };
// -1, 0 or 1; 2 when either side is Null. A string literal compared with a number is read
// as a number; a string variable is always greater than a numeric one.
int Compare(const Variant& a, const Variant& b, Literal literal, bool text_mode = false);
Variant Comparison(BinaryOp op, const Variant& a, const Variant& b, Literal literal);

} // namespace tess::vbs
