#include "base/error.h"

#include <gtest/gtest.h>

namespace tess {
namespace {

struct Widget {
    int line = 0;
    void Fail() {
        line = __LINE__ + 1;
        throw TessError(ErrorNumber::TypeMismatch, "Type mismatch");
    }
};

TEST(TessError, CarriesModuleProcedureAndLine) {
    Widget widget;
    try {
        widget.Fail();
        FAIL() << "no exception";
    } catch (const TessError& e) {
        EXPECT_EQ(e.Number(), 13);
        EXPECT_EQ(e.Description(), "Type mismatch");
        EXPECT_EQ(e.Site().module, "error_test.cpp");
        EXPECT_EQ(e.Site().procedure, "{anonymous}::Widget::Fail");
        EXPECT_EQ(e.Site().line, widget.line);
    }
}

TEST(TessError, ShortensSignatures) {
    EXPECT_EQ(ShortProcedureName("void tess::INI::SetKey(std::string_view, int)"), "INI::SetKey");
    EXPECT_EQ(ShortProcedureName("std::vector<int> tess::Canvas::Items() const"), "Canvas::Items");
    EXPECT_EQ(ShortProcedureName("bool tess::Image::operator()(int)"), "Image::operator()");
    EXPECT_EQ(ShortProcedureName("int main(int, char**)"), "main");
}

} // namespace
} // namespace tess
