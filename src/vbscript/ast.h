#pragma once
// The tree the parser builds and the evaluator walks. Every name is resolved to a slot
// before the code first runs (a local, a global, a field of `Me`, a built-in), so running
// the tree never looks a name up by its text; member names on objects are looked up once
// per object kind and cached in the node.

#include "vbscript/operators.h"
#include "vbscript/variant.h"

#include <memory>
#include <string>
#include <vector>

namespace tess::vbs {

struct ClassDef;
struct GlobalEntry;
struct Procedure;

struct Constant {
    std::string name;
    Variant value;
};

enum class ExprKind : std::uint8_t { Constant, Name, Member, Index, Unary, Binary, New, Me };

// Operands the evaluator reads in place without running code: a constant, or a local
// variable named without arguments. Set when the node is made or its name resolved.
enum class Quick : std::uint8_t { None, Constant, Local };

struct Expr {
    explicit Expr(ExprKind k) : kind(k) {}
    virtual ~Expr() = default;
    ExprKind kind;
    Quick quick = Quick::None;
    int line = 0;
    int column = 0;
};
using ExprPtr = std::unique_ptr<Expr>;
using ExprList = std::vector<ExprPtr>;

struct ConstantExpr : Expr {
    ConstantExpr() : Expr(ExprKind::Constant) { quick = Quick::Constant; }
    Variant value;
};

enum class Scope : std::uint8_t { Unresolved, Local, Global, Field, Builtin, ClassMember };

struct NameExpr : Expr {
    NameExpr() : Expr(ExprKind::Name) {}
    std::string name;
    ExprList args;
    bool parens = false; // written with "(...)", even empty
    Scope scope = Scope::Unresolved;
    int index = 0;
    GlobalEntry* global = nullptr; // the entry of a Global name
};

struct MemberExpr : Expr {
    MemberExpr() : Expr(ExprKind::Member) {}
    ExprPtr object; // for ".name" inside With, the hidden variable holding its object
    std::string name;
    ExprList args;
    bool parens = false;
    // The id `name` had on the last object kind seen here.
    const void* cache_key = nullptr;
    int cache_id = -1;
};

// expr(args) where expr is not a plain name or member.
struct IndexExpr : Expr {
    IndexExpr() : Expr(ExprKind::Index) {}
    ExprPtr target;
    ExprList args;
};

enum class UnaryOp { Negate, Plus, Not };

struct UnaryExpr : Expr {
    UnaryExpr() : Expr(ExprKind::Unary) {}
    UnaryOp op = UnaryOp::Negate;
    ExprPtr operand;
};

struct BinaryExpr : Expr {
    BinaryExpr() : Expr(ExprKind::Binary) {}
    BinaryOp op = BinaryOp::Add;
    Literal literal = Literal::None;
    ExprPtr left;
    ExprPtr right;
};

struct NewExpr : Expr {
    NewExpr() : Expr(ExprKind::New) {}
    std::string class_name;
    int global = -1; // the global entry that holds the class
};

struct MeExpr : Expr {
    MeExpr() : Expr(ExprKind::Me) {}
};

enum class StmtKind {
    Assign,
    Call,
    If,
    Select,
    For,
    ForEach,
    Do,
    Exit,
    Dim,
    ReDim,
    Erase,
    OnError,
    With,
};

struct Stmt {
    explicit Stmt(StmtKind k) : kind(k) {}
    virtual ~Stmt() = default;
    StmtKind kind;
    int line = 0;
    int column = 0;
};
using StmtPtr = std::unique_ptr<Stmt>;
using Block = std::vector<StmtPtr>;

struct AssignStmt : Stmt {
    AssignStmt() : Stmt(StmtKind::Assign) {}
    ExprPtr target;
    ExprPtr value;
    bool is_set = false;
};

struct CallStmt : Stmt {
    CallStmt() : Stmt(StmtKind::Call) {}
    ExprPtr call;
};

struct IfStmt : Stmt {
    IfStmt() : Stmt(StmtKind::If) {}
    std::vector<ExprPtr> conditions;
    std::vector<Block> blocks; // one per condition, then the Else block when present
};

struct CaseItem {
    ExprPtr low;
    ExprPtr high;                     // "low To high"
    BinaryOp is_op = BinaryOp::Equal; // "Is < x"
};

struct SelectStmt : Stmt {
    SelectStmt() : Stmt(StmtKind::Select) {}
    ExprPtr subject;
    std::vector<std::vector<CaseItem>> cases;
    std::vector<Block> blocks;
    bool has_else = false; // the last block belongs to Case Else
};

struct ForStmt : Stmt {
    ForStmt() : Stmt(StmtKind::For) {}
    ExprPtr variable;
    ExprPtr from;
    ExprPtr to;
    ExprPtr step;
    Block body;
};

struct ForEachStmt : Stmt {
    ForEachStmt() : Stmt(StmtKind::ForEach) {}
    ExprPtr variable;
    ExprPtr collection;
    Block body;
};

struct DoStmt : Stmt {
    DoStmt() : Stmt(StmtKind::Do) {}
    ExprPtr condition; // null: loops until Exit Do
    bool test_first = true;
    bool until = false;
    Block body;
};

enum class ExitKind { Do, For, Sub, Function, Property };

struct ExitStmt : Stmt {
    ExitStmt() : Stmt(StmtKind::Exit) {}
    ExitKind which = ExitKind::Do;
};

struct DimItem {
    ExprPtr target; // a NameExpr
    ExprList bounds;
};

struct DimStmt : Stmt {
    explicit DimStmt(StmtKind k = StmtKind::Dim) : Stmt(k) {}
    std::vector<DimItem> items;
    bool preserve = false; // ReDim Preserve
};

struct EraseStmt : Stmt {
    EraseStmt() : Stmt(StmtKind::Erase) {}
    ExprPtr target;
};

struct OnErrorStmt : Stmt {
    OnErrorStmt() : Stmt(StmtKind::OnError) {}
    bool resume_next = false;
};

struct WithStmt : Stmt {
    WithStmt() : Stmt(StmtKind::With) {}
    ExprPtr object;
    ExprPtr holder; // the hidden variable that holds the object
    Block body;
};

enum class ProcKind { Sub, Function, PropertyGet, PropertyLet, PropertySet };

struct Param {
    std::string name;
    bool by_val = false;
};

struct Procedure {
    std::string name;
    ProcKind kind = ProcKind::Sub;
    std::vector<Param> params;
    std::vector<std::string> locals; // params first, then the result, then Dim'd names
    std::vector<struct Constant> constants;
    Block body;
    ClassDef* owner = nullptr;
    bool is_public = true;
    bool is_default = false;
    int line = 0;
    int column = 0;
    // Counted once names are resolved, so that a call does not recount them.
    std::uint32_t param_count = 0;
    std::uint32_t slot_count = 0;
    int ResultSlot() const { return static_cast<int>(param_count); }
    int SlotCount() const { return static_cast<int>(slot_count); }
};

struct Field {
    std::string name;
    bool is_public = true;
    ExprList bounds; // "Dim a(3)" inside a class makes an array field
    bool array = false;
};

// What a member name of a class stands for.
struct ClassMember {
    std::string name;
    int field = -1;
    Procedure* method = nullptr; // Sub or Function
    Procedure* get = nullptr;
    Procedure* let = nullptr;
    Procedure* set = nullptr;
    bool is_public = true;
};

struct ClassDef {
    std::string name;
    std::vector<Field> fields;
    std::vector<std::unique_ptr<Procedure>> procedures;
    std::vector<ClassMember> members;
    int default_member = -1;
    Procedure* initialize = nullptr;
    Procedure* terminate = nullptr;
    int FindMember(std::string_view name) const;
};

// One piece of code added to the engine.
struct CodeUnit {
    Block body;
    std::vector<std::unique_ptr<Procedure>> procedures;
    std::vector<std::unique_ptr<ClassDef>> classes;
    std::vector<std::string> globals; // Dim'd at the top level
    std::vector<Constant> constants;
    bool option_explicit = false;
    int top_slots = 0; // With slots of the top-level code
};

} // namespace tess::vbs
