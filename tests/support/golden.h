#pragma once

#include "support/temp_dir.h"

#include <string>

namespace tess::test {

// An expected file written by hand, from tests/<folder>/golden/.
inline std::string Golden(const std::string& folder, const std::string& name) {
    return ReadFileBytes(std::string(TESS_SOURCE_DIR) + "/tests/" + folder + "/golden/" + name);
}

} // namespace tess::test
