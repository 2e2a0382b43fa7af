#include "vbscript/file_system_object.h"

#include "base/text.h"
#include "settings/vb_date.h"
#include "vbscript/coerce.h"
#include "vbscript/errors.h"

#include <cerrno>
#include <ctime>
#include <filesystem>
#include <sys/stat.h>
#include <system_error>

namespace tess::vbs {

namespace fs = std::filesystem;

namespace {

int FindIn(std::span<const std::string_view> names, std::string_view name) {
    for (std::size_t i = 0; i < names.size(); ++i)
        if (EqualsIgnoreCase(names[i], name)) return static_cast<int>(i);
    return -1;
}

std::string PathArg(const Variant& v) {
    return PathFromSettings(ToString(v));
}

int ErrorFor(const std::error_code& ec) {
    if (ec == std::errc::no_such_file_or_directory) return err::kFileNotFound;
    if (ec == std::errc::permission_denied) return err::kPermissionDenied;
    if (ec == std::errc::file_exists) return err::kFileExists;
    return err::kPathNotFound;
}

std::string FileName(const std::string& path) {
    return fs::path(path).filename().string();
}

enum FsoMember {
    kFileExists,
    kFolderExists,
    kCreateFolder,
    kDeleteFile,
    kCopyFile,
    kMoveFile,
    kGetFile,
    kBuildPath,
    kGetFileName,
    kGetBaseName,
    kGetExtensionName,
    kOpenTextFile,
    kCreateTextFile
};
constexpr std::string_view kFsoNames[] = {
    "FileExists",       "FolderExists", "CreateFolder",  "DeleteFile",  "CopyFile",
    "MoveFile",         "GetFile",      "BuildPath",     "GetFileName", "GetBaseName",
    "GetExtensionName", "OpenTextFile", "CreateTextFile"};

int OpenStream(const std::string& path, TextStream::Mode mode, Variant& result) {
    auto* stream = new TextStream;
    Variant holder = Variant::Object(stream);
    if (int code = stream->Open(path, mode)) return code;
    result = holder;
    return 0;
}

int Copy(std::span<Variant> args, bool move) {
    if (args.size() < 2) return err::kWrongArguments;
    std::string from = PathArg(args[0]), to = PathArg(args[1]);
    const bool overwrite = move ? false : (args.size() < 3 || ToBool(args[2]));
    std::error_code ec;
    if (!fs::is_regular_file(from, ec)) return err::kFileNotFound;
    if (!to.empty() && (to.back() == '/' || fs::is_directory(to, ec)))
        to = (fs::path(to) / FileName(from)).string();
    if (fs::exists(to, ec) && !overwrite) return err::kFileExists;
    if (move)
        fs::rename(from, to, ec);
    else
        fs::copy_file(from, to, fs::copy_options::overwrite_existing, ec);
    return ec ? ErrorFor(ec) : 0;
}

} // namespace

int FileSystemObject::FindMember(std::string_view name) const {
    return FindIn(kFsoNames, name);
}

const void* FileSystemObject::MemberTableKey() const {
    static const char key = 0;
    return &key;
}

int FileSystemObject::Invoke(int id, InvokeKind, std::span<Variant> args, Variant& result) {
    const std::size_t needed = id == kBuildPath || id == kCopyFile || id == kMoveFile ? 2 : 1;
    if (args.size() < needed) return err::kWrongArguments;
    std::error_code ec;
    switch (id) {
    case kFileExists:
        result = Variant::Boolean(fs::is_regular_file(PathArg(args[0]), ec));
        return 0;
    case kFolderExists:
        result = Variant::Boolean(fs::is_directory(PathArg(args[0]), ec));
        return 0;
    case kCreateFolder: {
        const std::string path = PathArg(args[0]);
        if (fs::exists(path, ec)) return err::kFileExists;
        if (!fs::create_directory(path, ec)) return ec ? ErrorFor(ec) : err::kPathNotFound;
        return 0;
    }
    case kDeleteFile: {
        const std::string path = PathArg(args[0]);
        if (!fs::is_regular_file(path, ec)) return err::kFileNotFound;
        fs::remove(path, ec);
        return ec ? ErrorFor(ec) : 0;
    }
    case kCopyFile:
        return Copy(args, false);
    case kMoveFile:
        return Copy(args, true);
    case kGetFile: {
        const std::string path = PathArg(args[0]);
        if (!fs::is_regular_file(path, ec)) return err::kFileNotFound;
        result = Variant::Object(new FileObject(path));
        return 0;
    }
    case kBuildPath: {
        std::string base = ToString(args[0]);
        const std::string name = ToString(args[1]);
        if (!base.empty() && base.back() != '\\' && base.back() != '/') base += '\\';
        result = Variant::String(base + name);
        return 0;
    }
    case kGetFileName:
        result = Variant::String(FileName(PathArg(args[0])));
        return 0;
    case kGetBaseName:
        result = Variant::String(fs::path(PathArg(args[0])).stem().string());
        return 0;
    case kGetExtensionName: {
        const std::string ext = fs::path(PathArg(args[0])).extension().string();
        result = Variant::String(ext.empty() ? ext : ext.substr(1));
        return 0;
    }
    case kOpenTextFile: {
        // OpenTextFile(path[, iomode[, create]]): 1 reading, 2 writing, 8 appending.
        const std::string path = PathArg(args[0]);
        const long mode =
            args.size() > 1 && !args[1].IsEmpty() && args[1].tag() != Variant::Tag::Error
                ? ToLong(args[1])
                : 1;
        const bool create =
            args.size() > 2 && args[2].tag() != Variant::Tag::Error && ToBool(args[2]);
        if (mode != 1 && mode != 2 && mode != 8) return err::kIllegalCall;
        if (mode != 1 && !create && !fs::exists(path, ec)) return err::kFileNotFound;
        return OpenStream(path, static_cast<TextStream::Mode>(mode), result);
    }
    case kCreateTextFile: {
        const std::string path = PathArg(args[0]);
        const bool overwrite =
            args.size() < 2 || args[1].tag() == Variant::Tag::Error || ToBool(args[1]);
        if (!overwrite && fs::exists(path, ec)) return err::kFileExists;
        return OpenStream(path, TextStream::Mode::Writing, result);
    }
    }
    return err::kNoSuchMember;
}

// ---- TextStream

namespace {
enum StreamMember {
    kReadLine,
    kReadAll,
    kAtEndOfStream,
    kWrite,
    kWriteLine,
    kClose,
    kLine,
    kSkipLine
};
constexpr std::string_view kStreamNames[] = {"ReadLine",  "ReadAll", "AtEndOfStream", "Write",
                                             "WriteLine", "Close",   "Line",          "SkipLine"};
} // namespace

int TextStream::Open(const std::string& path, Mode mode) {
    mode_ = mode;
    const char* how = mode == Mode::Reading ? "rb" : mode == Mode::Writing ? "wb" : "ab";
    file_ = std::fopen(path.c_str(), how);
    if (file_) return 0;
    return errno == ENOENT ? (mode == Mode::Reading ? err::kFileNotFound : err::kPathNotFound)
                           : err::kPermissionDenied;
}

TextStream::~TextStream() {
    if (file_) std::fclose(file_);
}

int TextStream::FindMember(std::string_view name) const {
    return FindIn(kStreamNames, name);
}

const void* TextStream::MemberTableKey() const {
    static const char key = 0;
    return &key;
}

int TextStream::Invoke(int id, InvokeKind, std::span<Variant> args, Variant& result) {
    if (id == kClose) {
        if (file_) std::fclose(file_);
        file_ = nullptr;
        return 0;
    }
    if (id == kLine) {
        result = Variant::Long(line_);
        return 0;
    }
    if (!file_) return err::kBadFileName;
    const bool reading = mode_ == Mode::Reading;
    switch (id) {
    case kAtEndOfStream: {
        if (!reading) return err::kBadFileMode;
        const int c = std::fgetc(file_);
        if (c != EOF) std::ungetc(c, file_);
        result = Variant::Boolean(c == EOF);
        return 0;
    }
    case kReadLine:
    case kSkipLine: {
        if (!reading) return err::kBadFileMode;
        std::string line;
        int c = std::fgetc(file_);
        if (c == EOF) return err::kInputPastEnd;
        // Lines end with LF, CR LF or a lone CR.
        while (c != EOF && c != '\n' && c != '\r') {
            line += static_cast<char>(c);
            if (line.size() > (std::size_t{1} << 28)) return err::kOutOfStringSpace;
            c = std::fgetc(file_);
        }
        if (c == '\r') {
            const int n = std::fgetc(file_);
            if (n != '\n' && n != EOF) std::ungetc(n, file_);
        }
        ++line_;
        if (id == kReadLine) result = Variant::String(std::move(line));
        return 0;
    }
    case kReadAll: {
        if (!reading) return err::kBadFileMode;
        std::string all;
        char buffer[65536];
        std::size_t n;
        while ((n = std::fread(buffer, 1, sizeof buffer, file_)) > 0) {
            all.append(buffer, n);
            if (all.size() > (std::size_t{1} << 28)) return err::kOutOfStringSpace;
        }
        result = Variant::String(std::move(all));
        return 0;
    }
    case kWrite:
    case kWriteLine: {
        if (reading) return err::kBadFileMode;
        std::string text = args.empty() ? std::string() : ToString(args[0]);
        if (id == kWriteLine) text += "\r\n";
        if (std::fwrite(text.data(), 1, text.size(), file_) != text.size())
            return 57; // "Device I/O error"
        return 0;
    }
    }
    return err::kNoSuchMember;
}

// ---- File

namespace {
constexpr std::string_view kFileNames[] = {"Size", "DateLastModified", "Path", "Name"};
}

int FileObject::FindMember(std::string_view name) const {
    return FindIn(kFileNames, name);
}

const void* FileObject::MemberTableKey() const {
    static const char key = 0;
    return &key;
}

int FileObject::Invoke(int id, InvokeKind, std::span<Variant>, Variant& result) {
    std::error_code ec;
    switch (id) {
    case 0: {
        const auto size = fs::file_size(path_, ec);
        if (ec) return err::kFileNotFound;
        result = size <= 2147483647u ? Variant::Long(static_cast<std::int32_t>(size))
                                     : Variant::Double(static_cast<double>(size));
        return 0;
    }
    case 1: {
        struct stat info {};
        if (::stat(path_.c_str(), &info) != 0) return err::kFileNotFound;
        const std::time_t t = info.st_mtime;
        std::tm local{};
        localtime_r(&t, &local);
        result = Variant::Date(DateSerial(local.tm_year + 1900, local.tm_mon + 1, local.tm_mday) +
                               TimeSerial(local.tm_hour, local.tm_min, local.tm_sec));
        return 0;
    }
    case 2:
        result = Variant::String(path_);
        return 0;
    case 3:
        result = Variant::String(FileName(path_));
        return 0;
    }
    return err::kNoSuchMember;
}

} // namespace tess::vbs
