#include "platform/memory.h"
#include "scene/format/container.h"
#include "scene/format/dump.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

// Prints a scene file as indented text.

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "Usage: %s [> dump.dat] scene.quab\n", argc > 0 ? argv[0] : "dumpquab");
        return EXIT_FAILURE;
    }
    QbFile* file = qbUnlessOutOfMemory<QbFile*>(argv[1], nullptr, [argv] { return qbIffLoad(argv[1]); });
    if (!file) {
        std::fprintf(stderr, "Cannot open file %s", argv[1]);
        return -1;
    }
    qbIffMode = QB_DUMP_LABELS;
    qbIffSetFileName(argv[1]);
    const int result = qbIffReadFile(file);
    qbFileClose(file);
    if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0) return result;
    std::fprintf(stderr, "The dump can not be written: %s\n", std::strerror(errno));
    return -1;
}
