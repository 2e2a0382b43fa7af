#pragma once

// Long loops deep in the libraries (a settings load reads thousands of keys) call
// AdvanceProgress so that the status display can show activity. The application plugs the
// display in; without it the call does nothing.

#include <functional>

namespace tess {

void SetProgressCallback(std::function<void()> callback);
void AdvanceProgress();

} // namespace tess
