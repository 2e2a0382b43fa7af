// The conformance suite: every script under scripts/ runs through `tessarolle script`; its
// standard output must equal the .out file beside it. A .err file holds the start of the
// expected error report, and the run must then end with status 1.

#include "support/run_process.h"
#include "support/temp_dir.h"

#include <filesystem>
#include <fstream>
#include <sstream>

#include <gtest/gtest.h>

namespace tess {
namespace {

namespace fs = std::filesystem;

std::string ReadAll(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

std::vector<std::string> Scripts() {
    std::vector<std::string> names;
    for (const auto& entry :
         fs::directory_iterator(fs::path(TESS_SOURCE_DIR) / "tests/vbscript/scripts"))
        if (entry.path().extension() == ".vbs") names.push_back(entry.path().stem().string());
    std::sort(names.begin(), names.end());
    return names;
}

class Conformance : public testing::TestWithParam<std::string> {};

TEST_P(Conformance, OutputMatches) {
    const fs::path dir = fs::path(TESS_SOURCE_DIR) / "tests/vbscript/scripts";
    const fs::path script = dir / (GetParam() + ".vbs");
    const auto result =
        test::RunProcess({TESS_BINARY, "script", script.string()}, dir.string(), 60);
    EXPECT_EQ(result.out, ReadAll(dir / (GetParam() + ".out")));
    const fs::path expected_error = dir / (GetParam() + ".err");
    if (fs::exists(expected_error)) {
        std::string want = ReadAll(expected_error);
        while (!want.empty() && want.back() == '\n')
            want.pop_back();
        EXPECT_EQ(result.exit_code, 1);
        EXPECT_NE(result.err.find(want), std::string::npos) << result.err;
    } else {
        EXPECT_EQ(result.exit_code, 0) << result.err;
        EXPECT_EQ(result.err, "");
    }
}

INSTANTIATE_TEST_SUITE_P(Scripts, Conformance, testing::ValuesIn(Scripts()),
                         [](const testing::TestParamInfo<std::string>& info) {
                             return info.param;
                         });

TEST(ScriptCommand, CallsAProcedureWithArgumentsAndReportsAMissingFile) {
    const fs::path dir = fs::path(TESS_SOURCE_DIR) / "tests/vbscript/scripts";
    auto result = test::RunProcess(
        {TESS_BINARY, "script", (dir / "control.vbs").string(), "--call", "Grade", "5"},
        dir.string(), 60);
    EXPECT_EQ(result.exit_code, 0) << result.err;
    result = test::RunProcess({TESS_BINARY, "script", "no-such-script.vbs"}, dir.string(), 60);
    EXPECT_EQ(result.exit_code, 2);
    EXPECT_NE(result.err.find("no-such-script.vbs"), std::string::npos);
    result = test::RunProcess(
        {TESS_BINARY, "script", (dir / "control.vbs").string(), "--call", "NoSuchSub"},
        dir.string(), 60);
    EXPECT_EQ(result.exit_code, 1);
    EXPECT_NE(result.err.find("NoSuchSub"), std::string::npos);
}

} // namespace
} // namespace tess
