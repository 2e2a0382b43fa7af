// A recursive-descent parser. Every function returns null or false once an error is
// recorded, and the first error is the one reported.

#include "vbscript/parser.h"

#include "base/text.h"
#include "vbscript/errors.h"
#include "vbscript/limits.h"

namespace tess::vbs {

namespace {

bool Is(const Token& t, std::string_view word) {
    return t.kind == TokenKind::Identifier && EqualsIgnoreCase(t.text, word);
}
bool IsSym(const Token& t, std::string_view sym) {
    return t.kind == TokenKind::Symbol && t.text == sym;
}

// Words that cannot name a variable.
constexpr std::string_view kReserved[] = {
    "and",    "byref",    "byval",  "call",    "case", "class", "const",  "dim",  "do",
    "each",   "else",     "elseif", "empty",   "end",  "eqv",   "erase",  "exit", "false",
    "for",    "function", "if",     "imp",     "in",   "is",    "loop",   "me",   "mod",
    "new",    "next",     "not",    "nothing", "null", "on",    "option", "or",   "private",
    "public", "redim",    "select", "set",     "sub",  "then",  "to",     "true", "until",
    "wend",   "while",    "with",   "xor"};

bool Reserved(const Token& t) {
    if (t.kind != TokenKind::Identifier) return false;
    for (std::string_view w : kReserved)
        if (EqualsIgnoreCase(t.text, w)) return true;
    return false;
}

class Parser {
public:
    Parser(std::vector<Token>& tokens, CodeUnit& unit) : t_(tokens), unit_(unit) {}

    bool Run(CompileError& error) {
        SkipNewlines();
        if (Is(Cur(), "option")) {
            Next();
            if (!Is(Cur(), "explicit")) return Finish(error, Fail(err::kExpectedIdentifier));
            Next();
            unit_.option_explicit = true;
            if (!EndOfStatement()) return Finish(error, false);
        }
        while (!failed_ && Cur().kind != TokenKind::End) {
            SkipNewlines();
            if (Cur().kind == TokenKind::End) break;
            if (!TopLevel()) break;
        }
        return Finish(error, !failed_);
    }

private:
    // ---- token helpers
    const Token& Cur() const { return t_[pos_]; }
    const Token& Ahead(std::size_t n = 1) const {
        return pos_ + n < t_.size() ? t_[pos_ + n] : t_.back();
    }
    void Next() {
        if (pos_ + 1 < t_.size()) ++pos_;
    }
    bool Fail(int number) { return FailAt(number, Cur()); }
    bool FailAt(int number, const Token& at) {
        if (!failed_) {
            failed_ = true;
            error_ = {number, at.line, at.column};
        }
        return false;
    }
    bool Finish(CompileError& error, bool ok) {
        if (!ok || failed_) {
            error = error_;
            return false;
        }
        return true;
    }
    bool Accept(std::string_view word) {
        if (!Is(Cur(), word)) return false;
        Next();
        return true;
    }
    bool AcceptSym(std::string_view sym) {
        if (!IsSym(Cur(), sym)) return false;
        Next();
        return true;
    }
    bool Expect(std::string_view word, int number) { return Accept(word) || Fail(number); }
    bool ExpectSym(std::string_view sym, int number) { return AcceptSym(sym) || Fail(number); }
    bool AtLineEnd() const {
        return Cur().kind == TokenKind::Newline || Cur().kind == TokenKind::End;
    }
    bool EndOfStatement() {
        if (!AtLineEnd()) return Fail(err::kExpectedEndOfStatement);
        return true;
    }
    void SkipNewlines() {
        while (Cur().kind == TokenKind::Newline)
            Next();
    }
    bool Name(std::string& out) {
        if (Cur().kind != TokenKind::Identifier || Reserved(Cur()))
            return Fail(err::kExpectedIdentifier);
        out = Cur().text;
        Next();
        return true;
    }
    template <typename T>
    std::unique_ptr<T> Make(const Token& at) {
        auto node = std::make_unique<T>();
        node->line = at.line;
        node->column = at.column;
        return node;
    }
    struct Depth {
        explicit Depth(Parser& p) : p(p) {
            ok = ++p.depth_ <= kMaxNesting || p.Fail(err::kTooDeep);
        }
        ~Depth() { --p.depth_; }
        Parser& p;
        bool ok;
    };

    // ---- declarations at the top level and in classes
    bool TopLevel() {
        bool is_public = true, is_default = false, had_access = false;
        const Token& start = Cur();
        if (Is(Cur(), "public") || Is(Cur(), "private")) {
            is_public = Is(Cur(), "public");
            had_access = true;
            Next();
            if (is_public && Accept("default")) is_default = true;
        }
        if (Is(Cur(), "sub") || Is(Cur(), "function") || Is(Cur(), "property")) {
            auto proc = ParseProcedure(nullptr, is_public, is_default);
            if (!proc) return false;
            unit_.procedures.push_back(std::move(proc));
            return true;
        }
        if (Is(Cur(), "class")) {
            if (had_access) return Fail(err::kSyntax);
            return ParseClass();
        }
        if (had_access) {
            if (Is(Cur(), "const")) return ParseConst(nullptr);
            return ParseDim(start, unit_.body, nullptr);
        }
        return Statement(unit_.body, nullptr, false);
    }

