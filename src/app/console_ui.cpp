#include "app/console_ui.h"

#include "base/log.h"
#include "base/text.h"
#include "base/version.h"

#include <istream>
#include <ostream>

#include <fmt/format.h>

namespace tess {

ConsoleUI::ConsoleUI(std::istream& in, std::ostream& out, bool terminal)
    : in_(in), out_(out), terminal_(terminal) {}

std::optional<std::string> ConsoleUI::Prompt(std::string_view question) {
    if (StatusVisible() && terminal_) out_ << "\r\033[K";
    out_ << question << std::flush;
    std::string line;
    if (!std::getline(in_, line)) {
        out_ << "\n";
        return std::nullopt;
    }
    return std::string(TrimWhitespace(line));
}

void ConsoleUI::ShowMessage(std::string_view text, std::string_view caption) {
    if (StatusVisible() && terminal_) out_ << "\r\033[K";
    out_ << "[" << caption << "] " << text << "\n" << std::flush;
    LogWrite(MessageLevel(caption), std::string(caption) + ": " + std::string(text),
             LogTarget::FileOnly);
}

Answer ConsoleUI::Ask(std::string_view text, std::string_view caption, Buttons buttons) {
    const bool yes_no = buttons == Buttons::YesNo || buttons == Buttons::YesNoCancel;
    const bool can_cancel = buttons == Buttons::OkCancel || buttons == Buttons::YesNoCancel;
    std::string choices = yes_no ? (can_cancel ? "[y]es/[n]o/[c]ancel" : "[y]es/[n]o")
                                 : (can_cancel ? "[o]k/[c]ancel" : "press Enter");
    for (;;) {
        auto reply = Prompt(fmt::format("[{}] {} {}: ", caption, text, choices));
        if (!reply) return can_cancel ? Answer::Cancel : (yes_no ? Answer::No : Answer::Ok);
        std::string r = ToLowerAscii(*reply);
        if (yes_no && (r == "y" || r == "yes")) return Answer::Yes;
        if (yes_no && (r == "n" || r == "no")) return Answer::No;
        if (!yes_no && (r.empty() || r == "o" || r == "ok")) return Answer::Ok;
        if (can_cancel && (r == "c" || r == "cancel")) return Answer::Cancel;
    }
}

std::optional<std::string> ConsoleUI::InputBox(std::string_view prompt, std::string_view title,
                                               std::string_view default_answer) {
    auto reply = Prompt(fmt::format("[{}] {} [{}]: ", title, prompt, default_answer));
    if (!reply) return std::nullopt;
    return reply->empty() ? std::string(default_answer) : *reply;
}

std::optional<std::string> ConsoleUI::FilePrompt(const FileDialog& dialog) {
    std::string question = fmt::format("[{}] file ({})", dialog.title, dialog.filter);
    if (!dialog.initial_name.empty()) question += fmt::format(" [{}]", dialog.initial_name);
    auto reply = Prompt(question + ": ");
    if (!reply) return std::nullopt;
    std::string path = reply->empty() ? dialog.initial_name : *reply;
    if (path.empty()) return std::nullopt;
    if (!dialog.default_extension.empty() &&
        path.find('.', path.find_last_of('/') + 1) == std::string::npos) {
        path += dialog.default_extension;
    }
    if (!dialog.initial_directory.empty() && path.front() != '/')
        path = dialog.initial_directory + "/" + path;
    return path;
}

std::optional<std::string> ConsoleUI::OpenFileDialog(const FileDialog& dialog) {
    return FilePrompt(dialog);
}

std::optional<std::string> ConsoleUI::SaveFileDialog(const FileDialog& dialog) {
    return FilePrompt(dialog);
}

// The error report has already been written to the terminal and the log.
void ConsoleUI::ShowErrorReport(std::string_view) {}

void ConsoleUI::Beep() {
    if (terminal_) out_ << '\a' << std::flush;
}

void ConsoleUI::ShowSplash() {
    if (terminal_) {
        out_ << "Tessarolle " << kVersionText
             << ": composes and publishes webcam and weather pictures\n"
             << std::flush;
    }
}

void ConsoleUI::DrawStatus(std::string_view text, StatusChange change) {
    if (!terminal_) return; // a status line only makes sense where it can redraw itself
    out_ << "\r\033[K";
    if (change != StatusChange::Hidden) out_ << text;
    out_ << std::flush;
}

} // namespace tess
