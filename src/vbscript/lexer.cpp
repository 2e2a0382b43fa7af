// The lexer: one pass over the text, tracking line and column for every token.

#include "base/text.h"
#include "settings/vb_date.h"
#include "vbscript/errors.h"
#include "vbscript/limits.h"
#include "vbscript/token.h"

#include <cctype>
#include <cmath>

namespace tess::vbs {

namespace {

bool IsIdentStart(char c) {
    return std::isalpha(static_cast<unsigned char>(c)) != 0;
}
bool IsIdentChar(char c) {
    return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_';
}
bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

class Lexer {
public:
    Lexer(std::string_view src, std::vector<Token>& out) : src_(src), out_(out) {}

    bool Run(CompileError& error) {
        while (pos_ < src_.size()) {
            if (!Step()) {
                error = error_;
                return false;
            }
        }
        token_line_ = line_;
        token_column_ = column_;
        Add(TokenKind::Newline, "");
        Add(TokenKind::End, "");
        return true;
    }

private:
    char Peek(std::size_t ahead = 0) const {
        return pos_ + ahead < src_.size() ? src_[pos_ + ahead] : '\0';
    }
    void Advance(std::size_t n = 1) {
        pos_ += n;
        column_ += static_cast<int>(n);
    }
    void NewLine() {
        ++line_;
        column_ = 1;
    }
    bool Fail(int number) {
        error_ = {number, token_line_, token_column_};
        return false;
    }
    Token& Add(TokenKind kind, std::string text) {
        Token t;
        t.kind = kind;
        t.text = std::move(text);
        t.line = token_line_;
        t.column = token_column_;
        t.space_before = space_;
        space_ = false;
        out_.push_back(std::move(t));
        return out_.back();
    }
    bool LastIsOperand() const {
        if (out_.empty()) return false;
        const Token& t = out_.back();
        return t.kind == TokenKind::Identifier || t.kind == TokenKind::Literal ||
               (t.kind == TokenKind::Symbol && t.text == ")");
    }

    bool Step() {
        token_line_ = line_;
        token_column_ = column_;
        const char c = Peek();
        if (c == ' ' || c == '\t' || c == '\f' || c == '\v' || c == '\0') {
            Advance();
            space_ = true;
            return true;
        }
        if (c == '\r' || c == '\n') {
            Advance(c == '\r' && Peek(1) == '\n' ? 2 : 1);
            Add(TokenKind::Newline, "");
            NewLine();
            return true;
        }
        if (c == '\'') return SkipComment();
        if (c == ':') {
            Advance();
            Add(TokenKind::Newline, ":");
            return true;
        }
        if (c == '_' && Continuation()) return true;
        if (c == '"') return String();
        if (c == '#') return DateLiteral();
        if (c == '&' &&
            (std::toupper(static_cast<unsigned char>(Peek(1))) == 'H' ||
             std::toupper(static_cast<unsigned char>(Peek(1))) == 'O' || IsDigit(Peek(1))))
            return Radix();
        if (IsDigit(c) || (c == '.' && IsDigit(Peek(1)) && !LastIsOperand())) return Number();
        if (IsIdentStart(c)) return Identifier();
        if (c == '[') return Bracketed();
        return Symbol();
    }

    bool SkipComment() {
        while (pos_ < src_.size() && Peek() != '\r' && Peek() != '\n')
            Advance();
        return true;
    }

    // "_" at the end of a line joins it with the next one.
    bool Continuation() {
        std::size_t p = pos_ + 1;
        while (p < src_.size() && (src_[p] == ' ' || src_[p] == '\t'))
            ++p;
        if (p < src_.size() && src_[p] != '\r' && src_[p] != '\n') return false;
        if (p < src_.size() && src_[p] == '\r' && p + 1 < src_.size() && src_[p + 1] == '\n') ++p;
        pos_ = p + 1;
        NewLine();
        space_ = true;
        return true;
    }

    bool String() {
        Advance();
        std::string text;
        for (;;) {
            if (pos_ >= src_.size() || Peek() == '\r' || Peek() == '\n')
                return Fail(err::kUnterminatedString);
            if (Peek() == '"') {
                if (Peek(1) != '"') break;
                Advance();
            }
            text += Peek();
            Advance();
        }
        Advance();
        if (text.size() > kMaxStringBytes) return Fail(err::kUnterminatedString);
        Add(TokenKind::Literal, "\"").value = Variant::String(std::move(text));
        return true;
    }

    bool DateLiteral() {
        Advance();
        const std::size_t start = pos_;
        while (pos_ < src_.size() && Peek() != '#' && Peek() != '\r' && Peek() != '\n')
            Advance();
        if (Peek() != '#') return Fail(err::kSyntax);
        double date = 0;
        if (!ParseDateText(Trim(src_.substr(start, pos_ - start)), date)) return Fail(err::kSyntax);
        Advance();
        Add(TokenKind::Literal, "#").value = Variant::Date(date);
        return true;
    }