    bool ParseConst(Procedure* proc) {
        Next();
        do {
            vbs::Constant c;
            if (!Name(c.name)) return false;
            if (!ExpectSym("=", err::kExpectedEquals)) return false;
            bool negative = AcceptSym("-");
            if (Cur().kind == TokenKind::Literal) {
                c.value = Cur().value;
            } else if (Is(Cur(), "true") || Is(Cur(), "false")) {
                c.value = Variant::Boolean(Is(Cur(), "true"));
            } else if (Is(Cur(), "empty")) {
            } else if (Is(Cur(), "null")) {
                c.value = Variant::Null();
            } else if (Is(Cur(), "nothing")) {
                c.value = Variant::Object(nullptr);
            } else {
                return Fail(err::kExpectedLiteral);
            }
            Next();
            if (negative) c.value = Negate(c.value);
            (proc ? proc->constants : unit_.constants).push_back(std::move(c));
        } while (AcceptSym(","));
        return EndOfStatement();
    }

    // Dim, Public and Private variable lists. Names go to the procedure's locals or the
    // unit's globals; bounds become a Dim statement that makes the arrays.
    bool ParseDim(const Token& start, Block& block, Procedure* proc) {
        auto dim = Make<DimStmt>(start);
        do {
            auto name = Make<NameExpr>(Cur());
            if (!Name(name->name)) return false;
            DimItem item;
            bool array = false;
            if (AcceptSym("(")) {
                array = true;
                if (!AcceptSym(")")) {
                    do {
                        if (Cur().kind != TokenKind::Literal && !IsSym(Cur(), "-"))
                            return Fail(err::kExpectedInteger);
                        auto bound = Expression();
                        if (!bound) return false;
                        item.bounds.push_back(std::move(bound));
                    } while (AcceptSym(","));
                    if (!ExpectSym(")", err::kExpectedCloseParen)) return false;
                }
            }
            if (proc)
                proc->locals.push_back(name->name);
            else
                unit_.globals.push_back(name->name);
            if (array) {
                item.target = std::move(name);
                dim->items.push_back(std::move(item));
            }
        } while (AcceptSym(","));
        if (!dim->items.empty()) block.push_back(std::move(dim));
        return EndOfStatement();
    }

    bool ParseParams(Procedure& proc) {
        if (!AcceptSym("(")) return true;
        if (AcceptSym(")")) return true;
        do {
            Param p;
            if (Accept("byval"))
                p.by_val = true;
            else
                Accept("byref");
            if (!Name(p.name)) return false;
            if (AcceptSym("(") && !ExpectSym(")", err::kExpectedCloseParen)) return false;
            proc.params.push_back(std::move(p));
        } while (AcceptSym(","));
        return ExpectSym(")", err::kExpectedCloseParen);
    }

    std::unique_ptr<Procedure> ParseProcedure(ClassDef* owner, bool is_public, bool is_default) {
        auto proc = std::make_unique<Procedure>();
        proc->owner = owner;
        proc->is_public = is_public;
        proc->is_default = is_default;
        proc->line = Cur().line;
        proc->column = Cur().column;
        std::string_view end_word;
        int end_error = 0;
        if (Accept("sub")) {
            proc->kind = ProcKind::Sub;
            end_word = "sub";
            end_error = err::kExpectedSub;
        } else if (Accept("function")) {
            proc->kind = ProcKind::Function;
            end_word = "function";
            end_error = err::kExpectedFunction;
        } else {
            Next(); // Property
            if (!owner) return Fail(err::kMustBeInClass), nullptr;
            if (Accept("get"))
                proc->kind = ProcKind::PropertyGet;
            else if (Accept("let"))
                proc->kind = ProcKind::PropertyLet;
            else if (Accept("set"))
                proc->kind = ProcKind::PropertySet;
            else
                return Fail(err::kExpectedLetSetGet), nullptr;
            end_word = "property";
            end_error = err::kExpectedProperty;
        }
        if (is_default && proc->kind != ProcKind::PropertyGet && proc->kind != ProcKind::Function &&
            proc->kind != ProcKind::Sub)
            return Fail(1058), nullptr;
        if (!Name(proc->name) || !ParseParams(*proc)) return nullptr;
        if ((proc->kind == ProcKind::PropertyLet || proc->kind == ProcKind::PropertySet) &&
            proc->params.empty())
            return Fail(err::kPropertyLetSetNeedsArg), nullptr;
        if (!EndOfStatement()) return nullptr;
        for (const Param& p : proc->params)
            proc->locals.push_back(p.name);
        // The function's result; a Sub's slot gets a name no script can write.
        const bool returns =
            proc->kind == ProcKind::Function || proc->kind == ProcKind::PropertyGet;
        proc->locals.push_back(returns ? proc->name : std::string(" result"));
        if (!ParseBlock(proc->body, proc.get())) return nullptr;
        if (!Expect("end", err::kExpectedEnd)) return nullptr;
        if (!Is(Cur(), end_word)) return Fail(end_error), nullptr;
        Next();
        if (!EndOfStatement()) return nullptr;
        return proc;
    }

