#include "vbscript/array_box.h"

#include "vbscript/errors.h"

namespace tess::vbs {

ArrayBox* ArrayBox::Create(const std::vector<int>& upper, int& error) {
    if (upper.empty() || upper.size() > static_cast<std::size_t>(kMaxDimensions)) {
        error = err::kSubscript;
        return nullptr;
    }
    std::size_t total = 1;
    for (int u : upper) {
        if (u < -1) {
            error = err::kSubscript;
            return nullptr;
        }
        total *= static_cast<std::size_t>(u + 1);
        if (total > kMaxElements) {
            error = err::kOutOfMemory;
            return nullptr;
        }
    }
    auto* box = new ArrayBox;
    box->upper_ = upper;
    box->items.resize(total);
    error = 0;
    return box;
}

ArrayBox* ArrayBox::Clone() const {
    auto* box = new ArrayBox;
    box->upper_ = upper_;
    box->items = items;
    return box;
}

long ArrayBox::Offset(const long* subscripts, std::size_t count) const {
    if (count != upper_.size()) return -1;
    long offset = 0;
    long stride = 1;
    for (std::size_t d = 0; d < count; ++d) {
        if (subscripts[d] < 0 || subscripts[d] > upper_[d]) return -1;
        offset += subscripts[d] * stride;
        stride *= upper_[d] + 1;
    }
    return offset;
}

int ArrayBox::Resize(const std::vector<int>& upper, bool preserve) {
    if (upper.empty() || upper.size() > static_cast<std::size_t>(kMaxDimensions))
        return err::kSubscript;
    std::size_t total = 1;
    for (int u : upper) {
        if (u < -1) return err::kSubscript;
        total *= static_cast<std::size_t>(u + 1);
        if (total > kMaxElements) return err::kOutOfMemory;
    }
    if (!preserve) {
        upper_ = upper;
        items.assign(total, Variant());
        return 0;
    }
    if (upper.size() != upper_.size()) return err::kSubscript;
    for (std::size_t d = 0; d + 1 < upper.size(); ++d)
        if (upper[d] != upper_[d]) return err::kSubscript;
    // Only the last dimension changes, so the existing elements stay where they are.
    upper_ = upper;
    items.resize(total);
    return 0;
}

void ArrayBox::Unlock() {
    if (--locks_ == 0 && refs_ == 0) delete this;
}

void ArrayBox::LastRelease() {
    if (locks_ == 0) delete this;
}

} // namespace tess::vbs
