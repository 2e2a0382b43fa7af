// The host's view of the interpreter: named objects, running procedures by name, error
// positions, the time budget and the limits.

#include "base/text.h"
#include "vbscript/engine.h"
#include "vbscript/errors.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace tess::vbs {
namespace {

// A host object with a property, a method and a way back into the engine.
class Station final : public Object {
public:
    std::string_view ClassName() const override { return "Station"; }
    int FindMember(std::string_view name) const override {
        if (EqualsIgnoreCase(name, "Temperature")) return 0;
        if (EqualsIgnoreCase(name, "Log")) return 1;
        if (EqualsIgnoreCase(name, "TryReset")) return 2;
        return -1;
    }
    int Invoke(int id, InvokeKind kind, std::span<Variant> args, Variant& result) override {
        switch (id) {
        case 0:
            if (kind == InvokeKind::Let)
                temperature = args.back();
            else
                result = temperature;
            return 0;
        case 1:
            if (args.size() != 1) return err::kWrongArguments;
            log.push_back(args[0].IsString() ? args[0].text() : "?");
            return 0;
        case 2:
            result = Variant::Boolean(engine->Reset());
            return 0;
        }
        return err::kNoSuchMember;
    }
    int DefaultMember() const override { return 0; }
    const void* MemberTableKey() const override { return this; }

    Variant temperature = Variant::Integer(20);
    std::vector<std::string> log;
    Engine* engine = nullptr;
};

struct Capture final : ScriptUI {
    int MsgBox(const std::string& text, int, const std::string&) override {
        shown.push_back(text);
        return 1;
    }
    std::string InputBox(const std::string&, const std::string&, const std::string& d) override {
        return d;
    }
    std::vector<std::string> shown;
};

TEST(Engine, NamedObjectMembersAreUsableWithAndWithoutTheName) {
    Engine engine;
    auto* station = new Station;
    station->engine = &engine;
    Variant keep = Variant::Object(station);
    engine.AddNamedObject("Tessarolle", station, true);
    ASSERT_TRUE(engine.AddCode("Temperature = Temperature + 1\n"
                               "Log \"plain\"\n"
                               "Tessarolle.Log \"named \" & Tessarolle.Temperature\n"
                               "Sub Interval\n  Log \"tick\" & Tessarolle\nEnd Sub\n"))
        << engine.LastError().description;
    ASSERT_TRUE(engine.Run("INTERVAL", {}));
    EXPECT_EQ(station->log, (std::vector<std::string>{"plain", "named 21", "tick21"}));
    // A reset while the script is running is refused; afterwards it forgets everything.
    engine.AddCode("Function Inside : Inside = TryReset : End Function");
    Variant inside;
    ASSERT_TRUE(engine.Run("Inside", {}, &inside));
    EXPECT_EQ(inside.whole(), 0);
    EXPECT_TRUE(engine.Reset());
    EXPECT_FALSE(engine.HasProcedure("Interval"));
    EXPECT_TRUE(engine.Procedures().empty());
}

TEST(Engine, RunsProceduresByNameWithArgumentsAndListsThem) {
    Engine engine;
    ASSERT_TRUE(engine.AddCode("Function Add(a, b)\n Add = a + b\nEnd Function\n"
                               "Sub textUpdate(canvas, index)\nEnd Sub\nDim x\n"));
    Variant result;
    const Variant args[] = {Variant::Integer(2), Variant::Double(0.5)};
    ASSERT_TRUE(engine.Run("add", args, &result));
    EXPECT_EQ(result.real(), 2.5);
    EXPECT_FALSE(engine.Run("Add", std::span(args, 1)));
    EXPECT_EQ(engine.LastError().number, err::kWrongArguments);
    EXPECT_FALSE(engine.Run("Missing", {}));
    EXPECT_EQ(engine.Procedures(), (std::vector<std::string>{"Add", "textUpdate"}));
}

TEST(Engine, CompileErrorsCarryNumberLineAndColumn) {
    struct Case {
        const char* source;
        int number, line, column;
    };
    const Case cases[] = {
        {"x = 1\n  y = \n", err::kExpectedExpression, 2, 7},
        {"MsgBox \"open", err::kUnterminatedString, 1, 8},
        {"Dim 5", err::kExpectedIdentifier, 1, 5},
        {"For i = 1 10\nNext", err::kExpectedTo, 1, 11},
        {"x = 1 @ 2", err::kInvalidCharacter, 1, 7},
        {"If x Then\nx = 1\n", err::kExpectedEnd, 3, 1},
        {"Sub A\nEnd Function", err::kExpectedSub, 2, 5},
        {"x = 1 2", err::kExpectedEndOfStatement, 1, 7},
        {"Loop", err::kExpectedStatement, 1, 1},
        {"Exit Foo", err::kInvalidExit, 1, 6},
        {"Do\nLoop Forever", err::kExpectedEndOfStatement, 2, 6},
        {"Foo(1, 2)", err::kCantUseParens, 1, 10},
        {"x = 1\nobj.Run (a, b)\n", err::kCantUseParens, 2, 15},
        {"If x Then Foo(, 2) Else y = 1", err::kCantUseParens, 1, 20},
    };
    for (const Case& c : cases) {
        Engine engine;
        EXPECT_FALSE(engine.AddCode(c.source)) << c.source;
        const ScriptError& e = engine.LastError();
        EXPECT_TRUE(e.compile);
        EXPECT_EQ(e.number, c.number) << c.source;
        EXPECT_EQ(e.line, c.line) << c.source;
        EXPECT_EQ(e.column, c.column) << c.source;
        EXPECT_EQ(e.description, ErrorText(c.number));
    }
}

TEST(Engine, RuntimeErrorsCarryNumberLineAndColumn) {
    Engine engine;
    EXPECT_FALSE(engine.AddCode("Sub Deep\n    Dim a(1)\n    a(2) = 0\nEnd Sub\n"
                                "Option = 1\n"));
    EXPECT_EQ(engine.LastError().number, err::kSyntax); // Option only comes first
    Engine second;
    ASSERT_TRUE(second.AddCode("Sub Deep\n    Dim a(1)\n    a(2) = 0\nEnd Sub\n"));
    EXPECT_FALSE(second.Run("Deep", {}));
    EXPECT_EQ(second.LastError().number, err::kSubscript);
    EXPECT_EQ(second.LastError().line, 3);
    EXPECT_EQ(second.LastError().column, 5);
    EXPECT_FALSE(second.LastError().compile);
    Engine third;
    EXPECT_FALSE(third.AddCode("Option Explicit\nDim a\na = b\n"));
    EXPECT_EQ(third.LastError().number, err::kUndefinedVariable);
    EXPECT_EQ(third.LastError().line, 3);
    // A failed ElseIf or Loop Until reports its own line, not the line the block starts on.
    Engine fourth;
    EXPECT_FALSE(
        fourth.AddCode("x = 1\nIf x = 2 Then\n  x = 3\nElseIf 1 / 0 Then\n  x = 4\nEnd If\n"));
    EXPECT_EQ(fourth.LastError().number, err::kDivisionByZero);
    EXPECT_EQ(fourth.LastError().line, 4);
    Engine fifth;
    EXPECT_FALSE(fifth.AddCode("Do\n  x = x + 1\nLoop Until x / 0\n"));
    EXPECT_EQ(fifth.LastError().line, 3);
}

TEST(Engine, TimeBudgetEndsEndlessLoopsEvenUnderResumeNext) {
    Engine engine;
    engine.SetTimeBudget(std::chrono::milliseconds(100));
    ASSERT_TRUE(
        engine.AddCode("Sub Spin\n On Error Resume Next\n Do\n x = x + 1\n Loop\nEnd Sub\n"
                       "Sub Recurse\n Recurse\nEnd Sub\nFunction One : One = 1 : End Function"));
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(engine.Run("Spin", {}));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(3));
    EXPECT_EQ(engine.LastError().number, err::kTimeBudget);
    // The engine stays usable, and each call gets a fresh budget.
    Variant one;
    EXPECT_TRUE(engine.Run("One", {}, &one));
    EXPECT_EQ(one.whole(), 1);
    EXPECT_FALSE(engine.Run("Recurse", {}));
    EXPECT_EQ(engine.LastError().number, err::kOutOfStack);
}