    bool ParseClass() {
        Next();
        auto cls = std::make_unique<ClassDef>();
        if (!Name(cls->name) || !EndOfStatement()) return false;
        for (;;) {
            SkipNewlines();
            if (Is(Cur(), "end")) break;
            if (Cur().kind == TokenKind::End) return Fail(err::kExpectedEnd);
            bool is_public = true, is_default = false;
            if (Is(Cur(), "public") || Is(Cur(), "private")) {
                is_public = Is(Cur(), "public");
                Next();
                if (is_public && Accept("default")) is_default = true;
            } else if (Accept("dim")) {
                if (!ParseFields(*cls, true)) return false;
                continue;
            }
            if (Is(Cur(), "sub") || Is(Cur(), "function") || Is(Cur(), "property")) {
                auto proc = ParseProcedure(cls.get(), is_public, is_default);
                if (!proc) return false;
                cls->procedures.push_back(std::move(proc));
            } else if (is_default) {
                return Fail(err::kExpectedFunction);
            } else if (!ParseFields(*cls, is_public)) {
                return false;
            }
        }
        Next();
        if (!Expect("class", err::kExpectedClass) || !EndOfStatement()) return false;
        unit_.classes.push_back(std::move(cls));
        return true;
    }

    bool ParseFields(ClassDef& cls, bool is_public) {
        do {
            Field f;
            f.is_public = is_public;
            if (!Name(f.name)) return false;
            if (AcceptSym("(")) {
                f.array = true;
                if (!AcceptSym(")")) {
                    do {
                        auto bound = Expression();
                        if (!bound) return false;
                        f.bounds.push_back(std::move(bound));
                    } while (AcceptSym(","));
                    if (!ExpectSym(")", err::kExpectedCloseParen)) return false;
                }
            }
            cls.fields.push_back(std::move(f));
        } while (AcceptSym(","));
        return EndOfStatement();
    }

    // ---- blocks and statements
    static bool EndsBlock(const Token& t) {
        return Is(t, "end") || Is(t, "else") || Is(t, "elseif") || Is(t, "case") || Is(t, "loop") ||
               Is(t, "next") || Is(t, "wend");
    }

    bool ParseBlock(Block& block, Procedure* proc) {
        Depth depth(*this);
        if (!depth.ok) return false;
        for (;;) {
            SkipNewlines();
            if (Cur().kind == TokenKind::End || EndsBlock(Cur())) return !failed_;
            if (!Statement(block, proc, false)) return false;
        }
    }

    // One statement; `inline_if` when it sits on the line of a one-line If.
    bool Statement(Block& block, Procedure* proc, bool inline_if) {
        const Token& start = Cur();
        if (Is(start, "dim")) {
            Next();
            return ParseDim(start, block, proc);
        }
        if ((Is(start, "public") || Is(start, "private")) && !proc) {
            Next();
            return ParseDim(start, block, proc);
        }
        if (Is(start, "const")) return ParseConst(proc);
        if (Is(start, "sub") || Is(start, "function") || Is(start, "class") ||
            Is(start, "property") || Is(start, "option"))
            return Fail(proc ? err::kExpectedEnd : err::kSyntax);
        StmtPtr stmt;
        if (Is(start, "if"))
            stmt = ParseIf(proc);
        else if (Is(start, "select"))
            stmt = ParseSelect(proc);
        else if (Is(start, "for"))
            stmt = ParseFor(proc);
        else if (Is(start, "do"))
            stmt = ParseDo(proc);
        else if (Is(start, "while"))
            stmt = ParseWhile(proc);
        else if (Is(start, "with"))
            stmt = ParseWith(proc);
        else if (Is(start, "exit"))
            stmt = ParseExit();
        else if (Is(start, "redim"))
            stmt = ParseReDim();
        else if (Is(start, "erase"))
            stmt = ParseErase();
        else if (Is(start, "on"))
            stmt = ParseOnError();
        else if (Is(start, "call"))
            stmt = ParseCall();
        else if (Is(start, "set"))
            stmt = ParseAssignOrCall(true);
        else if (Is(start, "let")) {
            Next();
            stmt = ParseAssignOrCall(false);
        } else if (EndsBlock(start))
            return Fail(err::kExpectedStatement);
        else
            stmt = ParseAssignOrCall(false);
        if (!stmt) return false;
        stmt->line = start.line;
        stmt->column = start.column;
        block.push_back(std::move(stmt));
        if (inline_if) return true;
        return EndOfStatement();
    }

