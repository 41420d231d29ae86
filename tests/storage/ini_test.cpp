#include "storage/ini.h"

#include "storage/file.h"
#include "support/temporary_directory.h"

#include <gtest/gtest.h>
#include <memory>

namespace {

using Dictionary = std::unique_ptr<dictionary, decltype(&iniparser_freedict)>;

class Ini : public testing::Test {
protected:
    // Loads "show.demo.ini" with this text; what was printed goes to `errors`.
    Dictionary load(std::string_view text) {
        directory.write("show.demo.ini", text);
        return loadFile("show.demo.ini");
    }
    Dictionary loadFile(const char* name) {
        testing::internal::CaptureStderr();
        Dictionary result(qbIniLoad(name), iniparser_freedict);
        errors = testing::internal::GetCapturedStderr();
        return result;
    }
    static std::string get(const Dictionary& ini, const char* key) {
        return iniparser_getstring(ini.get(), key, "none");
    }
    TemporaryDirectory directory;
    std::string errors;
};

} // namespace

TEST_F(Ini, ReadsThroughTheLayer) {
    directory.write("Data/Show.ini", "[Setup]\r\nWidth = 0x10 ; hexadecimal\r\nname=a b\r\n");
    qbFileSetRoot("data");
    const Dictionary ini = loadFile("show.INI");
    qbFileSetRoot("");
    ASSERT_TRUE(ini);
    EXPECT_EQ(iniparser_getint(ini.get(), "setup:width", -1), 16);
    EXPECT_EQ(get(ini, "SETUP:Name"), "a b");
    EXPECT_EQ(errors, "");
}

TEST_F(Ini, TakesOddTexts) {
    using namespace std::string_view_literals;
    EXPECT_EQ(get(load("\xEF\xBB\xBF[a]\nb=1\n"), "a:b"), "1");
    EXPECT_EQ(get(load("[a]\nb=1 \\\n2"), "a:b"), "1 2"); // no line end
    EXPECT_EQ(get(load("[a]\nb=1\0\nc=2\n"sv), "a:c"), "2");
    EXPECT_EQ(get(load("[a]\nb=" + std::string(1020, 'x') + "\nc=2\n"), "a:c"), "2"); // 1022 and the line end
    EXPECT_TRUE(load(""));
}

TEST_F(Ini, ErrorsNameTheFile) {
    EXPECT_FALSE(load("[a]\nb=1\nwhat is this\n"));
    EXPECT_EQ(errors, "iniparser: syntax error in show.demo.ini (3):\n-> what is this\n");
    EXPECT_FALSE(load("[a]\nb=" + std::string(1022, 'x') + "\n"));
    EXPECT_EQ(errors, "iniparser: input line too long in show.demo.ini (2)\n");
    EXPECT_FALSE(loadFile("missing.ini"));
    EXPECT_EQ(errors, "iniparser: cannot open missing.ini\n");
    EXPECT_FALSE(loadFile("."));
    EXPECT_FALSE(qbIniLoad(nullptr));

    qbFileUseMemory();
    EXPECT_FALSE(load("[a]\n"));
    qbFileUseStdio();
    EXPECT_EQ(errors, "iniparser: show.demo.ini can not be read by lines from memory\n");

    testing::internal::CaptureStderr(); // the parser's own loading has its own errors back
    EXPECT_EQ(iniparser_load("elsewhere.ini"), nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "iniparser: cannot open elsewhere.ini\n");
}
