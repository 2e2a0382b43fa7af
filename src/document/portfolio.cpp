#include "document/portfolio.h"

namespace tess {

void Portfolio::Unload() {
    need_saving_ = false;
}

// Placeholder until the document model exists: there is nothing to write yet.
void Portfolio::SaveAll(bool) {
    need_saving_ = false;
}

} // namespace tess
