#include "app/error_report.h"
#include "app/scripted_ui.h"
#include "base/version.h"

#include <gtest/gtest.h>

namespace tess {
namespace {

TEST(ErrorReport, TextHasEveryLineInOrder) {
    ErrorSite site{"canvas.cpp", "Canvas::LoadFile", 120};
    std::string expected = std::string("Error Detected\n"
                                       "Please report this to Tessarolle technical support with "
                                       "this information:\n"
                                       "Version: ") +
                           kVersionText +
                           "\n"
                           "Module: canvas.cpp\n"
                           "Procedure: Canvas::LoadFile\n"
                           "Line #: 120\n"
                           "Error #: 53\n"
                           "Error Description: File not found";
    EXPECT_EQ(ErrorReportText(site, 53, "File not found"), expected);
}

TEST(ErrorReportDeathTest, EndsTheProgramAtOnceWithTheReport) {
    ScriptedUI ui;
    EXPECT_EXIT(ReportError(ui, TessError(ErrorNumber::Overflow, "Overflow")),
                ::testing::ExitedWithCode(kExitErrorReport),
                "Error Debug Report\nError Detected\n.*Module: error_report_test.cpp\n"
                "Procedure: .*\nLine #: [0-9]+\nError #: 6\nError Description: Overflow");
}

} // namespace
} // namespace tess
