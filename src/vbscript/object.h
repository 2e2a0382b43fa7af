#pragma once
// The host boundary: every object a script can hold (the host's own, the Dictionary, the
// FileSystemObject, instances of script classes) answers these few calls. A member name is
// looked up once, without regard to case, and the evaluator keeps the id it got.

#include "vbscript/variant.h"

#include <span>
#include <string_view>

namespace tess::vbs {

enum class InvokeKind { Get, Let, Set, Call };

class Object : public Boxed {
public:
    // The name TypeName() reports.
    virtual std::string_view ClassName() const = 0;
    // A member's id, or -1 when the object has none by that name.
    virtual int FindMember(std::string_view name) const = 0;
    // Runs a member. For Let and Set the new value is the last argument. Returns 0 or a
    // VBScript error number; `result` receives what a Get or a function call gives back.
    virtual int Invoke(int id, InvokeKind kind, std::span<Variant> args, Variant& result) = 0;
    // The member used when the object stands where a value is needed; -1 for none.
    virtual int DefaultMember() const { return -1; }
    // For Each: the items in order; false when the object is not a collection.
    virtual bool Enumerate(std::vector<Variant>& items) {
        (void)items;
        return false;
    }
    // Objects of the same kind share their member ids; evaluators cache ids under this key.
    virtual const void* MemberTableKey() const = 0;
};

} // namespace tess::vbs