TEST(Engine, LimitsEndInErrorsNotCrashes) {
    Engine engine;
    std::string deep = "x = " + std::string(5000, '(') + "1" + std::string(5000, ')');
    EXPECT_FALSE(engine.AddCode(deep));
    EXPECT_EQ(engine.LastError().number, err::kTooDeep);
    std::string nested;
    for (int i = 0; i < 500; ++i)
        nested += "If True Then\n";
    EXPECT_FALSE(engine.AddCode(nested));
    EXPECT_EQ(engine.LastError().number, err::kTooDeep);
    EXPECT_FALSE(engine.AddCode("s = Space(300000000)"));
    EXPECT_EQ(engine.LastError().number, err::kOutOfStringSpace);
    EXPECT_FALSE(engine.AddCode("s = String(200000000, \"x\")\ns = s & s"));
    EXPECT_EQ(engine.LastError().number, err::kOutOfStringSpace);
    EXPECT_FALSE(engine.AddCode("ReDim a(400000000)"));
    EXPECT_EQ(engine.LastError().number, err::kOutOfMemory);
    EXPECT_FALSE(engine.AddCode("Dim b(10)\nReDim b(20)"));
    EXPECT_EQ(engine.LastError().number, err::kFixedArray);
}

TEST(Engine, MsgBoxGoesThroughTheHostsInterface) {
    Engine engine;
    Capture ui;
    engine.SetUI(&ui);
    ASSERT_TRUE(engine.AddCode("MsgBox \"a\" & 1\nx = InputBox(\"q\", \"t\", \"dflt\")\nMsgBox x"));
    EXPECT_EQ(ui.shown, (std::vector<std::string>{"a1", "dflt"}));
}

} // namespace
} // namespace tess::vbs
