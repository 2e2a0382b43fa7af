#pragma once

// A user interface whose answers were given in advance, on the command line: a file
// dialog's choice, an input box's text, the answer to yes/no questions. What was not given
// goes to the interface underneath (prompts on a terminal, defaults otherwise).

#include "app/user_interface.h"

#include <optional>
#include <string>

namespace tess {

class PresetUI : public UserInterface {
public:
    explicit PresetUI(UserInterface& inner) : inner_(inner) {}

    // The choice of the next file dialog.
    void SetFile(std::string path) { file_ = std::move(path); }
    // The text of every input box.
    void SetInput(std::string text) { input_ = std::move(text); }
    // The answer to every yes/no question.
    void SetAnswer(Answer answer) { answer_ = answer; }

    using UserInterface::ShowMessage;
    void ShowMessage(std::string_view text, std::string_view caption) override;
    bool ShowsDialogs() const override { return inner_.ShowsDialogs(); }
    Answer Ask(std::string_view text, std::string_view caption, Buttons buttons) override;
    std::optional<std::string> InputBox(std::string_view prompt, std::string_view title,
                                        std::string_view default_answer) override;
    std::optional<std::string> OpenFileDialog(const FileDialog& dialog) override;
    std::optional<std::string> SaveFileDialog(const FileDialog& dialog) override;
    void ShowErrorReport(std::string_view report) override { inner_.ShowErrorReport(report); }
    void Beep() override { inner_.Beep(); }

protected:
    void DrawStatus(std::string_view text, StatusChange change) override;

private:
    std::optional<std::string> TakeFile();

    UserInterface& inner_;
    std::optional<std::string> file_;
    std::optional<std::string> input_;
    std::optional<Answer> answer_;
};

} // namespace tess
