#pragma once

// The user interface on an interactive terminal: messages and questions as text, answers
// typed at a prompt, the status window as one line that redraws itself.

#include "app/user_interface.h"

#include <iosfwd>

namespace tess {

class ConsoleUI : public UserInterface {
public:
    ConsoleUI(std::istream& in, std::ostream& out, bool terminal);

    using UserInterface::ShowMessage;
    void ShowMessage(std::string_view text, std::string_view caption) override;
    Answer Ask(std::string_view text, std::string_view caption, Buttons buttons) override;
    std::optional<std::string> InputBox(std::string_view prompt, std::string_view title,
                                        std::string_view default_answer) override;
    std::optional<std::string> OpenFileDialog(const FileDialog& dialog) override;
    std::optional<std::string> SaveFileDialog(const FileDialog& dialog) override;
    void ShowErrorReport(std::string_view report) override;
    void Beep() override;
    void ShowSplash() override;

protected:
    void DrawStatus(std::string_view text, StatusChange change) override;

private:
    std::optional<std::string> Prompt(std::string_view question);
    std::optional<std::string> FilePrompt(const FileDialog& dialog);

    std::istream& in_;
    std::ostream& out_;
    bool terminal_;
};

} // namespace tess
