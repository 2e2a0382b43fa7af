#include "base/error.h"

namespace tess {

std::string ShortProcedureName(std::string_view signature) {
    // "void tess::INI::SetKey(std::string_view, ...)" -> "INI::SetKey"
    std::size_t open = signature.find('(');
    std::string_view head = signature.substr(0, open);
    if (head.ends_with("operator")) {
        open = signature.find('(', open + 2);
        head = signature.substr(0, open);
    }
    int depth = 0;
    std::size_t start = 0;
    for (std::size_t i = 0; i < head.size(); ++i) {
        char c = head[i];
        if (c == '<') ++depth;
        if (c == '>') --depth;
        if (c == ' ' && depth == 0) start = i + 1;
    }
    head = head.substr(start);
    while (head.starts_with("tess::"))
        head.remove_prefix(6);
    return std::string(head);
}

ErrorSite SiteOf(const SourceLocation& where) {
    std::string_view file = where.file_name();
    std::size_t slash = file.find_last_of('/');
    if (slash != std::string_view::npos) file.remove_prefix(slash + 1);
    return ErrorSite{std::string(file), ShortProcedureName(where.function_name()),
                     static_cast<int>(where.line())};
}

TessError::TessError(int number, std::string description, SourceLocation where)
    : std::runtime_error(description), number_(number), description_(std::move(description)),
      site_(SiteOf(where)) {}

TessError::TessError(ErrorNumber number, std::string description, SourceLocation where)
    : TessError(static_cast<int>(number), std::move(description), where) {}

} // namespace tess
