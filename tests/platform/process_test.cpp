#include "platform/process.h"
#include "support/messages.h"

#include <clocale>
#include <cstdlib>
#include <gtest/gtest.h>

TEST(Message, GoesToTheErrorStreamAndTheSinkAndIsCutAt1023Characters) {
    const std::string text(2000, 'm');
    const std::string cut(1023, 'm');
    testing::internal::CaptureStderr();
    testing::internal::CaptureStdout();
    {
        const Messages messages;
        qbMessage("Failed to load %s %d\n", "a%s", 7);
        EXPECT_EQ(messages.texts(), std::vector<std::string>{"Failed to load a%s 7\n"});
    }
    qbMessage("%s", text.c_str());
    qbTrace("%s", text.c_str());
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Failed to load a%s 7\n" + cut + "\n");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), cut); // no line end of its own
}

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
