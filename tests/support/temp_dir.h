#pragma once

#include <string>
#include <string_view>

namespace tess::test {

// A fresh folder for one test, removed with everything in it when the test ends.
class TempDir {
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::string& Path() const { return path_; }
    std::string File(std::string_view name) const { return path_ + "/" + std::string(name); }

private:
    std::string path_;
};

std::string ReadFileBytes(const std::string& path);
void WriteFileBytes(const std::string& path, std::string_view bytes);

// Changes the current folder for the life of the object.
class ScopedCurrentDir {
public:
    explicit ScopedCurrentDir(const std::string& path);
    ~ScopedCurrentDir();

private:
    std::string previous_;
};

} // namespace tess::test
