#pragma once
// The interpreter's limits, each chosen so that a hostile or mistaken script ends with a
// VBScript error instead of exhausting the one thread the whole program runs on.

#include <cstddef>

namespace tess::vbs {

// Nested blocks and parenthesised expressions. The parser and the evaluator recurse once per
// level; 100 levels stay far inside the thread's stack, and real scripts nest a handful.
inline constexpr int kMaxNesting = 100;
// Script procedures calling one another: the evaluator's own frames and the machine stack
// are both bounded; beyond either a call fails with error 28 "Out of stack space".
inline constexpr int kMaxCallDepth = 3000;
inline constexpr std::size_t kMaxNativeStack = std::size_t{3} << 20;
// Local variables of all active procedures share one fixed block of slots, so that a slot's
// address stays valid while ByRef arguments point at it.
inline constexpr std::size_t kMaxLocalSlots = std::size_t{1} << 16;
// The longest string (in bytes) a script may build: 256 MB. Longer ones fail with error 14
// "Out of string space" instead of exhausting memory.
inline constexpr std::size_t kMaxStringBytes = std::size_t{1} << 28;
// A script's source text: 16 MB is far beyond any hand-written script.
inline constexpr std::size_t kMaxSourceBytes = std::size_t{1} << 24;

inline constexpr std::size_t kMaxString() {
    return kMaxStringBytes;
}

} // namespace tess::vbs
