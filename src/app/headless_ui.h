#pragma once

// The user interface of a program with nobody at the screen: messages go to the log,
// questions take the answer configured for their caption (No, or Cancel where there is no
// No, when none is), input boxes and file dialogs take a configured reply or cancel.

#include "app/user_interface.h"

#include <map>
#include <string>

namespace tess {

class HeadlessUI : public UserInterface {
public:
    void SetAnswer(std::string caption, Answer answer);
    void SetInput(std::string title, std::string text);
    void SetFileChoice(std::string title, std::string path);

    using UserInterface::ShowMessage;
    void ShowMessage(std::string_view text, std::string_view caption) override;
    Answer Ask(std::string_view text, std::string_view caption, Buttons buttons) override;
    std::optional<std::string> InputBox(std::string_view prompt, std::string_view title,
                                        std::string_view default_answer) override;
    std::optional<std::string> OpenFileDialog(const FileDialog& dialog) override;
    std::optional<std::string> SaveFileDialog(const FileDialog& dialog) override;
    void ShowErrorReport(std::string_view report) override;
    void Beep() override;

protected:
    void DrawStatus(std::string_view text, StatusChange change) override;

private:
    std::optional<std::string> FileChoice(const FileDialog& dialog);

    std::map<std::string, Answer, std::less<>> answers_;
    std::map<std::string, std::string, std::less<>> inputs_;
    std::map<std::string, std::string, std::less<>> files_;
};

} // namespace tess
