#include "app/canvas_edit_command.h"

#include "app/command_station.h"
#include "app/exit_status.h"
#include "app/file_command_support.h"
#include "app/headless_ui.h"
#include "app/instance_lock.h"
#include "base/log.h"
#include "base/text.h"
#include "document/portfolio.h"
#include "settings/ini.h"
#include "settings/numbers.h"

#include <filesystem>
#include <iostream>

#include <fmt/format.h>

namespace tess {

namespace {

namespace fs = std::filesystem;

// The scratch copy beside the file, removed however the command ends.
class ScratchCopy {
public:
    explicit ScratchCopy(const std::string& path) : path_(path + ".edit~") {}
    ~ScratchCopy() {
        std::error_code ec;
        fs::remove(path_, ec);
    }
    bool MakeFrom(const std::string& original, std::string& problem) {
        std::error_code ec;
        fs::copy_file(original, path_, fs::copy_options::overwrite_existing, ec);
        if (ec) problem = ec.message();
        return !ec;
    }
    const std::string& Path() const { return path_; }

private:
    std::string path_;
};

// A running program would write its copy of the canvas over the change at its next save.
bool RunningBeside(const std::string& path, std::string& lock_path) {
    const fs::path folder = fs::path(path).parent_path();
    lock_path =
        (folder.empty() ? fs::path("Tessarolle.lock") : folder / "Tessarolle.lock").string();
    std::error_code ec;
    if (!fs::exists(lock_path, ec)) return false;
    InstanceLock lock;
    return !lock.Acquire(lock_path);
}

bool WriteEdits(const std::string& path, const std::vector<KeyEdit>& edits) {
    INI ini(path);
    IniBatch batch(ini);
    bool ok = true;
    for (const KeyEdit& edit : edits)
        ok &= ini.SetKey(edit.section, edit.key, edit.value);
    return batch.Commit() && ok;
}

// A loader's complaint about one of the edited keys: the value is not of the key's type.
std::string RefusedValue(const LogCapture& capture, const std::vector<KeyEdit>& edits,
                         const std::string& scratch, const std::string& file) {
    for (const LogCapture::Entry& entry : capture.Entries()) {
        for (const KeyEdit& edit : edits) {
            const std::string place = fmt::format("[{}] {}:", edit.section, edit.key);
            if (ToLowerAscii(entry.text).find(ToLowerAscii(place)) == std::string::npos) continue;
            std::string text = entry.text;
            if (auto at = text.find(scratch); at != std::string::npos)
                text.replace(at, scratch.size(), file);
            return text;
        }
    }
    return {};
}

void PrintSaved(const std::string& file, const std::vector<KeyEdit>& edits, std::ostream& out) {
    INI saved(PathFromSettings(file));
    for (const KeyEdit& edit : edits) {
        const std::string value = saved.GetKey(edit.section, edit.key, WriteDefault::No, "");
        out << file << ": [" << edit.section << "] " << edit.key << " = " << value;
        if (ToLowerAscii(value) != ToLowerAscii(edit.value))
            out << " (given as '" << edit.value << "'; kept within what the setting takes)";
        out << "\n";
    }
}

} // namespace

int EditCanvasFile(const std::string& command, const std::string& file,
                   const std::vector<KeyEdit>& edits, std::ostream& out, std::ostream& err) {
    const std::string path = PathFromSettings(file);
    if (std::error_code ec; !fs::is_regular_file(path, ec)) {
        err << command << ": '" << file
            << "': no such canvas file (make one with 'tessarolle canvas new')\n";
        return kExitUsage;
    }
    if (std::string lock; RunningBeside(path, lock)) {
        HeadlessUI ui;
        ShowAlreadyRunning(ui, lock);
        return kExitAlreadyRunning;
    }
    ScratchCopy scratch(path);
    std::string problem;
    if (!scratch.MakeFrom(path, problem) || !WriteEdits(scratch.Path(), edits)) {
        err << command << ": '" << file << "': a scratch copy beside it could not be written"
            << (problem.empty() ? "" : ": " + problem) << "\n";
        return kExitNotDone;
    }
    InitNumberFormat();
    CommandStation station;
    Portfolio portfolio(station.Sun());
    Canvas& canvas = portfolio.Canvas(1);
    {
        LogCapture capture;
        canvas.SetFileName(scratch.Path());
        canvas.LoadFile(Canvas::FileAccess::ReadOnly);
        if (std::string refused = RefusedValue(capture, edits, scratch.Path(), path);
            !refused.empty()) {
            err << command << ": " << refused << "; nothing was changed\n";
            return kExitUsage;
        }
    }
    canvas.SetFileName(file);
    if (!canvas.SaveFile()) {
        err << command << ": '" << file << "' could not be written; the log says why\n";
        return kExitNotDone;
    }
    PrintSaved(file, edits, out);
    return kExitOk;
}

std::string FreeItemSection(const std::string& file, const std::string& prefix, int max_index) {
    INI ini(PathFromSettings(file));
    for (int index = 1; index <= max_index; ++index) {
        const std::string section = fmt::format("{}{:03}", prefix, index);
        // A section without Enabled is no item, whatever else it holds.
        if (ini.GetKey(section, "Enabled", WriteDefault::No, "").empty()) return section;
    }
    return {};
}

} // namespace tess
