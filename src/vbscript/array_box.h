#pragma once
// The storage of a VBScript array: up to 60 dimensions, each with a lower bound of 0, kept in
// one vector with the first index varying fastest (as the language lays arrays out).

#include "vbscript/variant.h"

#include <cstddef>
#include <vector>

namespace tess::vbs {

class ArrayBox final : public Boxed {
public:
    // The most elements one array may hold: about 1.6 GB of Variants. Larger requests fail
    // with "Out of memory" instead of taking the machine down.
    static constexpr std::size_t kMaxElements = std::size_t{1} << 27;
    static constexpr int kMaxDimensions = 60;

    // Upper bounds of each dimension; -1 makes an empty dimension. Returns nullptr (and the
    // error number) when the size is refused.
    static ArrayBox* Create(const std::vector<int>& upper, int& error);
    ArrayBox* Clone() const;

    int Dimensions() const { return static_cast<int>(upper_.size()); }
    int Upper(int dimension) const { return upper_[dimension]; }
    std::size_t Size() const { return items.size(); }
    // Index of an element, or -1 when a subscript is out of range or the count is wrong.
    long Offset(const long* subscripts, std::size_t count) const;
    // ReDim Preserve: only the last dimension may change. Returns an error number or 0.
    int Resize(const std::vector<int>& upper, bool preserve);

    std::vector<Variant> items;
    bool fixed = false; // declared with Dim a(n): ReDim refuses it
    // While an element is passed ByRef the array is locked: ReDim and Erase refuse it, and the
    // storage outlives its last variable, so the reference never dangles.
    void Lock() { ++locks_; }
    void Unlock();
    bool Locked() const { return locks_ > 0; }

private:
    void LastRelease() override;
    std::vector<int> upper_;
    int locks_ = 0;
};

} // namespace tess::vbs
