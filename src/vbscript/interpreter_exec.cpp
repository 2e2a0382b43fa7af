// Statements and procedure calls.

#include "vbscript/array_box.h"
#include "vbscript/coerce.h"
#include "vbscript/interpreter.h"
#include "vbscript/limits.h"

namespace tess::vbs {

namespace {

// A plain variable, which a ByRef argument passes itself; a global naming a procedure, a
// class or a host member is a value (a Function named alone is called).
bool IsReferenceable(const Expr& e) {
    if (e.kind != ExprKind::Name) return false;
    const auto& n = static_cast<const NameExpr&>(e);
    if (!n.args.empty() || n.parens) return false;
    if (n.scope == Scope::Global) return !n.global->proc && !n.global->cls && !n.global->host;
    return n.scope == Scope::Local || n.scope == Scope::Field;
}

// Restores the caller's frame and frees the callee's slots however the call ends, then
// unlocks the arrays whose elements were passed ByRef.
struct CallScope {
    CallScope(Interpreter& in, Variant* slots, std::size_t count, Frame* saved)
        : in(in), slots(slots), count(count), saved(saved) {}
    ~CallScope() {
        for (std::size_t i = 0; i < count; ++i)
            slots[i].Clear();
        in.LeaveCall(slots, saved);
        if (locked) in.UnlockElements(locked);
    }
    Interpreter& in;
    Variant* slots;
    std::size_t count;
    Frame* saved;
    std::size_t locked = 0;
};

} // namespace

// Error 28 before the evaluator's slots or the machine stack run out. The time budget is
// counted here too, once per call.
void Interpreter::CheckCallRoom(std::size_t slots_needed) {
    const char* here = static_cast<const char*>(__builtin_frame_address(0));
    if (call_depth_ >= kMaxCallDepth || slots_needed > kMaxLocalSlots ||
        (native_base_ && static_cast<std::size_t>(native_base_ - here) > kMaxNativeStack))
        Raise(err::kOutOfStack);
    if (--tick_ <= 0) Tick();
}

void Interpreter::LeaveCall(Variant* slots, Frame* saved) {
    stack_top_ = static_cast<std::size_t>(slots - stack_.data());
    frame = saved;
    --call_depth_;
}

// An operand's value, a call of a script procedure made from here.
[[gnu::always_inline]] inline Variant Interpreter::OperandValue(const Expr& e) {
    if (e.quick == Quick::Local) return LocalOf(e);
    if (e.quick == Quick::Constant) return static_cast<const ConstantExpr&>(e).value;
    if (e.kind == ExprKind::Name) {
        const auto& n = static_cast<const NameExpr&>(e);
        if (n.scope == Scope::Global && n.global->proc)
            return CallProcedure(*n.global->proc, nullptr, n.args);
    }
    Variant v = Eval(e);
    if (v.IsReference()) v = Variant(v.Deref());
    return v;
}

// The value of an assignment. A sum or difference with calls in it, "f(n - 1) + f(n - 2)",
// is worked out here so that the calls stack one machine frame per script call.
[[gnu::always_inline]] inline Variant Interpreter::AssignedValue(const Expr& e) {
    if (e.kind != ExprKind::Binary) return Eval(e);
    const auto& b = static_cast<const BinaryExpr&>(e);
    const auto calls = [](const Expr& x) {
        if (x.kind != ExprKind::Name) return false;
        const auto& n = static_cast<const NameExpr&>(x);
        return n.scope == Scope::Global && n.global->proc != nullptr;
    };
    // Other operands are read in place by the general path.
    if ((b.op != BinaryOp::Add && b.op != BinaryOp::Subtract) ||
        !(calls(*b.left) || calls(*b.right)))
        return EvalBinary(b);
    const Variant l = OperandValue(*b.left);
    const Variant r = OperandValue(*b.right);
    const auto whole = [](const Variant& v) {
        return v.tag() == Variant::Tag::Integer || v.tag() == Variant::Tag::Long;
    };
    if (whole(l) && whole(r)) {
        const int rank = l.tag() == Variant::Tag::Long || r.tag() == Variant::Tag::Long ? 3 : 2;
        const std::int64_t a = l.whole(), c = r.whole();
        return FitWhole(b.op == BinaryOp::Add ? a + c : a - c, rank);
    }
    return Arithmetic(b.op, l, r);
}

// Kept inline in the statement loop: a value into a local variable, the common case, then
// costs no call of its own.
[[gnu::always_inline]] inline void Interpreter::ExecAssign(const AssignStmt& s) {
    Variant value = AssignedValue(*s.value);
    if (!s.is_set && s.target->quick == Quick::Local && value.IsPlainValue()) {
        LocalOf(*s.target) = std::move(value);
        return;
    }
    AssignValue(s, std::move(value));
}

void Interpreter::AssignValue(const AssignStmt& s, Variant value) {
    if (!s.is_set && s.target->kind == ExprKind::Name && value.IsPlainValue()) {
        // A plain value into a plain variable skips the general store.
        const auto& n = static_cast<const NameExpr&>(*s.target);
        if (n.args.empty() && (n.scope == Scope::Local || n.scope == Scope::Field ||
                               (n.scope == Scope::Global && !n.global->host))) {
            VariableOf(n) = std::move(value);
            return;
        }
    }
    Variant& v = value.Deref();
    if (s.is_set) {
        if (!v.IsObject()) Raise(err::kObjectRequired);
        Store(*s.target, v, true);
        return;
    }
    if (v.IsObject()) {
        Store(*s.target, ValueOf(v), false);
        return;
    }
    // A fixed array is copied at once, and so is a locked one, so that a reference into it
    // never writes through to a second variable.
    if (v.IsArray() && (v.array()->fixed || v.array()->Locked()))
        v = Variant::Array(v.array()->Clone());
    Store(*s.target, std::move(v), false);
}

void Interpreter::CatchInStatement(RuntimeError& e, const Stmt& s) {
    if (e.line == 0) {
        e.line = s.line;
        e.column = s.column;
    }
    if (!frame || !frame->resume_next || e.number == err::kTimeBudget) throw;
    err->Set(e);
}

// The block an If chooses runs in this same loop, one cursor per level, instead of one more
// C++ call per level: deep script recursion then keeps fewer machine frames per script
// call, which the processor's return prediction rewards. Beyond a few levels an If's block
// runs through a call as before.
[[gnu::always_inline]] inline Flow Interpreter::RunBlock(const Block& block) {
    struct Cursor {
        const StmtPtr* at;
        const StmtPtr* end;
    };
    constexpr int kLevels = 4;
    Cursor levels[kLevels];
    int depth = 0;
    levels[0] = {block.data(), block.data() + block.size()};
    for (;;) {
        Cursor& c = levels[depth];
        if (c.at == c.end) {
            if (depth == 0) return Flow::Normal;
            --depth;
            continue;
        }
        const Stmt& s = **c.at++;
        try {
            if (s.kind == StmtKind::If) {
                const Block* chosen = ChosenBlock(static_cast<const IfStmt&>(s));
                if (!chosen || chosen->empty()) continue;
                if (depth + 1 < kLevels) {
                    levels[++depth] = {chosen->data(), chosen->data() + chosen->size()};
                    continue;
                }
                const Flow f = ExecBlock(*chosen);
                if (f != Flow::Normal) return f;
                continue;
            }
            if (s.kind == StmtKind::Assign) {
                ExecAssign(static_cast<const AssignStmt&>(s));
                continue;
            }
            const Flow f = Exec(s);
            if (f != Flow::Normal) return f;
        } catch (RuntimeError& e) {
            CatchInStatement(e, s);
        }
    }
}

Flow Interpreter::ExecBlock(const Block& block) {
    return RunBlock(block);
}

// The arguments are bound straight into the callee's slots: a ByRef argument naming a
// variable as a reference to it, anything else as its value. The slots are claimed before
// the arguments run, so that calls among them stack above.
Variant Interpreter::CallProcedure(const Procedure& proc, ScriptObject* me, const ExprList& args) {
    const std::size_t n = args.size();
    if (n != proc.param_count) Raise(err::kWrongArguments);
    const std::size_t base = stack_top_;
    const std::size_t count = proc.slot_count;
    CheckCallRoom(base + count);
    Variant* slots = stack_.data() + base;
    stack_top_ = base + count;
    ++call_depth_;
    CallScope scope(*this, slots, count, frame);
    for (std::size_t i = 0; i < n; ++i) {
        const Expr& a = *args[i];
        if (!proc.params[i].by_val && IsReferenceable(a)) {
            slots[i] = Variant::Reference(&VariableOf(static_cast<const NameExpr&>(a)));
        } else if (Variant* element = proc.params[i].by_val || a.kind != ExprKind::Name
                                          ? nullptr
                                          : ElementToLock(a)) {
            slots[i] = Variant::Reference(element);
            ++scope.locked;
        } else {
            slots[i].Adopt(Eval(a));
            if (slots[i].IsReference()) slots[i] = Variant(slots[i].Deref());
        }
    }
    Frame callee{slots, me, &proc, false};
    frame = &callee;
    RunBlock(proc.body);
    return std::move(slots[proc.param_count]);
}

// An array element named as a ByRef argument, "Inc a(1)": the element itself is passed, its
// array locked until the call ends. nullptr when the argument is no array element.
Variant* Interpreter::ElementToLock(const Expr& e) {
    if (e.kind != ExprKind::Name) return nullptr;
    const auto& n = static_cast<const NameExpr&>(e);
    if (n.args.empty()) return nullptr;
    if (n.scope == Scope::Global) {
        const GlobalEntry& g = *n.global;
        if (g.proc || g.cls || g.host || (!g.declared && option_explicit)) return nullptr;
    } else if (n.scope != Scope::Local && n.scope != Scope::Field) {
        return nullptr;
    }
    Variant& holder = VariableOf(n);
    if (!holder.IsArray()) return nullptr;
    Variant* element = ElementOf(holder, n.args);
    ArrayBox* box = holder.array();
    box->Lock();
    locked_.push_back(box);
    return element;
}

// Arguments for a method of a script class: variables and array elements as references,
// so that ByRef parameters reach them; anything else as its value.
std::vector<Variant> Interpreter::EvalArgsForScript(const ExprList& args, std::size_t& locked) {
    std::vector<Variant> values;
    values.reserve(args.size() + 1);
    for (const auto& a : args) {
        if (IsReferenceable(*a)) {
            values.push_back(Variant::Reference(&VariableOf(static_cast<const NameExpr&>(*a))));
        } else if (Variant* element = ElementToLock(*a)) {
            ++locked;
            values.push_back(Variant::Reference(element));
        } else {
            values.push_back(Eval(*a).Deref());
        }
    }
    return values;
}

void Interpreter::UnlockElements(std::size_t count) {
    for (; count > 0; --count) {
        locked_.back()->Unlock();
        locked_.pop_back();
    }
}

Variant Interpreter::CallWithValues(const Procedure& proc, ScriptObject* me,
                                    std::span<Variant> args) {
    if (args.size() != proc.param_count) Raise(err::kWrongArguments);
    const std::size_t base = stack_top_;
    const std::size_t count = proc.slot_count;
    CheckCallRoom(base + count);
    Variant* slots = stack_.data() + base;
    stack_top_ = base + count;
    ++call_depth_;
    CallScope scope(*this, slots, count, frame);
    // A reference among the values (a ByRef argument of a method) stays one.
    for (std::size_t i = 0; i < args.size(); ++i)
        slots[i] = proc.params[i].by_val ? args[i].Deref() : args[i];
    Frame callee{slots, me, &proc, false};
    frame = &callee;
    RunBlock(proc.body);
    return std::move(slots[proc.param_count]);
}

Flow Interpreter::Exec(const Stmt& s) {
    // Assignments and Ifs, the bulk of what runs, are told apart by plain branches, which
    // the processor predicts far better than the jump table of the switch.
    if (s.kind == StmtKind::Assign) {
        ExecAssign(static_cast<const AssignStmt&>(s));
        return Flow::Normal;
    }
    if (s.kind == StmtKind::If) return ExecIf(static_cast<const IfStmt&>(s));
    switch (s.kind) {
    case StmtKind::Assign:
        break; // above
    case StmtKind::Call:
        ExecCall(static_cast<const CallStmt&>(s));
        return Flow::Normal;
    case StmtKind::If:
        return ExecIf(static_cast<const IfStmt&>(s));
    case StmtKind::Select:
        return ExecSelect(static_cast<const SelectStmt&>(s));
    case StmtKind::For:
        return ExecFor(static_cast<const ForStmt&>(s));
    case StmtKind::ForEach:
        return ExecForEach(static_cast<const ForEachStmt&>(s));
    case StmtKind::Do:
        return ExecDo(static_cast<const DoStmt&>(s));
    case StmtKind::Exit:
        switch (static_cast<const ExitStmt&>(s).which) {
        case ExitKind::Do:
            return Flow::ExitDo;
        case ExitKind::For:
            return Flow::ExitFor;
        default:
            return Flow::ExitProc;
        }
    case StmtKind::Dim:
    case StmtKind::ReDim:
        ExecDim(static_cast<const DimStmt&>(s));
        return Flow::Normal;
    case StmtKind::Erase:
        ExecErase(static_cast<const EraseStmt&>(s));
        return Flow::Normal;
    case StmtKind::OnError:
        if (frame) frame->resume_next = static_cast<const OnErrorStmt&>(s).resume_next;
        err->Clear();
        return Flow::Normal;
    case StmtKind::With:
        return ExecWith(static_cast<const WithStmt&>(s));
    }
    return Flow::Normal;
}

void Interpreter::Store(const Expr& target, Variant value, bool is_set) {
    const InvokeKind kind = is_set ? InvokeKind::Set : InvokeKind::Let;
    if (target.kind == ExprKind::Member) {
        const auto& m = static_cast<const MemberExpr&>(target);
        Variant object = Eval(*m.object);
        if (!object.Deref().IsObject()) RequireObject(*m.object);
        std::vector<Variant> args = EvalArgs(m.args);
        args.push_back(std::move(value));
        auto& mm = const_cast<MemberExpr&>(m);
        InvokeObject(object, m.name, mm.cache_key, mm.cache_id, kind, args);
        return;
    }
    if (target.kind != ExprKind::Name) Raise(err::kNotAssignable);
    const auto& n = static_cast<const NameExpr&>(target);
    if (n.scope == Scope::ClassMember || (n.scope == Scope::Global && n.global->host)) {
        std::vector<Variant> args = EvalArgs(n.args);
        args.push_back(std::move(value));
        Variant ignored;
        int code = 0;
        if (n.scope == Scope::ClassMember)
            code = InvokeClassMember(*frame->me, n.index, kind, args, ignored);
        else
            code = n.global->host->Invoke(n.global->host_id, kind, args, ignored);
        if (code) Raise(code);
        return;
    }
    Variant& slot = VariableOf(n);
    if (n.args.empty()) {
        slot = std::move(value);
        return;
    }
    if (Variant* element = ElementOf(slot, n.args)) {
        *element = std::move(value);
        return;
    }
    if (slot.IsObject()) {
        Object* object = slot.object();
        if (!object) Raise(err::kObjectVariableNotSet);
        const int id = object->DefaultMember();
        if (id < 0) Raise(err::kNoSuchMember);
        std::vector<Variant> args = EvalArgs(n.args);
        args.push_back(std::move(value));
        Variant ignored;
        if (int code = object->Invoke(id, kind, args, ignored)) Raise(code);
        return;
    }
    Raise(err::kTypeMismatch);
}

void Interpreter::ExecCall(const CallStmt& s) {
    const Expr& e = *s.call;
    if (e.kind == ExprKind::Member) {
        EvalMember(static_cast<const MemberExpr&>(e), InvokeKind::Call);
        return;
    }
    if (e.kind == ExprKind::Name) {
        const auto& n = static_cast<const NameExpr&>(e);
        if (n.scope == Scope::Global && n.global->proc) {
            CallProcedure(*n.global->proc, nullptr, n.args);
            return;
        }
        if (n.scope == Scope::ClassMember) {
            ElementLocks locks(*this);
            std::vector<Variant> args = EvalArgsForScript(n.args, locks.count);
            Variant ignored;
            if (int code = InvokeClassMember(*frame->me, n.index, InvokeKind::Call, args, ignored))
                Raise(code);
            return;
        }
        if (n.scope == Scope::Global && !n.global->host && !n.global->declared && n.args.empty())
            Raise(35, "Type mismatch: '" + n.name + "'");
    }
    Eval(e);
}

Flow Interpreter::ExecIf(const IfStmt& s) {
    const Block* chosen = ChosenBlock(s);
    return chosen ? ExecBlock(*chosen) : Flow::Normal;
}

bool Interpreter::CaseMatches(const CaseItem& item, const Variant& subject) {
    const Variant low = Eval(*item.low);
    const Literal lit = item.low->kind == ExprKind::Constant ? Literal::Right : Literal::None;
    if (!item.high) return Truth(Comparison(item.is_op, subject, low, lit));
    const Variant high = Eval(*item.high);
    const int a = Compare(subject, low, lit);
    const int b = Compare(subject, high,
                          item.high->kind == ExprKind::Constant ? Literal::Right : Literal::None);
    return a != 2 && b != 2 && a >= 0 && b <= 0;
}

// A For or For Each whose header failed under On Error Resume Next: its body runs once, the
// counter untouched, and the Next fails with `error`, which resumes after the loop.
Flow Interpreter::RunUnstartedLoop(const Block& body, int error) {
    const Flow f = ExecBlock(body);
    if (f == Flow::ExitFor) return Flow::Normal;
    if (f != Flow::Normal) return f;
    Raise(error);
}

Flow Interpreter::ExecSelect(const SelectStmt& s) {
    const Variant subject = Eval(*s.subject).Deref();
    for (std::size_t c = 0; c < s.cases.size(); ++c) {
        for (const CaseItem& item : s.cases[c]) {
            bool match;
            try {
                match = CaseMatches(item, subject);
            } catch (RuntimeError& e) {
                CatchInStatement(e, s); // resumed: the Case's block is what follows
                match = true;
            }
            if (match) return ExecBlock(s.blocks[c]);
        }
    }
    if (s.has_else) return ExecBlock(s.blocks.back());
    return Flow::Normal;
}

Flow Interpreter::ExecFor(const ForStmt& s) {
    const auto& var = static_cast<const NameExpr&>(*s.variable);
    Variant from, to, step;
    try {
        from = ValueOf(Eval(*s.from).Deref());
        to = ValueOf(Eval(*s.to));
        step = s.step ? ValueOf(Eval(*s.step)) : Variant::Integer(1);
        if (from.IsNull() || to.IsNull() || step.IsNull()) Raise(err::kInvalidUseOfNull);
    } catch (RuntimeError& e) {
        CatchInStatement(e, s);
        from = Variant::Null(); // marks the loop as never started
    }
    if (from.IsNull()) return RunUnstartedLoop(s.body, err::kForLoopNotInitialized);
    const double end = ToDouble(to);
    const double increment = ToDouble(step);
    VariableOf(var) = from.IsString() ? Variant::Double(ToDouble(from)) : from;
    if (from.IsWhole() && to.IsWhole() && step.IsWhole() && from.tag() != Variant::Tag::Boolean)
        return ExecWholeFor(s, var, to.whole(), step);
    for (;;) {
        const Variant& current = VariableOf(var);
        const double value = ToDouble(current);
        if (increment >= 0 ? value > end : value < end) break;
        const Flow f = ExecBlock(s.body);
        if (f == Flow::ExitFor) break;
        if (f != Flow::Normal) return f;
        if (--tick_ <= 0) Tick();
        Variant& counter = VariableOf(var);
        counter = Arithmetic(BinaryOp::Add, counter, step);
    }
    return Flow::Normal;
}

// The common loop over whole numbers, without the general arithmetic. The counter is read
// back each time, so a body that changes it behaves as in the general loop.
Flow Interpreter::ExecWholeFor(const ForStmt& s, const NameExpr& var, std::int64_t end,
                               const Variant& step) {
    const std::int64_t increment = step.whole();
    for (;;) {
        const Variant& current = VariableOf(var);
        if (!current.IsWhole()) break;
        const std::int64_t value = current.whole();
        if (increment >= 0 ? value > end : value < end) return Flow::Normal;
        const Flow f = ExecBlock(s.body);
        if (f == Flow::ExitFor) return Flow::Normal;
        if (f != Flow::Normal) return f;
        if (--tick_ <= 0) Tick();
        Variant& counter = VariableOf(var);
        if (!counter.IsWhole()) {
            counter = Arithmetic(BinaryOp::Add, counter, step);
            break;
        }
        const int rank =
            counter.tag() == Variant::Tag::Long || step.tag() == Variant::Tag::Long ? 3 : 2;
        counter = FitWhole(counter.whole() + increment, rank);
    }
    // The body made the counter a fraction or a string: carry on the general way.
    const double stop = static_cast<double>(end);
    for (;;) {
        const double value = ToDouble(VariableOf(var));
        if (increment >= 0 ? value > stop : value < stop) break;
        const Flow f = ExecBlock(s.body);
        if (f == Flow::ExitFor) break;
        if (f != Flow::Normal) return f;
        if (--tick_ <= 0) Tick();
        Variant& counter = VariableOf(var);
        counter = Arithmetic(BinaryOp::Add, counter, step);
    }
    return Flow::Normal;
}

Flow Interpreter::ExecForEach(const ForEachStmt& s) {
    const auto& var = static_cast<const NameExpr&>(*s.variable);
    std::vector<Variant> items;
    try {
        const Variant collection = Eval(*s.collection).Deref();
        if (collection.IsArray()) {
            items = collection.array()->items;
        } else if (collection.IsObject()) {
            if (!collection.object()) Raise(err::kObjectVariableNotSet);
            if (!collection.object()->Enumerate(items)) Raise(err::kNoSuchMember);
        } else {
            Raise(err::kNotEnumerable);
        }
    } catch (RuntimeError& e) {
        CatchInStatement(e, s);
        return RunUnstartedLoop(s.body, err::kNotEnumerable);
    }
    for (Variant& item : items) {
        VariableOf(var) = std::move(item);
        const Flow f = ExecBlock(s.body);
        if (f == Flow::ExitFor) break;
        if (f != Flow::Normal) return f;
        if (--tick_ <= 0) Tick();
    }
    return Flow::Normal;
}

Flow Interpreter::ExecDo(const DoStmt& s) {
    for (;;) {
        if (s.condition && s.test_first && !LoopCondition(s, true)) break;
        const Flow f = ExecBlock(s.body);
        if (f == Flow::ExitDo) break;
        if (f != Flow::Normal) return f;
        if (--tick_ <= 0) Tick();
        if (s.condition && !s.test_first && !LoopCondition(s, false)) break;
    }
    return Flow::Normal;
}

void Interpreter::ExecDim(const DimStmt& s) {
    for (const DimItem& item : s.items) {
        if (item.bounds.empty()) continue;
        std::vector<int> upper;
        for (const auto& b : item.bounds)
            upper.push_back(ToLong(Eval(*b)));
        Variant& slot = VariableOf(static_cast<const NameExpr&>(*item.target));
        int code = 0;
        if (s.kind == StmtKind::ReDim && slot.IsArray()) {
            if (slot.array()->fixed || slot.array()->Locked()) Raise(err::kFixedArray);
            if (s.preserve) {
                if (slot.array()->Refs() > 1) slot = Variant::Array(slot.array()->Clone());
                if ((code = slot.array()->Resize(upper, true))) Raise(code);
                continue;
            }
        }
        ArrayBox* box = ArrayBox::Create(upper, code);
        if (!box) Raise(code);
        box->fixed = s.kind == StmtKind::Dim;
        slot = Variant::Array(box);
    }
}

void Interpreter::ExecErase(const EraseStmt& s) {
    Variant& slot = VariableOf(static_cast<const NameExpr&>(*s.target));
    if (!slot.IsArray()) Raise(err::kTypeMismatch);
    if (slot.array()->Locked()) Raise(err::kFixedArray);
    if (slot.array()->fixed) {
        if (slot.array()->Refs() > 1) {
            ArrayBox* copy = slot.array()->Clone();
            copy->fixed = true;
            slot = Variant::Array(copy);
        }
        for (Variant& v : slot.array()->items)
            v = Variant();
        return;
    }
    slot = Variant();
}

Flow Interpreter::ExecWith(const WithStmt& s) {
    Variant object;
    try {
        object = Eval(*s.object).Deref();
        if (!object.IsObject()) Raise(err::kObjectRequired);
    } catch (RuntimeError& e) {
        // Resumed: the body runs, and each use of the missing object fails in turn.
        CatchInStatement(e, s);
        object = Variant();
    }
    Variant& holder = VariableOf(static_cast<const NameExpr&>(*s.holder));
    holder = std::move(object);
    const Flow f = ExecBlock(s.body);
    VariableOf(static_cast<const NameExpr&>(*s.holder)) = Variant();
    return f;
}

} // namespace tess::vbs
