#pragma once
// The evaluator: walks the resolved tree. Internal to the library; hosts use Engine.

#include "vbscript/ast.h"
#include "vbscript/engine.h"
#include "vbscript/errors.h"
#include "vbscript/object.h"

#include <chrono>
#include <deque>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace tess::vbs {

class ScriptObject;
class ErrObject;

struct GlobalEntry {
    std::string name;
    Variant value;
    Procedure* proc = nullptr;
    ClassDef* cls = nullptr;
    Object* host = nullptr; // a member of a named object whose members are global
    int host_id = -1;
    bool declared = false;
};

// How a block ended.
enum class Flow { Normal, ExitDo, ExitFor, ExitProc };

struct Frame {
    Variant* locals = nullptr;
    ScriptObject* me = nullptr;
    const Procedure* proc = nullptr;
    bool resume_next = false;
};

class Interpreter {
public:
    Interpreter();
    ~Interpreter();

    // ---- set-up (engine.cpp)
    int GlobalIndex(std::string_view name);      // creates an undeclared entry when new
    int FindGlobal(std::string_view name) const; // -1 when none
    void RunTopLevel(CodeUnit& unit);
    Variant CallByName(Procedure& proc, std::span<const Variant> args);
    void BeginCall(std::chrono::milliseconds budget);
    void EndCall();
    bool Busy() const { return call_depth_ > 0 || running_; }

    // ---- evaluation (interpreter_*.cpp)
    Variant Eval(const Expr& e);
    Flow ExecBlock(const Block& block);
    Variant CallProcedure(const Procedure& proc, ScriptObject* me, const ExprList& args);
    Variant CallWithValues(const Procedure& proc, ScriptObject* me, std::span<Variant> args);
    int InvokeClassMember(ScriptObject& self, int id, InvokeKind kind, std::span<Variant> args,
                          Variant& result);
    void Terminate(ScriptObject& self);
    void Tick(); // the time budget, checked on loops and calls

    ScriptUI* ui = nullptr;
    bool option_explicit = false;
    std::deque<GlobalEntry> globals;
    std::vector<std::unique_ptr<CodeUnit>> units;
    std::vector<std::pair<std::string, Variant>> named_objects;
    std::unordered_map<std::string, Variant> constants; // lower-cased names
    std::vector<Object*> host_scopes;                   // named objects whose members are global
    bool shutting_down = false;
    bool file_access = true;
    ErrObject* err = nullptr;
    Frame* frame = nullptr;
    double rnd_seed = 0;
    double last_rnd = 0;

private:
    friend class Resolver;
    Variant EvalName(const NameExpr& e);
    bool QuickBinary(const BinaryExpr& b, Variant& out);
    [[gnu::noinline]] Variant EvalBinary(const BinaryExpr& e);
    const Variant* PlainVariable(const Expr& e) const;
    // The local variable a Quick::Local name stands for.
    Variant& LocalOf(const Expr& e) const {
        return frame->locals[static_cast<const NameExpr&>(e).index].Deref();
    }
    const Variant* PlainOperand(const Expr& e) const;
    const Variant& Operand(const Expr& e, Variant& scratch, bool in_place);
    bool QuickCondition(const Expr& e, bool& truth) const;
    [[gnu::noinline]] bool GeneralCondition(const Expr& e);
    [[gnu::noinline]] bool ResumedCondition(const Expr& e, const Stmt& s, bool on_error);
    bool LoopCondition(const DoStmt& s, bool at_top);
    Flow RunUnstartedLoop(const Block& body, int error);
    Variant EvalMember(const MemberExpr& e, InvokeKind kind);
    Variant EvalIndex(const IndexExpr& e);
    [[noreturn]] void RequireObject(const Expr& e);
    Variant EvalNew(const NewExpr& e);
    Variant& VariableOf(const NameExpr& e); // the storage a plain name stands for
    Variant IndexValue(const Variant& holder, const ExprList& args, const Expr& at);
    Variant* ElementOf(Variant& holder, const ExprList& args);
    std::vector<Variant> EvalArgs(const ExprList& args);
    Variant InvokeObject(const Variant& object, std::string_view name, const void*& cache_key,
                         int& cache_id, InvokeKind kind, std::vector<Variant>& args);

