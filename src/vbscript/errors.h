#pragma once
// VBScript's error numbers and their texts, compile-time and run-time, and the exception the
// evaluator uses inside itself to unwind a failing statement. Nothing outside the interpreter
// sees the exception: the engine turns it into a ScriptError value.

#include <string>
#include <string_view>

namespace tess::vbs {

namespace err {
inline constexpr int kIllegalCall = 5;
inline constexpr int kOverflow = 6;
inline constexpr int kOutOfMemory = 7;
inline constexpr int kSubscript = 9;
inline constexpr int kFixedArray = 10;
inline constexpr int kDivisionByZero = 11;
inline constexpr int kTypeMismatch = 13;
inline constexpr int kOutOfStringSpace = 14;
inline constexpr int kOutOfStack = 28;
inline constexpr int kBadFileName = 52;
inline constexpr int kFileNotFound = 53;
inline constexpr int kBadFileMode = 54;
inline constexpr int kFileExists = 58;
inline constexpr int kInputPastEnd = 62;
inline constexpr int kPermissionDenied = 70;
inline constexpr int kPathNotFound = 76;
inline constexpr int kObjectRequired = 424;
inline constexpr int kCantCreateObject = 429;
inline constexpr int kNoSuchMember = 438;
inline constexpr int kWrongArguments = 450;
inline constexpr int kKeyExists = 457;
inline constexpr int kUndefinedVariable = 500;
inline constexpr int kNotAssignable = 501;
inline constexpr int kNotEnumerable = 451;
inline constexpr int kUnsafeObject = 429;
inline constexpr int kObjectVariableNotSet = 91;
inline constexpr int kInvalidUseOfNull = 94;
inline constexpr int kInvalidUseOfMe = 505;
inline constexpr int kTypeMismatchNamed = 13;
inline constexpr int kElementNotFound = 32811;
inline constexpr int kForLoopNotInitialized = 92;
inline constexpr int kInvalidProcedureCall = 5;
// Our own: a call into the script ran past its time budget. No VBScript number exists for
// it; the value lies outside every range the language uses so a script cannot mistake it.
inline constexpr int kTimeBudget = 65001;

// Compile errors.
inline constexpr int kSyntax = 1002;
inline constexpr int kExpectedColon = 1003;
inline constexpr int kExpectedOpenParen = 1005;
inline constexpr int kExpectedCloseParen = 1006;
inline constexpr int kExpectedIdentifier = 1010;
inline constexpr int kExpectedEquals = 1011;
inline constexpr int kExpectedIf = 1012;
inline constexpr int kExpectedTo = 1013;
inline constexpr int kExpectedEnd = 1014;
inline constexpr int kExpectedFunction = 1015;
inline constexpr int kExpectedSub = 1016;
inline constexpr int kExpectedThen = 1017;
inline constexpr int kExpectedWend = 1018;
inline constexpr int kExpectedLoop = 1019;
inline constexpr int kExpectedNext = 1020;
inline constexpr int kExpectedCase = 1021;
inline constexpr int kExpectedSelect = 1022;
inline constexpr int kExpectedExpression = 1023;
inline constexpr int kExpectedStatement = 1024;
inline constexpr int kExpectedEndOfStatement = 1025;
inline constexpr int kExpectedInteger = 1026;
inline constexpr int kExpectedWhileOrUntil = 1028;
inline constexpr int kUnterminatedString = 1033;
inline constexpr int kInvalidNumber = 1031;
inline constexpr int kInvalidCharacter = 1032;
inline constexpr int kInvalidExit = 1039;
inline constexpr int kInvalidForControl = 1040;
inline constexpr int kNameRedefined = 1041;
inline constexpr int kMustBeFirst = 1042;
inline constexpr int kCantAssignToNonByVal = 1043;
inline constexpr int kCantUseParens = 1044;
inline constexpr int kExpectedLiteral = 1045;
inline constexpr int kExpectedIn = 1046;
inline constexpr int kExpectedClass = 1047;
inline constexpr int kMustBeInClass = 1048;
inline constexpr int kExpectedLetSetGet = 1049;
inline constexpr int kExpectedProperty = 1050;
inline constexpr int kInconsistentArgs = 1051;
inline constexpr int kCannotHaveMultipleDefault = 1052;
inline constexpr int kClassInitNoArgs = 1053;
inline constexpr int kPropertyLetSetNeedsArg = 1054;
inline constexpr int kUnexpectedNext = 1055;
inline constexpr int kExpectedWith = 1057;
inline constexpr int kInvalidCharacterInDate = 1058;
// Our own limits, reported with the compile errors.
inline constexpr int kTooDeep = 1099;
} // namespace err

// The value an omitted argument has (the automation "parameter not found" code).
inline constexpr int kMissingArgument = static_cast<int>(0x80020004u);

// The text VBScript gives an error number; "Unknown runtime error" for numbers it lacks.
std::string_view ErrorText(int number);

// The evaluator's internal unwinding; `line`/`column` are filled in by the statement that
// catches it when still zero.
struct RuntimeError {
    int number = 0;
    std::string description;
    std::string source;
    int line = 0;
    int column = 0;
};

[[noreturn]] void Raise(int number);
[[noreturn]] void Raise(int number, std::string description);

} // namespace tess::vbs
