#include "app/script_command.h"

#include "vbscript/engine.h"

#include <fstream>
#include <iostream>
#include <memory>
#include <sstream>

#include <CLI/CLI.hpp>

namespace tess {

namespace {

constexpr int kExitScriptError = 1;
constexpr int kExitBadInput = 2;

// Run from the command line, MsgBox prints and InputBox reads nothing (it gives its default).
class StreamScriptUI final : public vbs::ScriptUI {
public:
    explicit StreamScriptUI(std::ostream& out) : out_(out) {}
    int MsgBox(const std::string& text, int, const std::string&) override {
        out_ << text << '\n';
        out_.flush();
        return 1; // OK
    }
    std::string InputBox(const std::string&, const std::string&,
                         const std::string& default_text) override {
        return default_text;
    }

private:
    std::ostream& out_;
};

int Report(const std::string& file, const vbs::ScriptError& e, std::ostream& err) {
    err << file << ": " << e.source << " " << e.number << " at line " << e.line << ", column "
        << e.column << ": " << e.description << "\n";
    return kExitScriptError;
}

} // namespace

int RunScriptCommand(const ScriptRequest& request, std::ostream& out, std::ostream& err) {
    std::ifstream in(request.file, std::ios::binary);
    if (!in) {
        err << request.file << ": cannot open the script file\n";
        return kExitBadInput;
    }
    std::stringstream text;
    text << in.rdbuf();
    StreamScriptUI ui(out);
    vbs::Engine engine;
    engine.SetUI(&ui);
    engine.SetTimeBudget(std::chrono::milliseconds(static_cast<long>(request.timeout * 1000)));
    if (!engine.AddCode(text.str())) return Report(request.file, engine.LastError(), err);
    if (request.call.empty()) return 0;
    std::vector<vbs::Variant> args;
    for (std::size_t i = 1; i < request.call.size(); ++i)
        args.push_back(vbs::Variant::String(request.call[i]));
    if (!engine.Run(request.call[0], args)) return Report(request.file, engine.LastError(), err);
    return 0;
}

void AddScriptCommand(CLI::App& cli, int& status) {
    auto request = std::make_shared<ScriptRequest>();
    CLI::App* script = cli.add_subcommand(
        "script", "Run a VBScript file: MsgBox prints to standard output (see README.md)");
    script->add_option("file", request->file, "The script file")->required();
    script
        ->add_option("--call", request->call,
                     "After loading, run this Sub or Function with these string arguments")
        ->expected(1, -1);
    script
        ->add_option("--timeout", request->timeout,
                     "Seconds each call into the script may run (default 5)")
        ->check(CLI::Range(0.001, 86400.0));
    script->callback(
        [request, &status] { status = RunScriptCommand(*request, std::cout, std::cerr); });
}

} // namespace tess