    Flow Exec(const Stmt& s);
    Flow RunBlock(const Block& block); // ExecBlock's loop, inlined into calls
    void ExecAssign(const AssignStmt& s);
    void AssignValue(const AssignStmt& s, Variant value);
    Variant AssignedValue(const Expr& e);
    Variant OperandValue(const Expr& e);
    void ExecCall(const CallStmt& s);
    Flow ExecIf(const IfStmt& s);
    const Block* ChosenBlock(const IfStmt& s); // nullptr: no branch taken
    Flow ExecSelect(const SelectStmt& s);
    bool CaseMatches(const CaseItem& item, const Variant& subject);
    Flow ExecFor(const ForStmt& s);
    Flow ExecWholeFor(const ForStmt& s, const NameExpr& var, std::int64_t end, const Variant& step);
    Flow ExecForEach(const ForEachStmt& s);
    Flow ExecDo(const DoStmt& s);
    void ExecDim(const DimStmt& s);
    void ExecErase(const EraseStmt& s);
    Flow ExecWith(const WithStmt& s);
    void Store(const Expr& target, Variant value, bool is_set);
    void CatchInStatement(RuntimeError& e, const Stmt& s);
    void CheckCallRoom(std::size_t slots_needed);
    Variant* ElementToLock(const Expr& e);
    std::vector<Variant> EvalArgsForScript(const ExprList& args, std::size_t& locked);
    // Unlocks, when it goes, the arrays locked for the arguments of one call.
    struct ElementLocks {
        explicit ElementLocks(Interpreter& in) : in(in) {}
        ElementLocks(const ElementLocks&) = delete;
        ElementLocks& operator=(const ElementLocks&) = delete;
        ~ElementLocks() {
            if (count) in.UnlockElements(count);
        }
        Interpreter& in;
        std::size_t count = 0;
    };

public:
    void LeaveCall(Variant* slots, Frame* saved); // the end of a call, however it ends
    void UnlockElements(std::size_t count);       // the last `count` arrays locked

private:
    std::unordered_map<std::string, int> global_index_;
    std::vector<Variant> stack_;
    std::vector<ArrayBox*> locked_; // arrays with an element passed ByRef
    std::size_t stack_top_ = 0;
    int call_depth_ = 0;
    bool running_ = false;
    const char* native_base_ = nullptr;
    std::chrono::steady_clock::time_point deadline_;
    std::chrono::milliseconds budget_{5000};
    int tick_ = 0;
};

// An instance of a script Class.
class ScriptObject final : public Object {
public:
    ScriptObject(Interpreter& interp, const ClassDef& cls);
    std::string_view ClassName() const override { return cls.name; }
    int FindMember(std::string_view name) const override;
    int Invoke(int id, InvokeKind kind, std::span<Variant> args, Variant& result) override;
    int DefaultMember() const override { return cls.default_member; }
    const void* MemberTableKey() const override { return &cls; }

    Interpreter& interp;
    const ClassDef& cls;
    std::vector<Variant> fields;
    bool initialized = false;

protected:
    void LastRelease() override;
};

class ErrObject final : public Object {
public:
    std::string_view ClassName() const override { return "ErrObject"; }
    int FindMember(std::string_view name) const override;
    int Invoke(int id, InvokeKind kind, std::span<Variant> args, Variant& result) override;
    int DefaultMember() const override { return 0; }
    const void* MemberTableKey() const override { return this; }
    void Set(const RuntimeError& e);
    void Clear();

    int number = 0;
    std::string description;
    std::string source;
    int line = 0;
    int column = 0;
};

// The built-in functions (builtins_*.cpp).
using BuiltinFn = Variant (*)(Interpreter& in, std::span<Variant> args);
struct Builtin {
    std::string_view name;
    int min_args;
    int max_args;
    BuiltinFn fn;
};
int FindBuiltin(std::string_view name);
Variant CreateObjectFn(Interpreter& in, std::span<Variant> args);
const Builtin& BuiltinAt(int index);

void AddLanguageConstants(std::unordered_map<std::string, Variant>& table);

// Binds every name of a freshly parsed unit to its slot.
void Resolve(Interpreter& interp, CodeUnit& unit);

} // namespace tess::vbs