    StmtPtr ParseIf(Procedure* proc) {
        auto stmt = Make<IfStmt>(Cur());
        Next();
        auto cond = Expression();
        if (!cond) return nullptr;
        if (!Expect("then", err::kExpectedThen)) return nullptr;
        stmt->conditions.push_back(std::move(cond));
        stmt->blocks.emplace_back();
        if (Cur().kind != TokenKind::Newline || Cur().text == ":") {
            if (Cur().kind == TokenKind::Newline) Next();
            return ParseInlineIf(std::move(stmt), proc);
        }
        if (!ParseBlock(stmt->blocks.back(), proc)) return nullptr;
        for (;;) {
            if (Accept("elseif")) {
                auto c = Expression();
                if (!c || !Expect("then", err::kExpectedThen)) return nullptr;
                stmt->conditions.push_back(std::move(c));
                stmt->blocks.emplace_back();
                if (!ParseBlock(stmt->blocks.back(), proc)) return nullptr;
            } else if (Accept("else")) {
                stmt->blocks.emplace_back();
                if (!ParseBlock(stmt->blocks.back(), proc)) return nullptr;
                break;
            } else {
                break;
            }
        }
        if (!Expect("end", err::kExpectedEnd) || !Expect("if", err::kExpectedIf)) return nullptr;
        return stmt;
    }

    StmtPtr ParseInlineIf(std::unique_ptr<IfStmt> stmt, Procedure* proc) {
        Block* target = &stmt->blocks.back();
        bool in_else = false;
        for (;;) {
            if (Is(Cur(), "else") && !in_else) {
                Next();
                stmt->blocks.emplace_back();
                target = &stmt->blocks.back();
                in_else = true;
                continue;
            }
            if (Is(Cur(), "end") && Is(Ahead(), "if")) {
                Next();
                Next();
                break;
            }
            if (!Statement(*target, proc, true)) return nullptr;
            if (Cur().kind == TokenKind::Newline && Cur().text == ":" &&
                !(Ahead().kind == TokenKind::Newline)) {
                Next();
                continue;
            }
            if (Is(Cur(), "else") && !in_else) continue;
            break;
        }
        if (!AtLineEnd()) return Fail(err::kExpectedEndOfStatement), nullptr;
        return stmt;
    }

    StmtPtr ParseSelect(Procedure* proc) {
        auto stmt = Make<SelectStmt>(Cur());
        Next();
        if (!Expect("case", err::kExpectedCase)) return nullptr;
        stmt->subject = Expression();
        if (!stmt->subject || !EndOfStatement()) return nullptr;
        SkipNewlines();
        while (Accept("case")) {
            if (Accept("else")) {
                stmt->has_else = true;
                stmt->blocks.emplace_back();
                if (!ParseBlock(stmt->blocks.back(), proc)) return nullptr;
                break;
            }
            std::vector<CaseItem> items;
            do {
                CaseItem item;
                if (Accept("is")) {
                    const Token& op = Cur();
                    if (IsSym(op, "="))
                        item.is_op = BinaryOp::Equal;
                    else if (IsSym(op, "<>"))
                        item.is_op = BinaryOp::NotEqual;
                    else if (IsSym(op, "<"))
                        item.is_op = BinaryOp::Less;
                    else if (IsSym(op, "<="))
                        item.is_op = BinaryOp::LessEqual;
                    else if (IsSym(op, ">"))
                        item.is_op = BinaryOp::Greater;
                    else if (IsSym(op, ">="))
                        item.is_op = BinaryOp::GreaterEqual;
                    else
                        return Fail(err::kSyntax), nullptr;
                    Next();
                }
                item.low = Expression();
                if (!item.low) return nullptr;
                if (Accept("to")) {
                    item.high = Expression();
                    if (!item.high) return nullptr;
                }
                items.push_back(std::move(item));
            } while (AcceptSym(","));
            stmt->cases.push_back(std::move(items));
            stmt->blocks.emplace_back();
            if (!ParseBlock(stmt->blocks.back(), proc)) return nullptr;
        }
        if (!Expect("end", err::kExpectedEnd) || !Expect("select", err::kExpectedSelect))
            return nullptr;
        return stmt;
    }

    bool ExpectNext() {
        if (!Expect("next", err::kExpectedNext)) return false;
        if (Cur().kind == TokenKind::Identifier && !Reserved(Cur())) Next();
        return true;
    }

    StmtPtr ParseFor(Procedure* proc) {
        const Token& start = Cur();
        Next();
        if (Accept("each")) {
            auto stmt = Make<ForEachStmt>(start);
            auto var = Make<NameExpr>(Cur());
            if (!Name(var->name) || !Expect("in", err::kExpectedIn)) return nullptr;
            stmt->variable = std::move(var);
            stmt->collection = Expression();
            if (!stmt->collection || !EndOfStatement()) return nullptr;
            if (!ParseBlock(stmt->body, proc) || !ExpectNext()) return nullptr;
            return stmt;
        }
        auto stmt = Make<ForStmt>(start);
        auto var = Make<NameExpr>(Cur());
        if (!Name(var->name)) return nullptr;
        stmt->variable = std::move(var);
        if (!ExpectSym("=", err::kExpectedEquals)) return nullptr;
        if (!(stmt->from = Expression())) return nullptr;
        if (!Expect("to", err::kExpectedTo)) return nullptr;
        if (!(stmt->to = Expression())) return nullptr;
        if (Accept("step") && !(stmt->step = Expression())) return nullptr;
        if (!EndOfStatement()) return nullptr;
        if (!ParseBlock(stmt->body, proc) || !ExpectNext()) return nullptr;
        return stmt;
    }

