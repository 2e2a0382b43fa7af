#include "app/user_interface.h"

namespace tess {

std::string NextStatusText(std::string_view text) {
    if (text.ends_with("...")) return std::string(text.substr(0, text.size() - 3));
    return std::string(text) + ".";
}

LogLevel MessageLevel(std::string_view caption) {
    if (caption == "Tessarolle") return LogLevel::Info;
    if (caption == "No file selected") return LogLevel::Warning;
    return LogLevel::Error;
}

void UserInterface::ShowErrorReport(std::string_view report) {
    ShowMessage(report, "Error Debug Report");
}

void UserInterface::ShowStatus(std::string_view message) {
    status_text_ = message;
    status_visible_ = true;
    DrawStatus(status_text_, StatusChange::Shown);
}

void UserInterface::UpdateStatus(int& counter) {
    if (++counter < 100) return;
    counter = 0;
    RedrawStatus(NextStatusText(status_text_));
}

void UserInterface::RedrawStatus(std::string_view text) {
    status_text_ = text;
    if (status_visible_) DrawStatus(status_text_, StatusChange::Updated);
}

void UserInterface::HideStatus() {
    if (!status_visible_) return;
    status_visible_ = false;
    DrawStatus(status_text_, StatusChange::Hidden);
}

} // namespace tess
