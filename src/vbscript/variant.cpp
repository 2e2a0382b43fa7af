#include "vbscript/variant.h"

#include "vbscript/array_box.h"
#include "vbscript/object.h"

namespace tess::vbs {

Variant Variant::String(std::string text) {
    Variant v(Tag::String);
    v.bits_.p = new StringBox(std::move(text));
    v.bits_.p->AddRef();
    return v;
}

Variant Variant::Object(class Object* object) {
    Variant v(Tag::Object);
    v.bits_.p = object;
    if (object) object->AddRef();
    return v;
}

Variant Variant::Array(ArrayBox* array) {
    Variant v(Tag::Array);
    v.bits_.p = array;
    if (array) array->AddRef();
    return v;
}

class Object* Variant::object() const {
    return static_cast<class Object*>(bits_.p);
}

ArrayBox* Variant::array() const {
    return static_cast<ArrayBox*>(bits_.p);
}

VarType Variant::Type() const {
    switch (Deref().tag_) {
    case Tag::Empty:
        return VarType::Empty;
    case Tag::Null:
        return VarType::Null;
    case Tag::Boolean:
        return VarType::Boolean;
    case Tag::Byte:
        return VarType::Byte;
    case Tag::Integer:
        return VarType::Integer;
    case Tag::Long:
        return VarType::Long;
    case Tag::Single:
        return VarType::Single;
    case Tag::Double:
        return VarType::Double;
    case Tag::Currency:
        return VarType::Currency;
    case Tag::Date:
        return VarType::Date;
    case Tag::String:
        return VarType::String;
    case Tag::Object:
        return VarType::Object;
    case Tag::Array:
        return VarType::Array;
    case Tag::Error:
        return VarType::Error;
    case Tag::Reference:
        break;
    }
    return VarType::Empty;
}

} // namespace tess::vbs
