// Expressions: names, members, calls, indexes and operators.

#include "vbscript/interpreter.h"

#include "base/text.h"
#include "vbscript/array_box.h"
#include "vbscript/coerce.h"
#include "vbscript/limits.h"

namespace tess::vbs {

namespace {

bool IsShortOrLong(const Variant& v) {
    return v.tag() == Variant::Tag::Integer || v.tag() == Variant::Tag::Long;
}

} // namespace

Interpreter::Interpreter() : stack_(kMaxLocalSlots) {
    err = new ErrObject;
    err->AddRef();
    AddLanguageConstants(constants);
}

Interpreter::~Interpreter() {
    // Objects still referenced by variables run no Class_Terminate once the engine goes.
    shutting_down = true;
    globals.clear();
    named_objects.clear();
    err->Release();
}

int Interpreter::FindGlobal(std::string_view name) const {
    auto it = global_index_.find(ToLowerAscii(name));
    return it == global_index_.end() ? -1 : it->second;
}

int Interpreter::GlobalIndex(std::string_view name) {
    std::string key = ToLowerAscii(name);
    auto it = global_index_.find(key);
    if (it != global_index_.end()) return it->second;
    const int index = static_cast<int>(globals.size());
    globals.emplace_back();
    globals.back().name = std::string(name);
    global_index_.emplace(std::move(key), index);
    return index;
}

void Interpreter::Tick() {
    tick_ = 4096;
    if (std::chrono::steady_clock::now() > deadline_)
        throw RuntimeError{err::kTimeBudget,
                           "Script ran past its time budget of " +
                               std::to_string(budget_.count() / 1000.0).substr(0, 4) + " s",
                           {},
                           0,
                           0};
}

void Interpreter::BeginCall(std::chrono::milliseconds budget) {
    if (running_) return;
    running_ = true;
    budget_ = budget;
    deadline_ = std::chrono::steady_clock::now() + budget;
    tick_ = 4096;
    native_base_ = static_cast<const char*>(__builtin_frame_address(0));
}

void Interpreter::RunTopLevel(CodeUnit& unit) {
    Frame top;
    struct Restore {
        Frame*& frame;
        Frame* saved;
        ~Restore() { frame = saved; }
    } restore{frame, frame};
    frame = &top;
    ExecBlock(unit.body);
}

void Interpreter::EndCall() {
    running_ = false;
}

std::vector<Variant> Interpreter::EvalArgs(const ExprList& args) {
    std::vector<Variant> values;
    values.reserve(args.size() + 1);
    for (const auto& a : args)
        values.push_back(Eval(*a).Deref());
    return values;
}

// The variable a plain name stands for when reading it runs no code, else nullptr.
[[gnu::always_inline]] inline const Variant* Interpreter::PlainVariable(const Expr& e) const {
    if (e.quick == Quick::Local) return &LocalOf(e);
    if (e.kind != ExprKind::Name) return nullptr;
    const auto& n = static_cast<const NameExpr&>(e);
    if (!n.args.empty() || n.scope != Scope::Global) return nullptr;
    const GlobalEntry& g = *n.global;
    if (g.proc || g.host || g.cls || (!g.declared && option_explicit)) return nullptr;
    return &g.value;
}

// A constant or a variable whose reading runs no code, read in place; else nullptr.
[[gnu::always_inline]] inline const Variant* Interpreter::PlainOperand(const Expr& e) const {
    if (e.quick == Quick::Constant) return &static_cast<const ConstantExpr&>(e).value;
    return PlainVariable(e);
}

// Integer and Long operands read in place, the bulk of loop counters and arithmetic, are
// worked out here; everything else takes the general path.
[[gnu::always_inline]] inline bool Interpreter::QuickBinary(const BinaryExpr& b, Variant& out) {
    const Variant* x = PlainOperand(*b.left);
    const Variant* y = x ? PlainOperand(*b.right) : nullptr;
    if (y && IsShortOrLong(*x) && IsShortOrLong(*y)) {
        const std::int64_t a = x->whole(), c = y->whole();
        const bool both_integer =
            x->tag() == Variant::Tag::Integer && y->tag() == Variant::Tag::Integer;
        const int rank = both_integer ? 2 : 3;
        switch (b.op) {
        case BinaryOp::Add:
            out = FitWhole(a + c, rank);
            return true;
        case BinaryOp::Subtract:
            out = FitWhole(a - c, rank);
            return true;
        case BinaryOp::Multiply:
            out = FitWhole(a * c, rank);
            return true;
        case BinaryOp::Equal:
        case BinaryOp::NotEqual:
        case BinaryOp::Less:
        case BinaryOp::LessEqual:
        case BinaryOp::Greater:
        case BinaryOp::GreaterEqual:
            out = Variant::Boolean(CompareWhole(b.op, x->whole(), y->whole()));
            return true;
        default:
            break;
        }
    }
    return false;
}

Variant Interpreter::Eval(const Expr& e) {
    if (e.quick == Quick::Local) return LocalOf(e);
    if (e.kind == ExprKind::Binary) {
        const auto& b = static_cast<const BinaryExpr&>(e);
        Variant out;
        if (QuickBinary(b, out)) return out;
        return EvalBinary(b);
    }
    if (e.kind == ExprKind::Name) {
        const auto& n = static_cast<const NameExpr&>(e);
        if (n.scope == Scope::Global && n.global->proc)
            return CallProcedure(*n.global->proc, nullptr, n.args);
        return EvalName(n);
    }
    switch (e.kind) {
    case ExprKind::Constant:
        return static_cast<const ConstantExpr&>(e).value;
    case ExprKind::Name:
    case ExprKind::Binary:
        break; // above
    case ExprKind::Member:
        return EvalMember(static_cast<const MemberExpr&>(e), InvokeKind::Get);
    case ExprKind::Index:
        return EvalIndex(static_cast<const IndexExpr&>(e));
    case ExprKind::Unary: {
        const auto& u = static_cast<const UnaryExpr&>(e);
        Variant v = Eval(*u.operand);
        if (u.op == UnaryOp::Negate) return Negate(v);
        if (u.op == UnaryOp::Not) return Not(v);
        return std::move(v.Deref());
    }
    case ExprKind::New:
        return EvalNew(static_cast<const NewExpr&>(e));
    case ExprKind::Me:
        if (!frame || !frame->me) Raise(err::kInvalidUseOfMe);
        return Variant::Object(frame->me);
    }
    Raise(err::kTypeMismatch);
}

// Constants and plain variables are read in place rather than copied. The left operand is
// read in place only when the right one runs no code that could change it meanwhile.
[[gnu::always_inline]] inline const Variant& Interpreter::Operand(const Expr& e, Variant& scratch,
                                                                  bool in_place) {
    if (e.quick == Quick::Constant) return static_cast<const ConstantExpr&>(e).value;
    if (const Variant* v = PlainVariable(e)) {
        if (in_place) return *v;
        scratch = *v;
        return scratch;
    }
    if (e.kind == ExprKind::Name) {
        // A call of a script procedure goes straight there, one machine frame fewer.
        const auto& n = static_cast<const NameExpr&>(e);
        if (n.scope == Scope::Global && n.global->proc) {
            scratch = CallProcedure(*n.global->proc, nullptr, n.args);
            return scratch.Deref();
        }
    }
    scratch = Eval(e);
    return scratch.Deref();
}

Variant Interpreter::EvalBinary(const BinaryExpr& b) {
    if (Variant out; QuickBinary(b, out)) return out;
    Variant left_scratch, right_scratch;
    const bool left_in_place = b.right->quick != Quick::None || PlainVariable(*b.right);
    const Variant& l = Operand(*b.left, left_scratch, left_in_place);
    const Variant& r = Operand(*b.right, right_scratch, true);
    switch (b.op) {
    case BinaryOp::Add:
    case BinaryOp::Subtract:
    case BinaryOp::Multiply: {
        // Small whole numbers stay out of the general path.
        const Variant& x = l.Deref();
        const Variant& y = r.Deref();
        if (IsShortOrLong(x) && IsShortOrLong(y)) {
            const std::int64_t a = x.whole(), c = y.whole();
            const int rank = x.tag() == Variant::Tag::Long || y.tag() == Variant::Tag::Long ? 3 : 2;
            const std::int64_t v = b.op == BinaryOp::Add        ? a + c
                                   : b.op == BinaryOp::Subtract ? a - c
                                                                : a * c;
            return FitWhole(v, rank);
        }
        return Arithmetic(b.op, l, r);
    }
    case BinaryOp::IntDivide:
    case BinaryOp::Mod: {
        const Variant& x = l.Deref();
        const Variant& y = r.Deref();
        if (IsShortOrLong(x) && IsShortOrLong(y) && y.whole() != 0 && y.whole() != -1) {
            const std::int32_t r =
                b.op == BinaryOp::Mod ? x.whole() % y.whole() : x.whole() / y.whole();
            const bool both_integer =
                x.tag() == Variant::Tag::Integer && y.tag() == Variant::Tag::Integer;
            return both_integer ? Variant::Integer(r) : Variant::Long(r);
        }
        return Arithmetic(b.op, l, r);
    }
    case BinaryOp::Divide:
    case BinaryOp::Power:
        return Arithmetic(b.op, l, r);
    case BinaryOp::Concat:
        return Concat(l, r);
    case BinaryOp::And:
    case BinaryOp::Or:
    case BinaryOp::Xor:
    case BinaryOp::Eqv:
    case BinaryOp::Imp:
        return Logical(b.op, l, r);
    case BinaryOp::Is: {
        const Variant& x = l.Deref();
        const Variant& y = r.Deref();
        if (!x.IsObject() || !y.IsObject()) Raise(err::kObjectRequired);
        return Variant::Boolean(x.object() == y.object());
    }
    default: {
        const Variant& x = l.Deref();
        const Variant& y = r.Deref();
        if (IsPlainWhole(x) && IsPlainWhole(y))
            return Variant::Boolean(CompareWhole(b.op, x.whole(), y.whole()));
        return Comparison(b.op, x, y, b.literal);
    }
    }
}

// An If or loop condition: a comparison of whole numbers read in place is answered here,
// without a Variant or a call; the rest goes the general way.
[[gnu::always_inline]] inline bool Interpreter::QuickCondition(const Expr& e, bool& truth) const {
    if (e.kind != ExprKind::Binary) return false;
    const auto& b = static_cast<const BinaryExpr&>(e);
    if (b.op < BinaryOp::Equal || b.op > BinaryOp::GreaterEqual) return false;
    const Variant* x = PlainOperand(*b.left);
    const Variant* y = x ? PlainOperand(*b.right) : nullptr;
    if (!y || !IsPlainWhole(*x) || !IsPlainWhole(*y)) return false;
    truth = CompareWhole(b.op, x->whole(), y->whole());
    return true;
}

bool Interpreter::GeneralCondition(const Expr& e) {
    if (e.kind != ExprKind::Binary) return Truth(Eval(e));
    const auto& b = static_cast<const BinaryExpr&>(e);
    if (b.op < BinaryOp::Equal || b.op > BinaryOp::GreaterEqual) return Truth(EvalBinary(b));
    Variant left_scratch, right_scratch;
    const bool left_in_place = b.right->quick != Quick::None || PlainVariable(*b.right);
    const Variant& x = Operand(*b.left, left_scratch, left_in_place);
    const Variant& y = Operand(*b.right, right_scratch, true);
    if (IsPlainWhole(x) && IsPlainWhole(y)) return CompareWhole(b.op, x.whole(), y.whole());
    return Truth(Comparison(b.op, x, y, b.literal));
}

// A condition under On Error Resume Next: an error in it resumes at the statement that
// follows the test, which the caller names by `on_error` (an If's block, a loop's body, or
// the statement after a loop tested at its end). Without Resume Next the error goes on.
bool Interpreter::ResumedCondition(const Expr& e, const Stmt& s, bool on_error) {
    try {
        return GeneralCondition(e);
    } catch (RuntimeError& error) {
        if (error.line == 0 && e.line != s.line) {
            // An ElseIf or a Loop While on a line of its own reports that line.
            error.line = e.line;
            error.column = e.column;
        }
        CatchInStatement(error, s);
        return on_error;
    }
}

// Whether a Do loop goes on. A failed test resumes at what follows it: the body when the
// test is at the top, the statement after the loop when it is at the end.
bool Interpreter::LoopCondition(const DoStmt& s, bool at_top) {
    bool truth;
    if (!QuickCondition(*s.condition, truth))
        truth = ResumedCondition(*s.condition, s, at_top != s.until);
    return truth != s.until;
}

const Block* Interpreter::ChosenBlock(const IfStmt& s) {
    const std::size_t n = s.conditions.size();
    for (std::size_t i = 0; i < n; ++i) {
        bool truth;
        if (!QuickCondition(*s.conditions[i], truth))
            truth = ResumedCondition(*s.conditions[i], s, true);
        if (truth) return &s.blocks[i];
    }
    if (s.blocks.size() > n) return &s.blocks.back();
    return nullptr;
}

Variant& Interpreter::VariableOf(const NameExpr& e) {
    switch (e.scope) {
    case Scope::Local:
        return frame->locals[e.index].Deref();
    case Scope::Field:
        return frame->me->fields[e.index];
    case Scope::Global: {
        GlobalEntry& g = *e.global;
        if (g.proc || g.cls || g.host) Raise(err::kNotAssignable);
        if (!g.declared && option_explicit)
            Raise(err::kUndefinedVariable, "Variable is undefined: '" + e.name + "'");
        return g.value;
    }
    default:
        Raise(err::kNotAssignable);
    }
}

Variant Interpreter::EvalName(const NameExpr& e) {
    switch (e.scope) {
    case Scope::Local: {
        const Variant& v = frame->locals[e.index].Deref();
        if (e.args.empty()) return v;
        return IndexValue(v, e.args, e);
    }
    case Scope::Field: {
        const Variant& v = frame->me->fields[e.index];
        if (e.args.empty()) return v;
        return IndexValue(v, e.args, e);
    }
    case Scope::Global: {
        GlobalEntry& g = *e.global;
        if (g.proc) {
            if (g.proc->kind == ProcKind::Sub && !e.args.empty() && e.parens) {
                // A Sub used as a value still runs, and gives Empty.
            }
            return CallProcedure(*g.proc, nullptr, e.args);
        }
        if (g.host) {
            std::vector<Variant> args = EvalArgs(e.args);
            Variant result;
            if (int code = g.host->Invoke(g.host_id, InvokeKind::Get, args, result)) Raise(code);
            return result;
        }
        if (g.cls) Raise(err::kTypeMismatch);
        if (!g.declared && option_explicit)
            Raise(err::kUndefinedVariable, "Variable is undefined: '" + e.name + "'");
        if (e.args.empty()) return g.value;
        return IndexValue(g.value, e.args, e);
    }
    case Scope::ClassMember: {
        ElementLocks locks(*this);
        std::vector<Variant> args = EvalArgsForScript(e.args, locks.count);
        Variant result;
        if (int code = InvokeClassMember(*frame->me, e.index, InvokeKind::Get, args, result))
            Raise(code);
        return result;
    }
    case Scope::Builtin: {
        const Builtin& b = BuiltinAt(e.index);
        const int n = static_cast<int>(e.args.size());
        if (n < b.min_args || n > b.max_args) Raise(err::kWrongArguments);
        if (n <= 4) {
            Variant args[4];
            for (int i = 0; i < n; ++i)
                args[i] = Eval(*e.args[i]).Deref();
            return b.fn(*this, std::span<Variant>(args, static_cast<std::size_t>(n)));
        }
        std::vector<Variant> args = EvalArgs(e.args);
        return b.fn(*this, args);
    }
    case Scope::Unresolved:
        break;
    }
    Raise(err::kUndefinedVariable);
}

Variant Interpreter::IndexValue(const Variant& holder, const ExprList& args, const Expr& at) {
    (void)at;
    if (holder.IsArray()) {
        long subs[ArrayBox::kMaxDimensions];
        if (args.size() > static_cast<std::size_t>(ArrayBox::kMaxDimensions))
            Raise(err::kSubscript);
        for (std::size_t i = 0; i < args.size(); ++i)
            subs[i] = ToLong(Eval(*args[i]));
        ArrayBox* box = holder.array();
        const long offset = box->Offset(subs, args.size());
        if (offset < 0) Raise(err::kSubscript);
        return box->items[static_cast<std::size_t>(offset)];
    }
    if (holder.IsObject()) {
        Object* object = holder.object();
        if (!object) Raise(err::kObjectVariableNotSet);
        const int id = object->DefaultMember();
        if (id < 0) Raise(err::kNoSuchMember);
        std::vector<Variant> values = EvalArgs(args);
        Variant result;
        if (int code = object->Invoke(id, InvokeKind::Get, values, result)) Raise(code);
        return result;
    }
    Raise(err::kTypeMismatch);
}

Variant* Interpreter::ElementOf(Variant& holder, const ExprList& args) {
    if (!holder.IsArray()) return nullptr;
    long subs[ArrayBox::kMaxDimensions];
    if (args.size() > static_cast<std::size_t>(ArrayBox::kMaxDimensions)) Raise(err::kSubscript);
    for (std::size_t i = 0; i < args.size(); ++i)
        subs[i] = ToLong(Eval(*args[i]));
    ArrayBox* box = holder.array();
    if (box->Refs() > 1) {
        // Another variable shares this array: give this one its own copy first.
        ArrayBox* copy = box->Clone();
        copy->fixed = box->fixed;
        holder = Variant::Array(copy);
        box = copy;
    }
    const long offset = box->Offset(subs, args.size());
    if (offset < 0) Raise(err::kSubscript);
    return &box->items[static_cast<std::size_t>(offset)];
}

Variant Interpreter::InvokeObject(const Variant& in, std::string_view name, const void*& key,
                                  int& id, InvokeKind kind, std::vector<Variant>& args) {
    const Variant& v = in.Deref();
    if (!v.IsObject()) Raise(err::kObjectRequired);
    Object* object = v.object();
    if (!object) Raise(err::kObjectVariableNotSet);
    if (object->MemberTableKey() != key) {
        id = object->FindMember(name);
        key = object->MemberTableKey();
    }
    if (id < 0) {
        key = nullptr;
        Raise(err::kNoSuchMember,
              "Object doesn't support this property or method: '" + std::string(name) + "'");
    }
    Variant result;
    if (int code = object->Invoke(id, kind, args, result)) {
        if (code == err::kNoSuchMember)
            Raise(code,
                  "Object doesn't support this property or method: '" + std::string(name) + "'");
        Raise(code);
    }
    return result;
}

Variant Interpreter::EvalMember(const MemberExpr& e, InvokeKind kind) {
    Variant object = Eval(*e.object);
    const Variant& target = object.Deref();
    if (!target.IsObject()) RequireObject(*e.object);
    // A script class's methods take ByRef arguments; host objects take values.
    ElementLocks locks(*this);
    std::vector<Variant> args = dynamic_cast<ScriptObject*>(target.object())
                                    ? EvalArgsForScript(e.args, locks.count)
                                    : EvalArgs(e.args);
    auto& m = const_cast<MemberExpr&>(e);
    return InvokeObject(object, e.name, m.cache_key, m.cache_id, kind, args);
}

void Interpreter::RequireObject(const Expr& e) {
    // The message names the variable that should have held the object.
    if (e.kind == ExprKind::Name)
        Raise(err::kObjectRequired,
              "Object required: '" + static_cast<const NameExpr&>(e).name + "'");
    Raise(err::kObjectRequired);
}

Variant Interpreter::EvalIndex(const IndexExpr& e) {
    Variant target = Eval(*e.target);
    return IndexValue(target.Deref(), e.args, e);
}

Variant Interpreter::EvalNew(const NewExpr& e) {
    const GlobalEntry& g = globals[e.global];
    if (!g.cls) Raise(506, "Class not defined: '" + e.class_name + "'");
    auto* object = new ScriptObject(*this, *g.cls);
    Variant holder = Variant::Object(object);
    if (g.cls->initialize) {
        std::vector<Variant> none;
        CallWithValues(*g.cls->initialize, object, none);
    }
    object->initialized = true;
    return holder;
}

} // namespace tess::vbs
