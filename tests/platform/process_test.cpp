#include "platform/process.h"
#include "platform/text_alias.h"

#include <clocale>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <string>

TEST(Process, KeepsNumbersPlainWhateverALibraryDoes) {
    setenv("LC_ALL", "C.UTF-8", 1);
    char name[] = "platform_test";
    char* argv[] = {name, nullptr};
    qbProcessStart(1, argv);
    setlocale(LC_ALL, ""); // as window and media libraries do
    EXPECT_STREQ(setlocale(LC_NUMERIC, nullptr), "C");
    EXPECT_STREQ(setlocale(LC_CTYPE, nullptr), "C.UTF-8"); // names keep their encoding
    setlocale(LC_ALL, "C");
}

TEST(Process, KnowsItsProgramAndClock) {
    EXPECT_EQ(qbProgramPath(), std::filesystem::read_symlink("/proc/self/exe").string());
    const long long start = qbProcessTime();
    qbProcessSleep(-1);
    qbProcessSleep(20);
    EXPECT_GE(qbProcessTime() - start, 20);
}

static std::string contents(const std::string& name) {
    std::ifstream file(name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

TEST(TextAlias, OpensAgainAndAgainUntilReleased) {
    const std::string text = std::string(100000, 't') + '\0' + "\r\nend";
    QbTextAlias* alias = qbTextAliasCreate(text.data(), static_cast<unsigned>(text.size()));
    QbTextAlias* empty = qbTextAliasCreate(nullptr, 0);
    ASSERT_TRUE(alias && empty);
    const std::string name = qbTextAliasName(alias);
    EXPECT_NE(name, qbTextAliasName(empty));
    EXPECT_EQ(contents(name), text);
    EXPECT_EQ(contents(name), text);
    EXPECT_EQ(contents(qbTextAliasName(empty)), "");
    qbTextAliasFree(alias);
    EXPECT_FALSE(std::filesystem::exists(name));
    qbTextAliasFree(empty);
    qbTextAliasFree(nullptr);
    EXPECT_EQ(qbTextAliasCreate(nullptr, 1), nullptr);
}
