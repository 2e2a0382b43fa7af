#pragma once
// The tokens of a VBScript source text.

#include "vbscript/variant.h"

#include <string>
#include <vector>

namespace tess::vbs {

enum class TokenKind {
    End,        // end of the text
    Newline,    // a line break or ":" ends a statement
    Identifier, // names and keywords alike; the parser tells them apart
    Literal,    // numbers, strings, dates
    Symbol,     // operators and punctuation, in `text`
};

struct Token {
    TokenKind kind = TokenKind::End;
    std::string text; // identifier or symbol as written
    Variant value;    // literals
    int line = 1;
    int column = 1;
    bool space_before = false; // "a (1)" versus "a(1)" matters for Sub calls
};

struct CompileError {
    int number = 0;
    int line = 0;
    int column = 0;
};

// Splits a source text into tokens. Returns false with the error on bad input.
bool Tokenize(std::string_view source, std::vector<Token>& tokens, CompileError& error);

} // namespace tess::vbs
