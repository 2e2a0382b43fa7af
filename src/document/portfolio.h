#pragma once

// The open document: canvases, feeds, weather input, web server and script. This is the part
// start-up and shutdown rely on; the file format and the objects it owns are added with the
// document model.

#include <string>

namespace tess {

class Portfolio {
public:
    const std::string& FileName() const { return file_name_; }
    void SetFileName(std::string file_name) { file_name_ = std::move(file_name); }

    bool NeedSaving() const { return need_saving_; }
    void SetNeedSaving(bool value) { need_saving_ = value; }

    // Stops and releases everything the portfolio owns; it is not used afterwards.
    void Unload();
    // Writes the portfolio file and its changed canvases (all of them with `force_all`).
    void SaveAll(bool force_all);

private:
    std::string file_name_;
    bool need_saving_ = false;
};

} // namespace tess
