#pragma once
// Scripting.Dictionary on the host-object interface: keys in insertion order, compared as
// their text (case-blind with CompareMode 1).

#include "vbscript/object.h"

#include <string>
#include <unordered_map>
#include <vector>

namespace tess::vbs {

class Dictionary final : public Object {
public:
    std::string_view ClassName() const override { return "Dictionary"; }
    int FindMember(std::string_view name) const override;
    int Invoke(int id, InvokeKind kind, std::span<Variant> args, Variant& result) override;
    int DefaultMember() const override;
    bool Enumerate(std::vector<Variant>& items) override;
    const void* MemberTableKey() const override;

private:
    std::string KeyOf(const Variant& key) const;
    long Find(const Variant& key) const;
    int Add(const Variant& key, const Variant& value);

    std::vector<Variant> keys_;
    std::vector<Variant> items_;
    std::unordered_map<std::string, long> index_;
    int compare_mode_ = 0;
};

// CreateObject's factory; nullptr for a name it does not know.
Object* CreateHostObject(std::string_view prog_id, bool file_access);

} // namespace tess::vbs
