#include "base/progress.h"

namespace tess {

namespace {
std::function<void()>& Callback() {
    static std::function<void()> callback;
    return callback;
}
} // namespace

void SetProgressCallback(std::function<void()> callback) {
    Callback() = std::move(callback);
}

void AdvanceProgress() {
    if (auto& callback = Callback()) callback();
}

} // namespace tess
