// Name resolution: after parsing, every name becomes a local slot, a global entry, a field or
// member of the class being defined, or a built-in, so that running never searches by name.

#include "base/text.h"
#include "vbscript/interpreter.h"

#include <unordered_map>

namespace tess::vbs {

namespace {

class Resolver {
public:
    Resolver(Interpreter& in, CodeUnit& unit) : in_(in), unit_(unit) {}

    void Run() {
        for (Constant& c : unit_.constants)
            in_.constants[ToLowerAscii(c.name)] = c.value;
        for (auto& proc : unit_.procedures) {
            GlobalEntry& g = in_.globals[in_.GlobalIndex(proc->name)];
            g.proc = proc.get();
            g.declared = true;
        }
        for (auto& cls : unit_.classes) {
            BuildMembers(*cls);
            GlobalEntry& g = in_.globals[in_.GlobalIndex(cls->name)];
            g.cls = cls.get();
            g.declared = true;
        }
        for (const std::string& name : unit_.globals)
            in_.globals[in_.GlobalIndex(name)].declared = true;
        Walk(unit_.body);
        for (auto& proc : unit_.procedures)
            ResolveProcedure(*proc);
        for (auto& cls : unit_.classes)
            for (auto& proc : cls->procedures)
                ResolveProcedure(*proc);
    }

private:
    void BuildMembers(ClassDef& cls) {
        for (std::size_t i = 0; i < cls.fields.size(); ++i) {
            ClassMember m;
            m.name = cls.fields[i].name;
            m.field = static_cast<int>(i);
            m.is_public = cls.fields[i].is_public;
            cls.members.push_back(std::move(m));
            for (auto& b : cls.fields[i].bounds)
                WalkExpr(b);
        }
        for (auto& proc : cls.procedures) {
            if (EqualsIgnoreCase(proc->name, "class_initialize")) cls.initialize = proc.get();
            if (EqualsIgnoreCase(proc->name, "class_terminate")) cls.terminate = proc.get();
            int index = cls.FindMember(proc->name);
            if (index < 0) {
                ClassMember m;
                m.name = proc->name;
                m.is_public = proc->is_public;
                cls.members.push_back(std::move(m));
                index = static_cast<int>(cls.members.size()) - 1;
            }
            ClassMember& m = cls.members[index];
            switch (proc->kind) {
            case ProcKind::Sub:
            case ProcKind::Function:
                m.method = proc.get();
                break;
            case ProcKind::PropertyGet:
                m.get = proc.get();
                break;
            case ProcKind::PropertyLet:
                m.let = proc.get();
                break;
            case ProcKind::PropertySet:
                m.set = proc.get();
                break;
            }
            if (proc->is_public) m.is_public = true;
            if (proc->is_default) cls.default_member = index;
        }
    }

    void ResolveProcedure(Procedure& proc) {
        proc_ = &proc;
        locals_.clear();
        for (std::size_t i = 0; i < proc.locals.size(); ++i)
            locals_.emplace(ToLowerAscii(proc.locals[i]), static_cast<int>(i));
        local_constants_.clear();
        for (Constant& c : proc.constants)
            local_constants_[ToLowerAscii(c.name)] = c.value;
        Walk(proc.body);
        proc.param_count = static_cast<std::uint32_t>(proc.params.size());
        proc.slot_count = static_cast<std::uint32_t>(proc.locals.size());
        proc_ = nullptr;
    }

    // Replaces a constant's name by its value.
    bool ConstantFor(ExprPtr& slot, const std::string& key) {
        const Variant* value = nullptr;
        if (auto it = local_constants_.find(key); it != local_constants_.end())
            value = &it->second;
        else if (auto g = in_.constants.find(key); g != in_.constants.end())
            value = &g->second;
        if (!value) return false;
        auto c = std::make_unique<ConstantExpr>();
        c->line = slot->line;
        c->column = slot->column;
        c->value = *value;
        slot = std::move(c);
        return true;
    }

    void ResolveName(NameExpr& e) {
        const std::string key = ToLowerAscii(e.name);
        if (proc_) {
            // Inside a function, its name with arguments is a recursive call, without them
            // the result variable.
            const bool self_call = !e.args.empty() && EqualsIgnoreCase(e.name, proc_->name);
            if (auto it = locals_.find(key); it != locals_.end() && !self_call) {
                e.scope = Scope::Local;
                e.index = it->second;
                if (e.args.empty()) e.quick = Quick::Local;
                return;
            }
            if (proc_->owner) {
                const int m = proc_->owner->FindMember(e.name);
                if (m >= 0) {
                    const ClassMember& member = proc_->owner->members[m];
                    e.scope = member.field >= 0 ? Scope::Field : Scope::ClassMember;
                    e.index = member.field >= 0 ? member.field : m;
                    return;
                }
            }
        }
        if (auto it = global_lookup(key); it >= 0) {
            e.scope = Scope::Global;
            e.index = it;
            return;
        }
        for (Object* host : in_.host_scopes) {
            const int id = host->FindMember(e.name);
            if (id < 0) continue;
            e.scope = Scope::Global;
            e.index = in_.GlobalIndex(e.name);
            in_.globals[e.index].host = host;
            in_.globals[e.index].host_id = id;
            return;
        }
        if (const int b = FindBuiltin(e.name); b >= 0) {
            e.scope = Scope::Builtin;
            e.index = b;
            return;
        }
        if (proc_ && !unit_.option_explicit && !in_.option_explicit) {
            proc_->locals.push_back(e.name);
            const int slot = static_cast<int>(proc_->locals.size()) - 1;
            locals_.emplace(key, slot);
            e.scope = Scope::Local;
            e.index = slot;
            if (e.args.empty()) e.quick = Quick::Local;
            return;
        }
        e.scope = Scope::Global;
        e.index = in_.GlobalIndex(e.name);
    }

