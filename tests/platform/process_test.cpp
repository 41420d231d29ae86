#include "platform/process.h"
#include "support/messages.h"

#include <clocale>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

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

// Or the next file and socket would get what is printed.
TEST(Process, FillsClosedStreams) {
    const auto run = [] {
        for (const int stream : {0, 2, 1})
            close(stream);
        qbProcessStart(0, nullptr);
        const bool taken = write(1, "", 1) == 1 && write(2, "", 1) == 1;
        _exit(taken && open("/dev/null", O_RDONLY) > 2 ? 0 : 1);
    };
    EXPECT_EXIT(run(), testing::ExitedWithCode(0), "");
}

// A process that gets one signal, or the same wish twice at once, and another one later.
static pid_t startSignalled(const std::vector<int>& first, int later) {
    const pid_t process = fork();
    if (process != 0) return process;
    qbProcessCatchEnd();
    int asked = qbProcessEndAsked();
    for (const int signal : first) {
        raise(signal);
        asked = asked * 10 + qbProcessEndAsked();
    }
    if (later != 0) {
        qbProcessSleep(2100);
        raise(later);
    }
    _exit(asked);
}

TEST(Process, KeepsTheFirstWishToEndAndGivesInToALaterOne) {
    std::vector<std::pair<pid_t, int>> expected; // wait status
    std::signal(SIGHUP, SIG_IGN);                // as under nohup
    expected.emplace_back(startSignalled({SIGHUP}, SIGHUP), W_EXITCODE(0, 0));
    std::signal(SIGHUP, SIG_DFL);
    expected.emplace_back(startSignalled({SIGPIPE, SIGXFSZ, SIGQUIT}, 0), W_EXITCODE(1, 0));
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        expected.emplace_back(startSignalled({signal, signal}, 0), W_EXITCODE(11, 0));
        expected.emplace_back(startSignalled({SIGINT}, signal), W_EXITCODE(0, signal));
    }
    for (const auto& [process, end] : expected) {
        int status = -1;
        waitpid(process, &status, 0);
        EXPECT_EQ(status, end);
    }
}
