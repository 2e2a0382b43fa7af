#include "settings/ini.h"

#include "base/log.h"
#include "base/progress.h"
#include "base/text.h"
#include "settings/ini_file.h"

namespace tess {

namespace {
const std::string kNoFile;
}

void INI::SetFile(const std::string& path) {
    file_ = IniFile::Open(path);
}

const std::string& INI::File() const {
    return file_ ? file_->Path() : kNoFile;
}

std::string INI::GetKey(std::string_view section, std::string_view key, WriteDefault write_default,
                        std::string_view def) {
    AdvanceProgress();
    std::string value;
    if (file_) {
        if (auto found = file_->Read(section, key)) value = std::move(*found);
    }
    if (value.empty() && write_default == WriteDefault::Yes) {
        SetKey(section, key, def);
        value = def;
    }
    ReplaceAll(value, "&34", "\"");
    return value;
}

bool INI::SetKey(std::string_view section, std::string_view key, std::string_view value) {
    if (!file_) return false;
    std::string text = ReplaceAllCopy(value, "\"", "&34");
    if (text.find_first_of("\r\n") != std::string::npos) {
        // A line break would end the line and lose the rest of the value.
        LogWarning("line break in [{}] {} of '{}' written as a space", section, key, File());
        for (char& c : text) {
            if (c == '\r' || c == '\n') c = ' ';
        }
    }
    return file_->Write(section, key, text);
}

void INI::ForEachKey(std::string_view section, const std::function<void(std::string_view)>& visit) {
    if (file_) file_->ForEachKey(section, visit);
}

bool INI::DeleteSection(std::string_view section) {
    return file_ && file_->RemoveSection(section);
}

void INI::StartAfresh() {
    if (file_) file_->StartAfresh();
}

bool INI::ReadOnly() const {
    return file_ && file_->ReadOnly();
}

void INI::SetReadOnly() {
    if (file_) file_->SetReadOnly();
}

IniBatch::IniBatch(const INI& ini) : file_(ini.file_) {
    if (file_) file_->BeginBatch();
}

IniBatch::~IniBatch() {
    Commit();
}

bool IniBatch::Commit() {
    if (!file_) return true;
    auto file = std::move(file_);
    return file->EndBatch();
}

} // namespace tess
