#include "shell/entry.h"

int main(int argc, char** argv) {
    return qbMain(argc, argv);
}
