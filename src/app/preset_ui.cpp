#include "app/preset_ui.h"

#include "base/log.h"

namespace tess {

void PresetUI::ShowMessage(std::string_view text, std::string_view caption) {
    inner_.ShowMessage(text, caption);
}

Answer PresetUI::Ask(std::string_view text, std::string_view caption, Buttons buttons) {
    const bool yes_no = buttons == Buttons::YesNo || buttons == Buttons::YesNoCancel;
    if (!answer_ || !yes_no) return inner_.Ask(text, caption, buttons);
    LogInfo("{}: {} ({})", caption, text, *answer_ == Answer::Yes ? "Yes" : "No");
    return *answer_;
}

std::optional<std::string> PresetUI::InputBox(std::string_view prompt, std::string_view title,
                                              std::string_view default_answer) {
    if (!input_) return inner_.InputBox(prompt, title, default_answer);
    return input_;
}

std::optional<std::string> PresetUI::TakeFile() {
    auto file = std::move(file_);
    file_.reset();
    return file;
}

std::optional<std::string> PresetUI::OpenFileDialog(const FileDialog& dialog) {
    if (auto file = TakeFile()) return file;
    return inner_.OpenFileDialog(dialog);
}

std::optional<std::string> PresetUI::SaveFileDialog(const FileDialog& dialog) {
    if (auto file = TakeFile()) return file;
    return inner_.SaveFileDialog(dialog);
}

void PresetUI::DrawStatus(std::string_view text, StatusChange change) {
    switch (change) {
    case StatusChange::Shown:
        inner_.ShowStatus(text);
        break;
    case StatusChange::Updated:
        inner_.RedrawStatus(text);
        break;
    case StatusChange::Hidden:
        inner_.HideStatus();
        break;
    }
}

} // namespace tess
