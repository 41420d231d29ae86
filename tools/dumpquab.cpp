#include "scene/format/container.h"
#include "scene/format/dump.h"

#include <cstdio>
#include <cstdlib>

// Prints a scene file as indented text.

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "Usage: %s [> dump.dat] scene.quab\n", argc > 0 ? argv[0] : "dumpquab");
        return EXIT_FAILURE;
    }
    QbFile* file = qbIffLoad(argv[1]);
    if (!file) {
        std::fprintf(stderr, "Cannot open file %s", argv[1]);
        return -1;
    }
    qbIffMode = QB_DUMP_LABELS;
    qbIffSetFileName(argv[1]);
    const int result = qbIffReadFile(file);
    qbFileClose(file);
    return result;
}
