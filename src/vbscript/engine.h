#pragma once
// The interpreter as a host sees it: add named objects, add code, run a procedure by name,
// list the procedures, reset, and read the last error. Every call into the script runs under
// a time budget so that an endless loop ends with an error instead of freezing the program.

#include "vbscript/object.h"
#include "vbscript/variant.h"

#include <chrono>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tess::vbs {

class Interpreter;

struct ScriptError {
    int number = 0;
    std::string description;
    std::string source; // "Microsoft VBScript compilation error" or "... runtime error"
    int line = 0;       // 1-based; 0 when not known
    int column = 0;     // 1-based
    bool compile = false;
};

// What MsgBox and InputBox show through; the host plugs in its user interface.
class ScriptUI {
public:
    virtual ~ScriptUI() = default;
    virtual int MsgBox(const std::string& text, int buttons, const std::string& title) = 0;
    virtual std::string InputBox(const std::string& prompt, const std::string& title,
                                 const std::string& default_text) = 0;
};

class Engine {
public:
    Engine();
    ~Engine();
    Engine(const Engine&) = delete;
    Engine& operator=(const Engine&) = delete;

    static constexpr std::chrono::milliseconds kDefaultTimeBudget{5000};
    void SetTimeBudget(std::chrono::milliseconds budget);
    void SetUI(ScriptUI* ui);
    // Off: CreateObject("Scripting.FileSystemObject") fails with error 429, for scripts
    // that must not touch files (the fuzzer's). On by default.
    void SetFileAccess(bool allowed);

    // The object becomes a global name; with `members_global` its members are usable without
    // the name too. The engine holds a reference while it has the object.
    void AddNamedObject(std::string_view name, Object* object, bool members_global);
    // Compiles the text and runs its top-level statements. False on a compile or run-time
    // error, which LastError() describes.
    bool AddCode(std::string_view source);
    // Runs a Sub or Function by name (without regard to case).
    bool Run(std::string_view procedure, std::span<const Variant> args, Variant* result = nullptr);
    bool HasProcedure(std::string_view procedure) const;
    // A procedure looked up once (-1 when there is none), for hosts that call it often.
    int FindProcedure(std::string_view procedure) const;
    bool Call(int procedure, std::span<const Variant> args, Variant* result = nullptr);
    // The Subs and Functions defined at the top level, as written.
    std::vector<std::string> Procedures() const;
    // Forgets all code, variables and named objects. False (and nothing happens) while a
    // call into the script is running.
    bool Reset();
    bool Running() const;
    const ScriptError& LastError() const { return error_; }

private:
    std::unique_ptr<Interpreter> interp_;
    ScriptError error_;
    std::chrono::milliseconds budget_ = kDefaultTimeBudget;
};

} // namespace tess::vbs