    // &Hxx and &Oxx (or &xx): 16-bit when the digits fit, else 32-bit, as two's complement.
    bool Radix() {
        Advance();
        int base = 8;
        const char k = static_cast<char>(std::toupper(static_cast<unsigned char>(Peek())));
        if (k == 'H' || k == 'O') {
            base = k == 'H' ? 16 : 8;
            Advance();
        }
        std::uint64_t value = 0;
        int digits = 0;
        for (;;) {
            const char d = static_cast<char>(std::toupper(static_cast<unsigned char>(Peek())));
            int v = IsDigit(d) ? d - '0' : (d >= 'A' && d <= 'F') ? d - 'A' + 10 : 99;
            if (v >= base) break;
            value = value * static_cast<unsigned>(base) + static_cast<unsigned>(v);
            if (value > 0xFFFFFFFFull) return Fail(err::kInvalidNumber);
            ++digits;
            Advance();
        }
        if (digits == 0) return Fail(err::kSyntax);
        bool force_long = false;
        if (Peek() == '&') {
            force_long = true;
            Advance();
        }
        Variant v;
        if (value <= 0xFFFF && !force_long)
            v = Variant::Integer(static_cast<std::int16_t>(static_cast<std::uint16_t>(value)));
        else
            v = Variant::Long(static_cast<std::int32_t>(static_cast<std::uint32_t>(value)));
        Add(TokenKind::Literal, "&").value = std::move(v);
        return true;
    }

    bool Number() {
        const std::size_t start = pos_;
        bool real = false;
        while (IsDigit(Peek()))
            Advance();
        if (Peek() == '.' && IsDigit(Peek(1))) {
            real = true;
            Advance();
            while (IsDigit(Peek()))
                Advance();
        } else if (Peek() == '.' && !IsIdentStart(Peek(1))) {
            real = true;
            Advance();
        }
        const char e = static_cast<char>(std::toupper(static_cast<unsigned char>(Peek())));
        if (e == 'E' || e == 'D') {
            std::size_t ahead = 1;
            if (Peek(1) == '+' || Peek(1) == '-') ahead = 2;
            if (IsDigit(Peek(ahead))) {
                real = true;
                Advance(ahead);
                while (IsDigit(Peek()))
                    Advance();
            }
        }
        if (IsIdentStart(Peek())) return Fail(err::kExpectedEndOfStatement);
        std::string text(src_.substr(start, pos_ - start));
        for (char& ch : text)
            if (ch == 'd' || ch == 'D') ch = 'E';
        const double d = std::strtod(text.c_str(), nullptr);
        if (!std::isfinite(d)) return Fail(err::kInvalidNumber);
        Variant v;
        if (!real && d <= 32767)
            v = Variant::Integer(static_cast<int>(d));
        else if (!real && d <= 2147483647.0)
            v = Variant::Long(static_cast<std::int32_t>(d));
        else
            v = Variant::Double(d);
        Add(TokenKind::Literal, "0").value = std::move(v);
        return true;
    }

    bool Identifier() {
        const std::size_t start = pos_;
        while (IsIdentChar(Peek()))
            Advance();
        std::string_view word = src_.substr(start, pos_ - start);
        if (word.size() > 255) return Fail(1030); // "Identifier too long"
        if (EqualsIgnoreCase(word, "rem")) return SkipComment();
        Add(TokenKind::Identifier, std::string(word));
        return true;
    }

    bool Bracketed() {
        Advance();
        const std::size_t start = pos_;
        while (pos_ < src_.size() && Peek() != ']' && Peek() != '\r' && Peek() != '\n')
            Advance();
        if (Peek() != ']') return Fail(1007);
        std::string word(src_.substr(start, pos_ - start));
        Advance();
        Add(TokenKind::Identifier, std::move(word));
        return true;
    }

    bool Symbol() {
        const char c = Peek();
        const char n = Peek(1);
        if ((c == '<' && (n == '=' || n == '>')) || (c == '>' && n == '=') ||
            (c == '=' && (n == '<' || n == '>'))) {
            std::string text{c, n};
            if (text == "=<") text = "<=";
            if (text == "=>") text = ">=";
            Advance(2);
            Add(TokenKind::Symbol, text);
            return true;
        }
        static constexpr std::string_view kSingles = "+-*/\\^&=<>(),.";
        if (kSingles.find(c) == std::string_view::npos) return Fail(err::kInvalidCharacter);
        Advance();
        Add(TokenKind::Symbol, std::string(1, c));
        return true;
    }

    std::string_view src_;
    std::vector<Token>& out_;
    std::size_t pos_ = 0;
    int line_ = 1;
    int column_ = 1;
    int token_line_ = 1;
    int token_column_ = 1;
    bool space_ = false;
    CompileError error_;
};

} // namespace

bool Tokenize(std::string_view source, std::vector<Token>& tokens, CompileError& error) {
    tokens.clear();
    if (source.size() > kMaxSourceBytes) {
        error = {1001, 1, 1}; // "Out of memory"
        return false;
    }
    return Lexer(source, tokens).Run(error);
}

} // namespace tess::vbs