    bool LoopCondition(DoStmt& stmt) {
        if (Is(Cur(), "while") || Is(Cur(), "until")) {
            stmt.until = Is(Cur(), "until");
            Next();
            stmt.condition = Expression();
            return stmt.condition != nullptr;
        }
        return true;
    }

    StmtPtr ParseDo(Procedure* proc) {
        auto stmt = Make<DoStmt>(Cur());
        Next();
        if (!LoopCondition(*stmt)) return nullptr;
        if (!AtLineEnd()) return Fail(err::kExpectedWhileOrUntil), nullptr;
        if (!ParseBlock(stmt->body, proc) || !Expect("loop", err::kExpectedLoop)) return nullptr;
        if (!stmt->condition && (Is(Cur(), "while") || Is(Cur(), "until"))) {
            stmt->test_first = false;
            if (!LoopCondition(*stmt)) return nullptr;
        }
        return stmt;
    }

    StmtPtr ParseWhile(Procedure* proc) {
        auto stmt = Make<DoStmt>(Cur());
        Next();
        if (!(stmt->condition = Expression())) return nullptr;
        if (!EndOfStatement()) return nullptr;
        if (!ParseBlock(stmt->body, proc) || !Expect("wend", err::kExpectedWend)) return nullptr;
        return stmt;
    }

    StmtPtr ParseWith(Procedure* proc) {
        auto stmt = Make<WithStmt>(Cur());
        Next();
        if (!(stmt->object = Expression()) || !EndOfStatement()) return nullptr;
        // The object lives in a hidden local so that nested With blocks can refer back.
        const std::string hidden = " with" + std::to_string(with_count_++);
        if (proc)
            proc->locals.push_back(hidden);
        else
            unit_.globals.push_back(hidden);
        with_names_.push_back(hidden);
        const bool ok = ParseBlock(stmt->body, proc);
        with_names_.pop_back();
        if (!ok || !Expect("end", err::kExpectedEnd) || !Expect("with", 1029)) return nullptr;
        stmt->holder = WithHolder(hidden, *stmt);
        return stmt;
    }

    template <typename Node>
    ExprPtr WithHolder(const std::string& hidden, const Node& at) {
        auto holder = std::make_unique<NameExpr>();
        holder->name = hidden;
        holder->line = at.line;
        holder->column = at.column;
        return holder;
    }

    StmtPtr ParseExit() {
        auto stmt = Make<ExitStmt>(Cur());
        Next();
        if (Accept("do"))
            stmt->which = ExitKind::Do;
        else if (Accept("for"))
            stmt->which = ExitKind::For;
        else if (Accept("sub"))
            stmt->which = ExitKind::Sub;
        else if (Accept("function"))
            stmt->which = ExitKind::Function;
        else if (Accept("property"))
            stmt->which = ExitKind::Property;
        else
            return Fail(err::kInvalidExit), nullptr;
        return stmt;
    }

    StmtPtr ParseReDim() {
        auto stmt = std::make_unique<DimStmt>(StmtKind::ReDim);
        Next();
        stmt->preserve = Accept("preserve");
        do {
            DimItem item;
            auto name = Make<NameExpr>(Cur());
            if (!Name(name->name)) return nullptr;
            if (!ExpectSym("(", err::kExpectedOpenParen)) return nullptr;
            do {
                auto bound = Expression();
                if (!bound) return nullptr;
                item.bounds.push_back(std::move(bound));
            } while (AcceptSym(","));
            if (!ExpectSym(")", err::kExpectedCloseParen)) return nullptr;
            item.target = std::move(name);
            stmt->items.push_back(std::move(item));
        } while (AcceptSym(","));
        return stmt;
    }

    StmtPtr ParseErase() {
        auto stmt = Make<EraseStmt>(Cur());
        Next();
        auto name = Make<NameExpr>(Cur());
        if (!Name(name->name)) return nullptr;
        stmt->target = std::move(name);
        return stmt;
    }

    StmtPtr ParseOnError() {
        auto stmt = Make<OnErrorStmt>(Cur());
        Next();
        if (!Expect("error", err::kSyntax)) return nullptr;
        if (Accept("resume")) {
            if (!Expect("next", err::kSyntax)) return nullptr;
            stmt->resume_next = true;
        } else if (Accept("goto")) {
            if (Cur().kind != TokenKind::Literal || !Cur().value.IsWhole() ||
                Cur().value.whole() != 0)
                return Fail(err::kSyntax), nullptr;
            Next();
        } else {
            return Fail(err::kSyntax), nullptr;
        }
        return stmt;
    }

