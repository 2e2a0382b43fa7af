#include "app/headless_ui.h"

#include "base/log.h"

#include <fmt/format.h>

namespace tess {

namespace {
const char* AnswerName(Answer a) {
    switch (a) {
    case Answer::Ok:
        return "OK";
    case Answer::Cancel:
        return "Cancel";
    case Answer::Yes:
        return "Yes";
    case Answer::No:
        return "No";
    }
    return "";
}
} // namespace

void HeadlessUI::SetAnswer(std::string caption, Answer answer) {
    answers_[std::move(caption)] = answer;
}
void HeadlessUI::SetInput(std::string title, std::string text) {
    inputs_[std::move(title)] = std::move(text);
}
void HeadlessUI::SetFileChoice(std::string title, std::string path) {
    files_[std::move(title)] = std::move(path);
}

void HeadlessUI::ShowMessage(std::string_view text, std::string_view caption) {
    LogWrite(MessageLevel(caption), fmt::format("{}: {}", caption, text));
}

Answer HeadlessUI::Ask(std::string_view text, std::string_view caption, Buttons buttons) {
    Answer answer = Answer::Ok;
    if (auto it = answers_.find(caption); it != answers_.end()) {
        answer = it->second;
    } else if (buttons == Buttons::YesNo || buttons == Buttons::YesNoCancel) {
        answer = Answer::No;
    } else if (buttons == Buttons::OkCancel) {
        answer = Answer::Cancel;
    }
    LogInfo("{}: {} ({})", caption, text, AnswerName(answer));
    return answer;
}

std::optional<std::string> HeadlessUI::InputBox(std::string_view prompt, std::string_view title,
                                                std::string_view) {
    auto it = inputs_.find(title);
    if (it == inputs_.end()) {
        LogInfo("{}: {} (cancelled: no answer given)", title, prompt);
        return std::nullopt;
    }
    return it->second;
}

std::optional<std::string> HeadlessUI::FileChoice(const FileDialog& dialog) {
    auto it = files_.find(dialog.title);
    if (it == files_.end()) {
        LogInfo("{}: no file given", dialog.title);
        return std::nullopt;
    }
    return it->second;
}

std::optional<std::string> HeadlessUI::OpenFileDialog(const FileDialog& dialog) {
    return FileChoice(dialog);
}
std::optional<std::string> HeadlessUI::SaveFileDialog(const FileDialog& dialog) {
    return FileChoice(dialog);
}

// The error report has already been written to stderr and the log, all this UI has.
void HeadlessUI::ShowErrorReport(std::string_view) {}

void HeadlessUI::Beep() {
    LogInfo("beep");
}

void HeadlessUI::DrawStatus(std::string_view text, StatusChange change) {
    if (change == StatusChange::Shown) LogInfo("{}", text);
}

} // namespace tess
