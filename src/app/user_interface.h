#pragma once

// Everything a desktop program would show in a window goes through this interface: message
// boxes, questions, input boxes, file dialogs, the status window and the splash. The
// console, headless and scripted implementations stand in for windows on Linux.

#include "base/log.h"

#include <optional>
#include <string>
#include <string_view>

namespace tess {

enum class Buttons { Ok, OkCancel, YesNo, YesNoCancel };
enum class Answer { Ok, Cancel, Yes, No };
enum class StatusChange { Shown, Updated, Hidden };

struct FileDialog {
    std::string title;
    std::string default_extension; // ".por"
    std::string filter;            // "Portfolios (*.por)|*.por"
    std::string initial_name;
    std::string initial_directory;
};

class UserInterface {
public:
    virtual ~UserInterface() = default;

    virtual void ShowMessage(std::string_view text, std::string_view caption) = 0;
    // Whether messages are shown in dialogs beside menus. Where they are not (a terminal, a
    // log), texts that point at a menu name the command to type instead.
    virtual bool ShowsDialogs() const { return false; }
    void ShowMessage(std::string_view dialog_text, std::string_view terminal_text,
                     std::string_view caption) {
        ShowMessage(ShowsDialogs() ? dialog_text : terminal_text, caption);
    }
    virtual Answer Ask(std::string_view text, std::string_view caption, Buttons buttons) = 0;
    // nullopt when the user cancels.
    virtual std::optional<std::string> InputBox(std::string_view prompt, std::string_view title,
                                                std::string_view default_answer) = 0;
    virtual std::optional<std::string> OpenFileDialog(const FileDialog& dialog) = 0;
    virtual std::optional<std::string> SaveFileDialog(const FileDialog& dialog) = 0;

    // The fatal error report; by default a message box captioned "Error Debug Report".
    virtual void ShowErrorReport(std::string_view report);
    virtual void Beep() {}

    virtual void ShowSplash() {}
    virtual void RedrawSplash() {}
    virtual void CloseSplash() {}
    virtual void UnloadSplash() {}

    // The status window: a message with a row of progress dots.
    void ShowStatus(std::string_view message);
    // Acts every 100th call, counted in `counter`: the dots grow, then start again.
    void UpdateStatus(int& counter);
    // Shows a new text in the status window without showing it afresh.
    void RedrawStatus(std::string_view text);
    void HideStatus();
    const std::string& StatusText() const { return status_text_; }
    bool StatusVisible() const { return status_visible_; }

protected:
    virtual void DrawStatus(std::string_view text, StatusChange change) = 0;

private:
    std::string status_text_;
    bool status_visible_ = false;
};

// "Loading..." -> "Loading" -> "Loading." -> "Loading.." -> "Loading..."
std::string NextStatusText(std::string_view text);

// The level a message box's text is logged at, by its caption: what failed is an error, a
// cancelled choice a warning, anything else info.
LogLevel MessageLevel(std::string_view caption);

} // namespace tess
