#include "vbscript/variant.h"

#include "vbscript/array_box.h"
#include "vbscript/object.h"

#include <new>
#include <vector>

namespace tess::vbs {

namespace {

// Freed string boxes kept for the next strings, up to a bound, per thread. Sanitizer builds
// use the allocator directly so that a use after free is still caught.
#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define TESS_VBS_ASAN 1
#endif
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(TESS_VBS_ASAN)
constexpr std::size_t kSpareBoxes = 0;
#else
constexpr std::size_t kSpareBoxes = 4096;
#endif

// Plain thread-locals, usable at any point of the thread's end; the owner gives the boxes
// back when the thread ends, and any string freed after that goes straight back too.
thread_local std::vector<void*>* spare = nullptr;
thread_local bool spare_closed = false;

struct SpareOwner {
    ~SpareOwner() {
        if (spare)
            for (void* box : *spare)
                ::operator delete(box);
        delete spare;
        spare = nullptr;
        spare_closed = true;
    }
};

std::vector<void*>* Spare() {
    if (!spare && !spare_closed && kSpareBoxes > 0) {
        thread_local SpareOwner owner;
        spare = new std::vector<void*>;
        spare->reserve(kSpareBoxes);
    }
    return spare;
}

} // namespace

void* StringBox::operator new(std::size_t size) {
    if (spare && !spare->empty() && size == sizeof(StringBox)) {
        void* box = spare->back();
        spare->pop_back();
        return box;
    }
    return ::operator new(size);
}

void StringBox::operator delete(void* box, std::size_t size) {
    std::vector<void*>* boxes = Spare();
    if (boxes && boxes->size() < kSpareBoxes && size == sizeof(StringBox)) {
        boxes->push_back(box);
        return;
    }
    ::operator delete(box);
}

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
