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

enum class Literal { None, Left, Right };
// -1, 0 or 1; 2 when either side is Null. A string literal compared with a number is read
// as a number; a string variable is always greater than a numeric one.
int Compare(const Variant& a, const Variant& b, Literal literal, bool text_mode = false);
Variant Comparison(BinaryOp op, const Variant& a, const Variant& b, Literal literal);

} // namespace tess::vbs
