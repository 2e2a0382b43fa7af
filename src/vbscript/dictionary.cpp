#include "vbscript/dictionary.h"

#include "base/text.h"
#include "vbscript/array_box.h"
#include "vbscript/coerce.h"
#include "vbscript/errors.h"
#include "vbscript/file_system_object.h"
#include "vbscript/interpreter.h"
#include "vbscript/script_chars.h"

#include <fmt/format.h>

namespace tess::vbs {

namespace {
enum Member {
    kAdd,
    kItem,
    kExists,
    kRemove,
    kRemoveAll,
    kKeys,
    kItems,
    kCount,
    kCompareMode,
    kKey
};
constexpr std::string_view kNames[] = {"add",  "item",  "exists", "remove",      "removeall",
                                       "keys", "items", "count",  "comparemode", "key"};

Variant ToArray(const std::vector<Variant>& items) {
    int code = 0;
    ArrayBox* box = ArrayBox::Create({static_cast<int>(items.size()) - 1}, code);
    if (!box) Raise(code);
    box->items = items;
    return Variant::Array(box);
}
} // namespace

int Dictionary::FindMember(std::string_view name) const {
    for (std::size_t i = 0; i < std::size(kNames); ++i)
        if (EqualsIgnoreCase(kNames[i], name)) return static_cast<int>(i);
    return -1;
}

int Dictionary::DefaultMember() const {
    return kItem;
}

const void* Dictionary::MemberTableKey() const {
    static const char key = 0;
    return &key;
}

bool Dictionary::Enumerate(std::vector<Variant>& items) {
    items = keys_;
    return true;
}

// Keys of different subtypes stay apart: 1 and "1" are two keys.
std::string Dictionary::KeyOf(const Variant& in) const {
    const Variant& key = in.Deref();
    if (key.IsObject()) return fmt::format("o{}", static_cast<const void*>(key.object()));
    if (key.IsString()) return "s" + (compare_mode_ == 1 ? ToLowerText(key.text()) : key.text());
    if (key.IsNumeric()) return "n" + DoubleToString(ToDouble(key));
    if (key.IsEmpty()) return "e";
    if (key.IsArray()) Raise(err::kTypeMismatch);
    return "x" + ToString(key);
}

long Dictionary::Find(const Variant& key) const {
    auto it = index_.find(KeyOf(key));
    return it == index_.end() ? -1 : it->second;
}

int Dictionary::Add(const Variant& key, const Variant& value) {
    std::string k = KeyOf(key);
    if (index_.count(k)) return err::kKeyExists;
    index_.emplace(std::move(k), static_cast<long>(keys_.size()));
    keys_.push_back(key.Deref());
    items_.push_back(value.Deref());
    return 0;
}

int Dictionary::Invoke(int id, InvokeKind kind, std::span<Variant> args, Variant& result) {
    const bool storing = kind == InvokeKind::Let || kind == InvokeKind::Set;
    switch (id) {
    case kAdd:
        if (args.size() != 2) return err::kWrongArguments;
        return Add(args[0], args[1]);
    case kItem: {
        if (args.size() != (storing ? 2u : 1u)) return err::kWrongArguments;
        const long at = Find(args[0]);
        if (storing) {
            if (at < 0) return Add(args[0], args[1]);
            items_[static_cast<std::size_t>(at)] = args[1].Deref();
            return 0;
        }
        // Reading a missing key adds it with an Empty item, as the original object does.
        if (at < 0) return Add(args[0], Variant());
        result = items_[static_cast<std::size_t>(at)];
        return 0;
    }
    case kExists:
        if (args.size() != 1) return err::kWrongArguments;
        result = Variant::Boolean(Find(args[0]) >= 0);
        return 0;
    case kRemove: {
        if (args.size() != 1) return err::kWrongArguments;
        const long at = Find(args[0]);
        if (at < 0) return err::kElementNotFound;
        keys_.erase(keys_.begin() + at);
        items_.erase(items_.begin() + at);
        index_.clear();
        for (std::size_t i = 0; i < keys_.size(); ++i)
            index_.emplace(KeyOf(keys_[i]), static_cast<long>(i));
        return 0;
    }
    case kRemoveAll:
        keys_.clear();
        items_.clear();
        index_.clear();
        return 0;
    case kKeys:
        result = ToArray(keys_);
        return 0;
    case kItems:
        result = ToArray(items_);
        return 0;
    case kCount:
        result = Variant::Long(static_cast<std::int32_t>(keys_.size()));
        return 0;
    case kCompareMode:
        if (storing) {
            if (!keys_.empty()) return err::kIllegalCall;
            compare_mode_ = static_cast<int>(ToLong(args.back()));
        } else {
            result = Variant::Long(compare_mode_);
        }
        return 0;
    case kKey: {
        // d.Key(old) = new renames a key.
        if (!storing || args.size() != 2) return err::kWrongArguments;
        const long at = Find(args[0]);
        if (at < 0) return err::kElementNotFound;
        if (Find(args[1]) >= 0) return err::kKeyExists;
        index_.erase(KeyOf(args[0]));
        keys_[static_cast<std::size_t>(at)] = args[1].Deref();
        index_.emplace(KeyOf(args[1]), at);
        return 0;
    }
    default:
        return err::kNoSuchMember;
    }
}

Object* CreateHostObject(std::string_view prog_id, bool file_access) {
    if (EqualsIgnoreCase(prog_id, "Scripting.Dictionary")) return new Dictionary;
    if (EqualsIgnoreCase(prog_id, "Scripting.FileSystemObject") && file_access)
        return new FileSystemObject;
    return nullptr;
}

namespace {
Variant CreateObjectImpl(Interpreter& in, std::span<Variant> args) {
    const std::string name = ToString(args[0]);
    Object* object = CreateHostObject(name, in.file_access);
    if (!object)
        Raise(err::kCantCreateObject, "ActiveX component can't create object: '" + name + "'");
    return Variant::Object(object);
}
} // namespace

Variant CreateObjectFn(Interpreter& in, std::span<Variant> args) {
    return CreateObjectImpl(in, args);
}

} // namespace tess::vbs
