#pragma once
// The VBScript Variant: a 16-byte tagged value. Strings, arrays and objects live in
// reference-counted boxes so that copying a Variant never copies text; arrays are copied
// lazily when a shared one is written (the language gives arrays value semantics).

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tess::vbs {

// The numbers VarType returns.
enum class VarType : std::uint16_t {
    Empty = 0,
    Null = 1,
    Integer = 2,
    Long = 3,
    Single = 4,
    Double = 5,
    Currency = 6,
    Date = 7,
    String = 8,
    Object = 9,
    Error = 10,
    Boolean = 11,
    Byte = 17,
    Array = 8204, // an array of Variants
};

class Boxed {
public:
    virtual ~Boxed() = default;
    void AddRef() { ++refs_; }
    void Release() {
        if (--refs_ == 0) LastRelease();
    }
    int Refs() const { return refs_; }

protected:
    // Script objects run their Class_Terminate here before they go.
    virtual void LastRelease() { delete this; }
    int refs_ = 0;
};

class StringBox final : public Boxed {
public:
    explicit StringBox(std::string text) : text(std::move(text)) {}
    // Scripts make and drop short strings constantly: boxes are kept for reuse.
    static void* operator new(std::size_t size);
    static void operator delete(void* box, std::size_t size);
    std::string text;
};

class Object;
class ArrayBox;

class Variant {
public:
    Variant() = default;
    Variant(const Variant& other) : tag_(other.tag_), bits_(other.bits_) { Retain(); }
    Variant(Variant&& other) noexcept : tag_(other.tag_), bits_(other.bits_) {
        other.tag_ = Tag::Empty;
    }
    Variant& operator=(const Variant& other) {
        if (this != &other) {
            Variant copy(other);
            Swap(copy);
        }
        return *this;
    }
    Variant& operator=(Variant&& other) noexcept {
        Swap(other);
        return *this;
    }
    ~Variant() { Drop(); }
    // Back to Empty, releasing what the value held.
    void Clear() noexcept {
        Drop();
        tag_ = Tag::Empty;
    }
    void Swap(Variant& other) noexcept {
        std::swap(tag_, other.tag_);
        std::swap(bits_, other.bits_);
    }

    static Variant Null() { return Variant(Tag::Null); }
    static Variant Boolean(bool b) {
        Variant v(Tag::Boolean);
        v.bits_.c = b ? -1 : 0;
        return v;
    }
    static Variant Byte(int b) {
        Variant v(Tag::Byte);
        v.bits_.c = b;
        return v;
    }
    static Variant Integer(int i) {
        Variant v(Tag::Integer);
        v.bits_.c = i;
        return v;
    }
    static Variant Long(std::int32_t i) {
        Variant v(Tag::Long);
        v.bits_.c = i;
        return v;
    }
    static Variant Single(float f) {
        Variant v(Tag::Single);
        v.bits_.d = f;
        return v;
    }
    static Variant Double(double d) {
        Variant v(Tag::Double);
        v.bits_.d = d;
        return v;
    }
    // Currency keeps ten-thousandths as a 64-bit integer.
    static Variant Currency(std::int64_t scaled) {
        Variant v(Tag::Currency);
        v.bits_.c = scaled;
        return v;
    }
    static Variant Date(double d) {
        Variant v(Tag::Date);
        v.bits_.d = d;
        return v;
    }
    static Variant Error(int code) {
        Variant v(Tag::Error);
        v.bits_.c = code;
        return v;
    }
    static Variant String(std::string text);
    static Variant Object(Object* object); // nullptr is Nothing
    static Variant Array(ArrayBox* array);
    static Variant Reference(Variant* target) {
        Variant v(Tag::Reference);
        v.bits_.ref = target;
        return v;
    }

    enum class Tag : std::uint8_t {
        Empty,
        Null,
        Boolean,
        Byte,
        Integer,
        Long,
        Single,
        Double,
        Currency,
        Date,
        String,
        Object,
        Array,
        Error,
        Reference
    };
    Tag tag() const { return tag_; }
    VarType Type() const;
    bool IsEmpty() const { return tag_ == Tag::Empty; }
    bool IsNull() const { return tag_ == Tag::Null; }
    bool IsString() const { return tag_ == Tag::String; }
    bool IsObject() const { return tag_ == Tag::Object; }
    bool IsArray() const { return tag_ == Tag::Array; }
    bool IsNothing() const { return tag_ == Tag::Object && bits_.p == nullptr; }
    bool IsReference() const { return tag_ == Tag::Reference; }
    // Neither an object, an array nor a reference: storing it needs no more care.
    bool IsPlainValue() const { return tag_ < Tag::Object || tag_ == Tag::Error; }
    // Takes `other`'s value into this Variant, which must be Empty (a fresh slot).
    void Adopt(Variant&& other) noexcept {
        tag_ = other.tag_;
        bits_ = other.bits_;
        other.tag_ = Tag::Empty;
    }
    // Whole numbers (Boolean, Byte, Integer, Long) keep their value here.
    bool IsWhole() const {
        return tag_ == Tag::Boolean || tag_ == Tag::Byte || tag_ == Tag::Integer ||
               tag_ == Tag::Long;
    }
    bool IsNumeric() const { return tag_ >= Tag::Boolean && tag_ <= Tag::Date; }

    std::int32_t whole() const { return static_cast<std::int32_t>(bits_.c); }
    double real() const { return bits_.d; }
    std::int64_t currency() const { return bits_.c; }
    const std::string& text() const { return static_cast<StringBox*>(bits_.p)->text; }
    class Object* object() const;
    ArrayBox* array() const;
    Variant* target() const { return bits_.ref; }
    // Follows a ByRef reference to the variable it stands for.
    const Variant& Deref() const { return tag_ == Tag::Reference ? *bits_.ref : *this; }
    Variant& Deref() { return tag_ == Tag::Reference ? *bits_.ref : *this; }

private:
    explicit Variant(Tag tag) : tag_(tag) {}
    // String, Object and Array are consecutive tags: one comparison tells a boxed value.
    bool Boxes() const {
        static_assert(int(Tag::Object) == int(Tag::String) + 1 &&
                      int(Tag::Array) == int(Tag::String) + 2);
        return static_cast<unsigned>(tag_) - static_cast<unsigned>(Tag::String) <= 2u &&
               bits_.p != nullptr;
    }
    void Retain() {
        if (Boxes()) bits_.p->AddRef();
    }
    void Drop() {
        if (Boxes()) bits_.p->Release();
    }

    Tag tag_ = Tag::Empty;
    // Whole numbers are kept sign-extended in all eight bytes: a value written in two halves
    // and then copied whole stalls the processor's store forwarding on every move.
    union Bits {
        std::int64_t c;
        double d;
        Boxed* p;
        Variant* ref;
    } bits_{0};
};

} // namespace tess::vbs
