#include "platform/message.h"

#include "support/messages.h"

#include <gtest/gtest.h>

TEST(Message, GoesToTheErrorStreamAndTheSink) {
    testing::internal::CaptureStderr();
    {
        const Messages messages;
        qbMessage("Failed to load %s %d", "a%s", 7);
        qbMessage("Failed to init shaders !\n");
        EXPECT_EQ(messages.texts(),
                  (std::vector<std::string>{"Failed to load a%s 7", "Failed to init shaders !\n"}));
    }
    qbMessage("alone");
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "Failed to load a%s 7\nFailed to init shaders !\nalone\n");
}

TEST(Message, IsCutAt1023Characters) {
    testing::internal::CaptureStderr();
    testing::internal::CaptureStdout();
    const std::string text(2000, 'm');
    qbMessage("%s", text.c_str());
    qbTrace("%s", text.c_str());
    EXPECT_EQ(testing::internal::GetCapturedStderr(), std::string(1023, 'm') + "\n");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), std::string(1023, 'm')); // no line end of its own
}
