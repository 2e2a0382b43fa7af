#include "app/scripted_ui.h"

namespace tess {

void ScriptedUI::ShowMessage(std::string_view text, std::string_view caption) {
    shown_.push_back({"message", std::string(text), std::string(caption)});
}

// An unexpected question is answered Cancel, the answer that changes least.
Answer ScriptedUI::Ask(std::string_view text, std::string_view caption, Buttons) {
    shown_.push_back({"question", std::string(text), std::string(caption)});
    if (answers_.empty()) return Answer::Cancel;
    Answer a = answers_.front();
    answers_.pop_front();
    return a;
}

std::optional<std::string> ScriptedUI::InputBox(std::string_view prompt, std::string_view title,
                                                std::string_view) {
    shown_.push_back({"input", std::string(prompt), std::string(title)});
    if (inputs_.empty()) return std::nullopt;
    auto text = inputs_.front();
    inputs_.pop_front();
    return text;
}

std::optional<std::string> ScriptedUI::NextFile(std::string kind, const FileDialog& dialog) {
    shown_.push_back({std::move(kind), dialog.initial_name, dialog.title});
    if (files_.empty()) return std::nullopt;
    auto path = files_.front();
    files_.pop_front();
    return path;
}

std::optional<std::string> ScriptedUI::OpenFileDialog(const FileDialog& dialog) {
    return NextFile("open", dialog);
}
std::optional<std::string> ScriptedUI::SaveFileDialog(const FileDialog& dialog) {
    return NextFile("save", dialog);
}

void ScriptedUI::ShowErrorReport(std::string_view report) {
    shown_.push_back({"error", std::string(report), "Error Debug Report"});
}

void ScriptedUI::Beep() {
    shown_.push_back({"beep", {}, {}});
}

void ScriptedUI::DrawStatus(std::string_view text, StatusChange change) {
    status_history_.push_back(change == StatusChange::Hidden ? std::string("(hidden)")
                                                             : std::string(text));
}

} // namespace tess
