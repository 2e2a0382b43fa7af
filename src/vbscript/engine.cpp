#include "vbscript/engine.h"

#include "base/text.h"
#include "vbscript/interpreter.h"
#include "vbscript/parser.h"

namespace tess::vbs {

namespace {
constexpr std::string_view kCompileSource = "Microsoft VBScript compilation error";
constexpr std::string_view kRuntimeSource = "Microsoft VBScript runtime error";

ScriptError FromRuntime(const RuntimeError& e) {
    return {e.number, e.description, e.source.empty() ? std::string(kRuntimeSource) : e.source,
            e.line,   e.column,      false};
}
} // namespace

Engine::Engine() : interp_(std::make_unique<Interpreter>()) {}
Engine::~Engine() = default;

void Engine::SetTimeBudget(std::chrono::milliseconds budget) {
    budget_ = budget;
}

void Engine::SetFileAccess(bool allowed) {
    interp_->file_access = allowed;
}

void Engine::SetUI(ScriptUI* ui) {
    interp_->ui = ui;
}

bool Engine::Running() const {
    return interp_->Busy();
}

void Engine::AddNamedObject(std::string_view name, Object* object, bool members_global) {
    Interpreter& in = *interp_;
    in.named_objects.emplace_back(std::string(name), Variant::Object(object));
    GlobalEntry& g = in.globals[in.GlobalIndex(name)];
    g.value = Variant::Object(object);
    g.declared = true;
    if (!members_global || !object) return;
    // Members are found once here; names a script declares itself win over them.
    for (GlobalEntry& entry : in.globals) {
        if (entry.declared || entry.proc || entry.cls) continue;
        const int id = object->FindMember(entry.name);
        if (id >= 0) {
            entry.host = object;
            entry.host_id = id;
        }
    }
    in.host_scopes.push_back(object);
}

bool Engine::AddCode(std::string_view source) {
    Interpreter& in = *interp_;
    error_ = {};
    auto unit = std::make_unique<CodeUnit>();
    CompileError ce;
    if (!Parse(source, *unit, ce)) {
        error_ = {ce.number,
                  std::string(ErrorText(ce.number)),
                  std::string(kCompileSource),
                  ce.line,
                  ce.column,
                  true};
        return false;
    }
    Resolve(in, *unit);
    CodeUnit& code = *unit;
    in.units.push_back(std::move(unit));
    in.BeginCall(budget_);
    bool ok = true;
    try {
        in.RunTopLevel(code);
    } catch (RuntimeError& e) {
        error_ = FromRuntime(e);
        ok = false;
    }
    in.EndCall();
    return ok;
}

bool Engine::HasProcedure(std::string_view procedure) const {
    const int index = interp_->FindGlobal(procedure);
    return index >= 0 && interp_->globals[index].proc != nullptr;
}

std::vector<std::string> Engine::Procedures() const {
    std::vector<std::string> names;
    for (const auto& unit : interp_->units)
        for (const auto& proc : unit->procedures)
            names.push_back(proc->name);
    return names;
}

int Engine::FindProcedure(std::string_view procedure) const {
    const int index = interp_->FindGlobal(procedure);
    return index >= 0 && interp_->globals[index].proc ? index : -1;
}

bool Engine::Run(std::string_view procedure, std::span<const Variant> args, Variant* result) {
    const int index = FindProcedure(procedure);
    if (index < 0) {
        error_ = {35,
                  "Sub or Function not defined: '" + std::string(procedure) + "'",
                  std::string(kRuntimeSource),
                  0,
                  0,
                  false};
        return false;
    }
    return Call(index, args, result);
}

bool Engine::Call(int procedure, std::span<const Variant> args, Variant* result) {
    Interpreter& in = *interp_;
    error_ = {};
    if (procedure < 0 || procedure >= static_cast<int>(in.globals.size()) ||
        !in.globals[procedure].proc) {
        error_ = {35, std::string(ErrorText(35)), std::string(kRuntimeSource), 0, 0, false};
        return false;
    }
    Variant values[2];
    std::vector<Variant> many;
    std::span<Variant> passed;
    if (args.size() <= 2) {
        for (std::size_t i = 0; i < args.size(); ++i)
            values[i] = args[i];
        passed = std::span<Variant>(values, args.size());
    } else {
        many.assign(args.begin(), args.end());
        passed = many;
    }
    const bool outer = !in.Busy();
    if (outer) in.BeginCall(budget_);
    bool ok = true;
    try {
        Variant r = in.CallWithValues(*in.globals[procedure].proc, nullptr, passed);
        if (result) *result = std::move(r);
    } catch (RuntimeError& e) {
        error_ = FromRuntime(e);
        ok = false;
    }
    if (outer) in.EndCall();
    return ok;
}

bool Engine::Reset() {
    if (interp_->Busy()) return false;
    ScriptUI* ui = interp_->ui;
    const bool file_access = interp_->file_access;
    interp_ = std::make_unique<Interpreter>();
    interp_->ui = ui;
    interp_->file_access = file_access;
    error_ = {};
    return true;
}

} // namespace tess::vbs