    StmtPtr ParseCall() {
        auto stmt = Make<CallStmt>(Cur());
        Next();
        auto target = Target();
        if (!target) return nullptr;
        stmt->call = std::move(target);
        return stmt;
    }

    // An assignment, or a call written without Call. "Foo (a), b" passes (a) by value as the
    // first of two arguments, so a spaced "(" after the name is re-read as an argument.
    StmtPtr ParseAssignOrCall(bool is_set) {
        const Token& start = Cur();
        if (is_set) Next();
        if (Cur().kind != TokenKind::Identifier && !IsSym(Cur(), "."))
            return Fail(err::kExpectedStatement), nullptr;
        std::size_t spaced_paren = 0;
        auto target = Target(&spaced_paren);
        if (!target) return nullptr;
        if (AcceptSym("=")) {
            auto stmt = Make<AssignStmt>(start);
            stmt->is_set = is_set;
            stmt->target = std::move(target);
            if (is_set && Accept("new")) {
                auto n = Make<NewExpr>(Cur());
                if (!Name(n->class_name)) return nullptr;
                stmt->value = std::move(n);
            } else if (!(stmt->value = Expression())) {
                return nullptr;
            }
            return stmt;
        }
        if (is_set) return Fail(err::kExpectedEquals), nullptr;
        if (!CheckCallParens(target.get(), spaced_paren != 0)) return nullptr;
        if (spaced_paren && (AtLineEnd() || Is(Cur(), "else")) && ArgsOf(target.get()) &&
            ArgsOf(target.get())->size() == 1) {
            // "Foo (a)" alone passes (a), a value: re-read it as an argument expression.
            pos_ = spaced_paren;
            ArgsOf(target.get())->clear();
            if (!ArgumentList(*ArgsOf(target.get()), false)) return nullptr;
        } else if (!AtLineEnd() && !Is(Cur(), "else")) {
            ExprList* args = ArgsOf(target.get());
            if (!args) return Fail(err::kExpectedEndOfStatement), nullptr;
            if (spaced_paren) {
                pos_ = spaced_paren;
                args->clear();
            } else if (!args->empty() || Parenthesized(target.get())) {
                return Fail(err::kExpectedEndOfStatement), nullptr;
            }
            if (!ArgumentList(*args, false)) return nullptr;
        }
        auto stmt = Make<CallStmt>(start);
        stmt->call = std::move(target);
        return stmt;
    }

    // A call standing alone with its whole argument list in parentheses: "Foo(a, b)" is
    // refused, as the language refuses it, and "Foo(a)" passes (a), a value, with or without
    // a space before the parenthesis.
    bool CheckCallParens(Expr* target, bool spaced) {
        ExprList* args = ArgsOf(target);
        if (!args || !Parenthesized(target) || !(AtLineEnd() || Is(Cur(), "else"))) return true;
        if (args->size() > 1) return Fail(err::kCantUseParens), false;
        if (args->size() == 1 && !spaced && (*args)[0]->kind != ExprKind::Constant) {
            ExprPtr& arg = (*args)[0];
            auto value = std::make_unique<UnaryExpr>();
            value->line = arg->line;
            value->column = arg->column;
            value->op = UnaryOp::Plus;
            value->operand = std::move(arg);
            arg = std::move(value);
        }
        return true;
    }

    static ExprList* ArgsOf(Expr* e) {
        if (e->kind == ExprKind::Name) return &static_cast<NameExpr*>(e)->args;
        if (e->kind == ExprKind::Member) return &static_cast<MemberExpr*>(e)->args;
        return nullptr;
    }
    static bool Parenthesized(Expr* e) {
        if (e->kind == ExprKind::Name) return static_cast<NameExpr*>(e)->parens;
        if (e->kind == ExprKind::Member) return static_cast<MemberExpr*>(e)->parens;
        return true;
    }

    // Arguments separated by commas; an empty one is an error. Parenthesised arguments
    // are marked so that they pass by value.
    bool ArgumentList(ExprList& args, bool closing) {
        if (closing && IsSym(Cur(), ")")) return true;
        do {
            if (IsSym(Cur(), ",") || (closing && IsSym(Cur(), ")") && !args.empty())) {
                // An omitted argument, as in FormatNumber(x, 2, , -1).
                auto missing = Make<ConstantExpr>(Cur());
                missing->value = Variant::Error(kMissingArgument);
                args.push_back(std::move(missing));
                continue;
            }
            auto arg = Expression();
            if (!arg) return false;
            args.push_back(std::move(arg));
        } while (AcceptSym(","));
        return true;
    }

    // A name with its member and argument chain: a = ..., Foo(1).Bar, .Item(2).
    ExprPtr Target(std::size_t* spaced_paren = nullptr) {
        ExprPtr e;
        const Token& start = Cur();
        if (IsSym(start, ".")) {
            if (with_names_.empty()) return Fail(err::kInvalidUseOfMe), nullptr;
            Next();
            auto m = Make<MemberExpr>(Cur());
            if (Cur().kind != TokenKind::Identifier) return Fail(err::kExpectedIdentifier), nullptr;
            m->name = Cur().text;
            Next();
            m->object = WithHolder(with_names_.back(), start);
            e = std::move(m);
        } else if (Is(start, "me")) {
            Next();
            e = Make<MeExpr>(start);
        } else {
            auto name = Make<NameExpr>(start);
            if (!Name(name->name)) return nullptr;
            e = std::move(name);
        }
        return Chain(std::move(e), spaced_paren);
    }

