#include "support/temp_dir.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <unistd.h>

namespace tess::test {

TempDir::TempDir() {
    const char* base = std::getenv("TESS_TEST_TMP");
    std::filesystem::path root = base ? base : std::filesystem::temp_directory_path().string();
    std::filesystem::create_directories(root);
    std::string pattern = (root / "tess-XXXXXX").string();
    if (!::mkdtemp(pattern.data())) throw std::runtime_error("mkdtemp failed in " + root.string());
    path_ = pattern;
}

TempDir::~TempDir() {
    std::error_code ec;
    std::filesystem::remove_all(path_, ec);
}

std::string ReadFileBytes(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream out;
    out << in.rdbuf();
    return out.str();
}

void WriteFileBytes(const std::string& path, std::string_view bytes) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

ScopedCurrentDir::ScopedCurrentDir(const std::string& path)
    : previous_(std::filesystem::current_path().string()) {
    std::filesystem::current_path(path);
}

ScopedCurrentDir::~ScopedCurrentDir() {
    std::filesystem::current_path(previous_);
}

} // namespace tess::test
