#pragma once

// Run-time failures carry where they happened (module file, procedure, line), an error
// number and a description; the event loop turns them into the error report.

#include <version>
#if defined(__cpp_lib_source_location)
#include <source_location>
#endif
#include <stdexcept>
#include <string>
#include <string_view>

namespace tess {

#if defined(__cpp_lib_source_location)
using SourceLocation = std::source_location;
#else
// Older clang with libstdc++ has no std::source_location; the builtins give the same facts.
struct SourceLocation {
    static constexpr SourceLocation current(const char* file = __builtin_FILE(),
                                            const char* function = __builtin_FUNCTION(),
                                            unsigned line = __builtin_LINE()) noexcept {
        return SourceLocation{file, function, line};
    }
    constexpr const char* file_name() const noexcept { return file_; }
    constexpr const char* function_name() const noexcept { return function_; }
    constexpr unsigned line() const noexcept { return line_; }

    const char* file_ = "";
    const char* function_ = "";
    unsigned line_ = 0;
};
#endif

// Numbers of the classic run-time errors, kept so reports read the way users know them.
enum class ErrorNumber : int {
    InvalidCall = 5,
    Overflow = 6,
    OutOfMemory = 7,
    SubscriptOutOfRange = 9,
    TypeMismatch = 13,
    FileNotFound = 53,
    DiskFull = 61,
    PermissionDenied = 70,
    PathFileAccess = 75,
    PathNotFound = 76,
};

struct ErrorSite {
    std::string module;    // source file name without folders, such as "ini.cpp"
    std::string procedure; // qualified name without namespace or arguments, "INI::SetKey"
    int line = 0;
};

ErrorSite SiteOf(const SourceLocation& where);

// Turns a compiler's function signature into "Class::Method".
std::string ShortProcedureName(std::string_view signature);

class TessError : public std::runtime_error {
public:
    TessError(int number, std::string description,
              SourceLocation where = SourceLocation::current());
    TessError(ErrorNumber number, std::string description,
              SourceLocation where = SourceLocation::current());

    int Number() const { return number_; }
    const std::string& Description() const { return description_; }
    const ErrorSite& Site() const { return site_; }

private:
    int number_;
    std::string description_;
    ErrorSite site_;
};

} // namespace tess
