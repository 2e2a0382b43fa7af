// Instances of script classes and the Err object, both on the host-object interface.

#include "base/text.h"
#include "vbscript/array_box.h"
#include "vbscript/coerce.h"
#include "vbscript/interpreter.h"

namespace tess::vbs {

ScriptObject::ScriptObject(Interpreter& interp, const ClassDef& cls)
    : interp(interp), cls(cls), fields(cls.fields.size()) {}

int ScriptObject::FindMember(std::string_view name) const {
    const int id = cls.FindMember(name);
    if (id < 0 || !cls.members[id].is_public) return -1;
    return id;
}

int ScriptObject::Invoke(int id, InvokeKind kind, std::span<Variant> args, Variant& result) {
    return interp.InvokeClassMember(*this, id, kind, args, result);
}

void ScriptObject::LastRelease() {
    if (initialized && cls.terminate && !interp.shutting_down) {
        refs_ = 1; // keep Me alive while Class_Terminate runs
        interp.Terminate(*this);
    }
    delete this;
}

void Interpreter::Terminate(ScriptObject& self) {
    const bool outer = !running_;
    if (outer) BeginCall(budget_);
    try {
        std::vector<Variant> none;
        CallWithValues(*self.cls.terminate, &self, none);
    } catch (RuntimeError&) {
        // An error in Class_Terminate has no caller to go to.
    }
    if (outer) EndCall();
}

int Interpreter::InvokeClassMember(ScriptObject& self, int id, InvokeKind kind,
                                   std::span<Variant> args, Variant& result) {
    if (id < 0 || id >= static_cast<int>(self.cls.members.size())) return err::kNoSuchMember;
    const ClassMember& m = self.cls.members[id];
    if (m.field >= 0) {
        Variant& field = self.fields[m.field];
        const bool storing = kind == InvokeKind::Let || kind == InvokeKind::Set;
        const std::size_t subscripts = storing ? args.size() - 1 : args.size();
        if (subscripts == 0) {
            if (storing)
                field = args.back().Deref();
            else
                result = field;
            return 0;
        }
        if (!field.IsArray()) return err::kTypeMismatch;
        std::vector<long> subs;
        for (std::size_t i = 0; i < subscripts; ++i)
            subs.push_back(ToLong(args[i]));
        if (storing && field.array()->Refs() > 1) field = Variant::Array(field.array()->Clone());
        const long offset = field.array()->Offset(subs.data(), subs.size());
        if (offset < 0) return err::kSubscript;
        Variant& element = field.array()->items[static_cast<std::size_t>(offset)];
        if (storing)
            element = args.back().Deref();
        else
            result = element;
        return 0;
    }
    const Procedure* proc = nullptr;
    if (kind == InvokeKind::Let)
        proc = m.let ? m.let : m.set;
    else if (kind == InvokeKind::Set)
        proc = m.set ? m.set : m.let;
    else
        proc = m.get ? m.get : m.method;
    if (!proc)
        return kind == InvokeKind::Let || kind == InvokeKind::Set ? err::kNotAssignable
                                                                  : err::kNoSuchMember;
    result = CallWithValues(*proc, &self, args);
    return 0;
}

// ---- Err

namespace {
constexpr std::string_view kErrMembers[] = {"number", "description", "source",     "raise",
                                            "clear",  "helpfile",    "helpcontext"};
}

int ErrObject::FindMember(std::string_view name) const {
    for (std::size_t i = 0; i < std::size(kErrMembers); ++i)
        if (EqualsIgnoreCase(kErrMembers[i], name)) return static_cast<int>(i);
    return -1;
}

void ErrObject::Set(const RuntimeError& e) {
    number = e.number;
    description = e.description;
    source = e.source.empty() ? "Microsoft VBScript runtime error" : e.source;
    line = e.line;
    column = e.column;
}

void ErrObject::Clear() {
    number = 0;
    description.clear();
    source.clear();
    line = column = 0;
}

int ErrObject::Invoke(int id, InvokeKind kind, std::span<Variant> args, Variant& result) {
    const bool storing = kind == InvokeKind::Let || kind == InvokeKind::Set;
    switch (id) {
    case 0:
        if (storing) {
            number = ToLong(args.back());
            if (description.empty()) description = std::string(ErrorText(number));
        } else {
            result = Variant::Long(number);
        }
        return 0;
    case 1:
        if (storing)
            description = ToString(args.back());
        else
            result = Variant::String(description);
        return 0;
    case 2:
        if (storing)
            source = ToString(args.back());
        else
            result = Variant::String(source);
        return 0;
    case 3: {
        // Raise number [, source [, description]]
        if (args.empty() || args.size() > 5) return err::kWrongArguments;
        RuntimeError e;
        e.number = ToLong(args[0]);
        if (e.number == 0) return err::kIllegalCall;
        e.source = args.size() > 1 && !args[1].IsEmpty() ? ToString(args[1]) : std::string();
        e.description = args.size() > 2 && !args[2].IsEmpty() ? ToString(args[2])
                                                              : std::string(ErrorText(e.number));
        throw e;
    }
    case 4:
        Clear();
        return 0;
    case 5:
        result = Variant::String("");
        return 0;
    case 6:
        result = Variant::Long(0);
        return 0;
    default:
        return err::kNoSuchMember;
    }
}

} // namespace tess::vbs
