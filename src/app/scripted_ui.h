#pragma once

// A user interface for tests: answers are queued in advance and everything shown is recorded.

#include "app/user_interface.h"

#include <deque>
#include <vector>

namespace tess {

class ScriptedUI : public UserInterface {
public:
    struct Shown {
        std::string kind; // "message", "question", "input", "open", "save", "error", "beep"
        std::string text;
        std::string caption;
    };

    void QueueAnswer(Answer answer) { answers_.push_back(answer); }
    void QueueInput(std::optional<std::string> text) { inputs_.push_back(std::move(text)); }
    void QueueFile(std::optional<std::string> path) { files_.push_back(std::move(path)); }

    const std::vector<Shown>& Record() const { return shown_; }
    std::vector<std::string> StatusHistory() const { return status_history_; }

    using UserInterface::ShowMessage;
    void ShowMessage(std::string_view text, std::string_view caption) override;
    // It stands in for the dialogs, unless a test asks for the terminal's wording.
    bool ShowsDialogs() const override { return dialogs_; }
    void SetShowsDialogs(bool value) { dialogs_ = value; }
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
    std::optional<std::string> NextFile(std::string kind, const FileDialog& dialog);

    std::deque<Answer> answers_;
    std::deque<std::optional<std::string>> inputs_;
    std::deque<std::optional<std::string>> files_;
    std::vector<Shown> shown_;
    std::vector<std::string> status_history_;
    bool dialogs_ = true;
};

} // namespace tess
