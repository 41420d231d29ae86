#include "platform/process.h"

#include "platform/path.h"

#include <atomic>
#include <chrono>
#include <climits>
#include <clocale>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <string>
#include <thread>
#include <unistd.h>

static std::string commandPath; // full path of argument 0

// Media and window libraries call setlocale(LC_ALL, "") behind our back; numbers stay "C" through it only
// when the environment says so, and LC_ALL would overrule LC_NUMERIC.
static void keepNumbersPlain() {
    if (const char* all = getenv("LC_ALL"); all && *all) {
        const std::string language = all;
        for (const char* category : {"LC_CTYPE", "LC_COLLATE", "LC_MESSAGES", "LC_MONETARY", "LC_TIME"})
            setenv(category, language.c_str(), 1);
        unsetenv("LC_ALL");
    }
    setenv("LC_NUMERIC", "C", 1);
    setlocale(LC_NUMERIC, "C");
}

// A closed stream's number would go to the next file or socket that opens: what the program prints would go
// there, into the connection to the X server as well.
static void fillStreams() {
    int file = -1;
    do
        file = open("/dev/null", O_RDWR);
    while (file >= 0 && file <= STDERR_FILENO);
    if (file >= 0) close(file);
}

void qbProcessStart(int argc, char** argv) {
    fillStreams();
    if (argc > 0 && argv && argv[0]) commandPath = qbFullPath(argv[0]);
    keepNumbersPlain();
}

const char* qbProgramPath() {
    static char path[PATH_MAX];
    const ssize_t length = readlink("/proc/self/exe", path, sizeof(path) - 1);
    if (length <= 0) return commandPath.c_str();
    path[length] = '\0';
    return path;
}

void qbProcessSleep(int milliseconds) {
    if (milliseconds > 0) std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

long long qbProcessTime() {
    using namespace std::chrono;
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

// --- the end from outside -------------------------------------------------------------------------------

static constexpr long long SAME_WISH = 2000;  // milliseconds
static std::atomic<long long> firstWish = -1; // its time in milliseconds, -1 for none
static_assert(decltype(firstWish)::is_always_lock_free, "a signal handler may not wait for a lock");

// A wish comes twice at once where a process and its group are told of it, as the tool `timeout` does, and
// many times where a key is held down.
static void keepWish(int signal) {
    timespec time = {};
    clock_gettime(CLOCK_MONOTONIC, &time);
    const long long now = time.tv_sec * 1000LL + time.tv_nsec / 1000000;
    if (firstWish < 0) firstWish = now;
    if (now - firstWish < SAME_WISH) return;
    std::signal(signal, SIG_DFL);
    raise(signal); // takes effect when the handler returns
}

void qbProcessCatchEnd() {
    // Who reads what is printed may go away, and a file may grow too large: the writes fail, and that is all.
    for (const int signal : {SIGPIPE, SIGXFSZ})
        std::signal(signal, SIG_IGN);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
        struct sigaction action = {};
        if (sigaction(signal, nullptr, &action) != 0 || action.sa_handler == SIG_IGN) continue;
        action = {};
        action.sa_handler = keepWish;
        sigaction(signal, &action, nullptr); // without SA_RESTART: what waits shall look at the wish
    }
}

int qbProcessEndAsked() {
    return firstWish >= 0 ? 1 : 0;
}