    ExprPtr Chain(ExprPtr e, std::size_t* spaced_paren) {
        for (;;) {
            // "MsgBox .X": a spaced dot starts a With reference, not a member.
            if (IsSym(Cur(), ".") && !(Cur().space_before && !with_names_.empty())) {
                Next();
                auto m = Make<MemberExpr>(Cur());
                if (Cur().kind != TokenKind::Identifier)
                    return Fail(err::kExpectedIdentifier), nullptr;
                m->name = Cur().text;
                Next();
                m->object = std::move(e);
                e = std::move(m);
            } else if (IsSym(Cur(), "(")) {
                if (spaced_paren && Cur().space_before) *spaced_paren = pos_;
                Depth depth(*this);
                if (!depth.ok) return nullptr;
                Next();
                ExprList args;
                if (!ArgumentList(args, true) || !ExpectSym(")", err::kExpectedCloseParen))
                    return nullptr;
                ExprList* own = ArgsOf(e.get());
                if (own && own->empty() && !Parenthesized(e.get())) {
                    *own = std::move(args);
                    if (e->kind == ExprKind::Name)
                        static_cast<NameExpr*>(e.get())->parens = true;
                    else
                        static_cast<MemberExpr*>(e.get())->parens = true;
                } else {
                    auto index = std::make_unique<IndexExpr>();
                    index->line = e->line;
                    index->column = e->column;
                    index->target = std::move(e);
                    index->args = std::move(args);
                    e = std::move(index);
                }
            } else {
                return e;
            }
        }
    }

    // ---- expressions, lowest precedence first
    ExprPtr Expression() {
        Depth depth(*this);
        if (!depth.ok) return nullptr;
        return Imp();
    }

    ExprPtr Binary(BinaryOp op, ExprPtr left, ExprPtr right, const Token& at) {
        if (!right) return nullptr;
        auto b = Make<BinaryExpr>(at);
        b->op = op;
        if (left->kind == ExprKind::Constant)
            b->literal = Literal::Left;
        else if (right->kind == ExprKind::Constant)
            b->literal = Literal::Right;
        b->left = std::move(left);
        b->right = std::move(right);
        return b;
    }

    template <typename Lower>
    ExprPtr LeftAssoc(Lower lower, std::string_view word, BinaryOp op) {
        ExprPtr e = (this->*lower)();
        while (e && Is(Cur(), word)) {
            const Token& at = Cur();
            Next();
            e = Binary(op, std::move(e), (this->*lower)(), at);
        }
        return e;
    }

    ExprPtr Imp() { return LeftAssoc(&Parser::Eqv, "imp", BinaryOp::Imp); }
    ExprPtr Eqv() { return LeftAssoc(&Parser::Xor, "eqv", BinaryOp::Eqv); }
    ExprPtr Xor() { return LeftAssoc(&Parser::Or, "xor", BinaryOp::Xor); }
    ExprPtr Or() { return LeftAssoc(&Parser::And, "or", BinaryOp::Or); }
    ExprPtr And() { return LeftAssoc(&Parser::NotExpr, "and", BinaryOp::And); }

    ExprPtr NotExpr() {
        if (Is(Cur(), "not")) {
            Depth depth(*this);
            if (!depth.ok) return nullptr;
            auto u = Make<UnaryExpr>(Cur());
            Next();
            u->op = UnaryOp::Not;
            if (!(u->operand = NotExpr())) return nullptr;
            return u;
        }
        return Comparison();
    }

    ExprPtr Comparison() {
        ExprPtr e = Concat();
        for (;;) {
            if (!e) return nullptr;
            const Token& at = Cur();
            BinaryOp op;
            if (IsSym(at, "="))
                op = BinaryOp::Equal;
            else if (IsSym(at, "<>"))
                op = BinaryOp::NotEqual;
            else if (IsSym(at, "<"))
                op = BinaryOp::Less;
            else if (IsSym(at, "<="))
                op = BinaryOp::LessEqual;
            else if (IsSym(at, ">"))
                op = BinaryOp::Greater;
            else if (IsSym(at, ">="))
                op = BinaryOp::GreaterEqual;
            else if (Is(at, "is"))
                op = BinaryOp::Is;
            else
                return e;
            Next();
            e = Binary(op, std::move(e), Concat(), at);
        }
    }

