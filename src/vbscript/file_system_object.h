#pragma once
// Scripting.FileSystemObject and its File and TextStream objects, on the host-object
// interface. Paths may be written with "\" as Windows scripts do.

#include "vbscript/object.h"

#include <cstdio>
#include <string>

namespace tess::vbs {

class FileSystemObject final : public Object {
public:
    std::string_view ClassName() const override { return "FileSystemObject"; }
    int FindMember(std::string_view name) const override;
    int Invoke(int id, InvokeKind kind, std::span<Variant> args, Variant& result) override;
    const void* MemberTableKey() const override;
};

class TextStream final : public Object {
public:
    enum class Mode { Reading = 1, Writing = 2, Appending = 8 };
    // Opens the file; returns a VBScript error number, or 0.
    int Open(const std::string& path, Mode mode);
    ~TextStream() override;
    std::string_view ClassName() const override { return "TextStream"; }
    int FindMember(std::string_view name) const override;
    int Invoke(int id, InvokeKind kind, std::span<Variant> args, Variant& result) override;
    const void* MemberTableKey() const override;

private:
    std::FILE* file_ = nullptr;
    Mode mode_ = Mode::Reading;
    int line_ = 1;
};

class FileObject final : public Object {
public:
    explicit FileObject(std::string path) : path_(std::move(path)) {}
    std::string_view ClassName() const override { return "File"; }
    int FindMember(std::string_view name) const override;
    int Invoke(int id, InvokeKind kind, std::span<Variant> args, Variant& result) override;
    int DefaultMember() const override { return 2; } // Path
    const void* MemberTableKey() const override;

private:
    std::string path_;
};

} // namespace tess::vbs
