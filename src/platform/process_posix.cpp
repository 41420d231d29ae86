#include "platform/process.h"

#include "platform/path.h"

#include <chrono>
#include <climits>
#include <clocale>
#include <cstdlib>
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

void qbProcessStart(int argc, char** argv) {
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