    int global_lookup(const std::string& key) { return in_.FindGlobal(key); }

    void WalkExpr(ExprPtr& e) {
        if (!e) return;
        switch (e->kind) {
        case ExprKind::Name: {
            auto& n = static_cast<NameExpr&>(*e);
            for (auto& a : n.args)
                WalkExpr(a);
            if (n.args.empty() && !n.parens && ConstantFor(e, ToLowerAscii(n.name))) return;
            ResolveName(n);
            // Global entries never move, so the node keeps the entry itself.
            if (n.scope == Scope::Global) n.global = &in_.globals[n.index];
            break;
        }
        case ExprKind::Member: {
            auto& m = static_cast<MemberExpr&>(*e);
            WalkExpr(m.object);
            for (auto& a : m.args)
                WalkExpr(a);
            break;
        }
        case ExprKind::Index: {
            auto& x = static_cast<IndexExpr&>(*e);
            WalkExpr(x.target);
            for (auto& a : x.args)
                WalkExpr(a);
            break;
        }
        case ExprKind::Unary:
            WalkExpr(static_cast<UnaryExpr&>(*e).operand);
            break;
        case ExprKind::Binary: {
            auto& b = static_cast<BinaryExpr&>(*e);
            WalkExpr(b.left);
            WalkExpr(b.right);
            if (b.literal == Literal::None) {
                if (b.left->kind == ExprKind::Constant)
                    b.literal = Literal::Left;
                else if (b.right->kind == ExprKind::Constant)
                    b.literal = Literal::Right;
            }
            break;
        }
        case ExprKind::New: {
            auto& n = static_cast<NewExpr&>(*e);
            n.global = in_.GlobalIndex(n.class_name);
            break;
        }
        default:
            break;
        }
    }

    void Walk(Block& block) {
        for (auto& s : block)
            WalkStmt(*s);
    }

    void WalkStmt(Stmt& s) {
        switch (s.kind) {
        case StmtKind::Assign: {
            auto& a = static_cast<AssignStmt&>(s);
            WalkExpr(a.target);
            WalkExpr(a.value);
            break;
        }
        case StmtKind::Call:
            WalkExpr(static_cast<CallStmt&>(s).call);
            break;
        case StmtKind::If: {
            auto& i = static_cast<IfStmt&>(s);
            for (auto& c : i.conditions)
                WalkExpr(c);
            for (auto& b : i.blocks)
                Walk(b);
            break;
        }
        case StmtKind::Select: {
            auto& sel = static_cast<SelectStmt&>(s);
            WalkExpr(sel.subject);
            for (auto& items : sel.cases)
                for (auto& item : items) {
                    WalkExpr(item.low);
                    WalkExpr(item.high);
                }
            for (auto& b : sel.blocks)
                Walk(b);
            break;
        }
        case StmtKind::For: {
            auto& f = static_cast<ForStmt&>(s);
            WalkExpr(f.variable);
            WalkExpr(f.from);
            WalkExpr(f.to);
            WalkExpr(f.step);
            Walk(f.body);
            break;
        }
        case StmtKind::ForEach: {
            auto& f = static_cast<ForEachStmt&>(s);
            WalkExpr(f.variable);
            WalkExpr(f.collection);
            Walk(f.body);
            break;
        }
        case StmtKind::Do: {
            auto& d = static_cast<DoStmt&>(s);
            WalkExpr(d.condition);
            Walk(d.body);
            break;
        }
        case StmtKind::Dim:
        case StmtKind::ReDim:
            for (auto& item : static_cast<DimStmt&>(s).items) {
                WalkExpr(item.target);
                for (auto& b : item.bounds)
                    WalkExpr(b);
            }
            break;
        case StmtKind::Erase:
            WalkExpr(static_cast<EraseStmt&>(s).target);
            break;
        case StmtKind::With: {
            auto& w = static_cast<WithStmt&>(s);
            WalkExpr(w.object);
            WalkExpr(w.holder);
            Walk(w.body);
            break;
        }
        default:
            break;
        }
    }

    Interpreter& in_;
    CodeUnit& unit_;
    Procedure* proc_ = nullptr;
    std::unordered_map<std::string, int> locals_;
    std::unordered_map<std::string, Variant> local_constants_;
};

} // namespace

int ClassDef::FindMember(std::string_view name) const {
    for (std::size_t i = 0; i < members.size(); ++i)
        if (EqualsIgnoreCase(members[i].name, name)) return static_cast<int>(i);
    return -1;
}

void Resolve(Interpreter& interp, CodeUnit& unit) {
    if (unit.option_explicit) interp.option_explicit = true;
    Resolver(interp, unit).Run();
}

} // namespace tess::vbs
