#include "engine/engine.h"
#include "fuzz/fuzz.h"
#include "platform/dialog/dialog.h"
#include "shell/setup.h"

// Any file is a setup file: what it asks the engine for is looked at, and no engine is opened.

static int timesOpened;

int qbEngineOpen(const QbSetup* setup) {
    qbFuzzExpect(setup->vsync == 1 && setup->windowed >= -1 && setup->windowed <= 1);
    ++timesOpened;
    return 0;
}

int qbSetupDialog(int*, int*, int*, int*, int*, int*, int*, int*) {
    abort(); // was not allowed
}

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const char* path = qbFuzzFile("quab-setup.ini", data, size);
    timesOpened = 0;
    qbFuzzExpect(qbSetupOpen(path, 0, -1) == 0 && timesOpened == 1);
    const int shaders = qbSetupShaders();
    qbFuzzExpect(shaders == 0 || (shaders == 1 && qbSetupFileRead() == 1));
    return 0;
}