    ExprPtr SymbolLoop(ExprPtr (Parser::*lower)(),
                       std::initializer_list<std::pair<std::string_view, BinaryOp>> ops) {
        ExprPtr e = (this->*lower)();
        for (;;) {
            if (!e) return nullptr;
            const Token& at = Cur();
            bool matched = false;
            for (const auto& [text, op] : ops) {
                if ((at.kind == TokenKind::Symbol && at.text == text) ||
                    (text == "mod" && Is(at, "mod"))) {
                    Next();
                    e = Binary(op, std::move(e), (this->*lower)(), at);
                    matched = true;
                    break;
                }
            }
            if (!matched) return e;
        }
    }

    ExprPtr Concat() { return SymbolLoop(&Parser::Additive, {{"&", BinaryOp::Concat}}); }
    ExprPtr Additive() {
        return SymbolLoop(&Parser::Modulo, {{"+", BinaryOp::Add}, {"-", BinaryOp::Subtract}});
    }
    ExprPtr Modulo() { return SymbolLoop(&Parser::IntDivide, {{"mod", BinaryOp::Mod}}); }
    ExprPtr IntDivide() {
        return SymbolLoop(&Parser::Multiplicative, {{"\\", BinaryOp::IntDivide}});
    }
    ExprPtr Multiplicative() {
        return SymbolLoop(&Parser::Unary, {{"*", BinaryOp::Multiply}, {"/", BinaryOp::Divide}});
    }

    ExprPtr Unary() {
        if (IsSym(Cur(), "-") || IsSym(Cur(), "+")) {
            Depth depth(*this);
            if (!depth.ok) return nullptr;
            auto u = Make<UnaryExpr>(Cur());
            u->op = IsSym(Cur(), "-") ? UnaryOp::Negate : UnaryOp::Plus;
            Next();
            if (!(u->operand = Unary())) return nullptr;
            if (ExprPtr folded = FoldNegatedNumber(*u)) return folded;
            return u;
        }
        return Power();
    }

    // A negated number stays a literal, so "x = -1" compares as a literal does. Anything
    // else, "-"abc"" among them, is left to fail when it runs, as it would in any script.
    ExprPtr FoldNegatedNumber(const UnaryExpr& u) {
        if (u.op != UnaryOp::Negate || u.operand->kind != ExprKind::Constant) return nullptr;
        const Variant& value = static_cast<const ConstantExpr*>(u.operand.get())->value;
        if (!value.IsNumeric()) return nullptr;
        auto c = Make<ConstantExpr>(Cur());
        c->line = u.line;
        c->column = u.column;
        try {
            c->value = Negate(value);
        } catch (const RuntimeError&) {
            return nullptr;
        }
        return c;
    }

    ExprPtr Power() {
        ExprPtr e = Primary();
        while (e && IsSym(Cur(), "^")) {
            const Token& at = Cur();
            Next();
            ExprPtr right;
            if (IsSym(Cur(), "-") || IsSym(Cur(), "+"))
                right = Unary();
            else
                right = Primary();
            e = Binary(BinaryOp::Power, std::move(e), std::move(right), at);
        }
        return e;
    }

    ExprPtr Constant(const Token& at, Variant value) {
        auto c = Make<ConstantExpr>(at);
        c->value = std::move(value);
        Next();
        return c;
    }

    ExprPtr Primary() {
        const Token& at = Cur();
        if (at.kind == TokenKind::Literal) return Constant(at, at.value);
        if (IsSym(at, "(")) {
            Depth depth(*this);
            if (!depth.ok) return nullptr;
            Next();
            auto inner = Expression();
            if (!inner || !ExpectSym(")", err::kExpectedCloseParen)) return nullptr;
            // "(x)" is a value, never a variable: wrap it so it passes by value.
            auto u = Make<UnaryExpr>(at);
            u->op = UnaryOp::Plus;
            u->operand = std::move(inner);
            return u;
        }
        if (Is(at, "true")) return Constant(at, Variant::Boolean(true));
        if (Is(at, "false")) return Constant(at, Variant::Boolean(false));
        if (Is(at, "empty")) return Constant(at, Variant());
        if (Is(at, "null")) return Constant(at, Variant::Null());
        if (Is(at, "nothing")) return Constant(at, Variant::Object(nullptr));
        if (Is(at, "new")) {
            Next();
            auto n = Make<NewExpr>(Cur());
            if (!Name(n->class_name)) return nullptr;
            return n;
        }
        if (at.kind == TokenKind::Identifier && (!Reserved(at) || Is(at, "me"))) return Target();
        if (IsSym(at, ".")) return Target();
        if (at.kind == TokenKind::Newline || at.kind == TokenKind::End)
            return Fail(err::kExpectedExpression), nullptr;
        return Fail(err::kExpectedExpression), nullptr;
    }

    std::vector<Token>& t_;
    CodeUnit& unit_;
    std::size_t pos_ = 0;
    bool failed_ = false;
    CompileError error_;
    int depth_ = 0;
    int with_count_ = 0;
    std::vector<std::string> with_names_;
};

} // namespace

bool Parse(std::string_view source, CodeUnit& unit, CompileError& error) {
    std::vector<Token> tokens;
    if (!Tokenize(source, tokens, error)) return false;
    return Parser(tokens, unit).Run(error);
}

} // namespace tess::vbs
