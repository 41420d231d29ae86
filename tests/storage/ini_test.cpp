#include "storage/ini.h"

#include "support/temporary_directory.h"

#include <gtest/gtest.h>

namespace {

class Ini : public testing::Test {
protected:
    // The value of a key in a file of this text, "failed" without the file; what was printed goes to
    // `errors`.
    std::string get(std::string_view text, const char* key) {
        directory.write("Data/Show.demo.ini", text);
        testing::internal::CaptureStderr();
        dictionary* ini = qbIniLoad("data\\show.demo.INI");
        errors = testing::internal::GetCapturedStderr();
        const std::string value = ini ? iniparser_getstring(ini, key, "none") : "failed";
        iniparser_freedict(ini);
        return value;
    }
    TemporaryDirectory directory;
    std::string errors;
};

} // namespace

TEST_F(Ini, TakesOddTextsThroughTheLayer) {
    using namespace std::string_view_literals;
    EXPECT_EQ(get("[Setup]\r\nWidth = 0x10 ; hexadecimal\r\nname=a b\r\n", "SETUP:Name"), "a b");
    EXPECT_EQ(get("\xEF\xBB\xBF[a]\nb=1 \\\n2", "a:b"), "1 2"); // no line end
    EXPECT_EQ(get("[a]\nb=1\0\nc=2\n"sv, "a:c"), "2");
    EXPECT_EQ(get("[a]\nb=" + std::string(1020, 'x') + "\nc=2\n", "a:c"), "2"); // 1022 and the line end
    EXPECT_EQ(get("[a]\nc=2\n" + std::string(32766, '\n'), "a:c"), "2");
}

TEST_F(Ini, ErrorsNameTheFile) {
    EXPECT_EQ(get("[a]\nb=1\nwhat is this\n", ""), "failed");
    EXPECT_EQ(errors, "iniparser: syntax error in data\\show.demo.INI (3):\n-> what is this\n");
    EXPECT_EQ(get("[a]\nb=" + std::string(1022, 'x') + "\n", ""), "failed");
    EXPECT_EQ(errors, "iniparser: input line too long in data\\show.demo.INI (2)\n");
    EXPECT_EQ(get(std::string(32769, '\n'), ""), "failed");
    EXPECT_EQ(errors, "iniparser: data\\show.demo.INI has more than 32768 lines\n");

    testing::internal::CaptureStderr(); // the parser's own loading has its own errors back
    EXPECT_EQ(qbIniLoad("missing.ini"), nullptr);
    EXPECT_EQ(iniparser_load("elsewhere.ini"), nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "iniparser: cannot open missing.ini\niniparser: cannot open elsewhere.ini\n");
}
