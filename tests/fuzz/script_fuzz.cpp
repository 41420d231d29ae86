#include "demo/demo.h"
#include "fuzz/fuzz.h"

#include <cmath>
#include <cstring>

// Any file is a script: refused with the record clear, or read with every count and text within its limits.

static bool isText(const char (&text)[QB_DEMO_STRING_SIZE]) {
    return memchr(text, 0, sizeof(text)) != nullptr;
}

static void checkPart(const QbDemoPart& part) {
    qbFuzzExpect(isText(part.music) && isText(part.palette) && isText(part.directory) &&
                 isText(part.filename));
    qbFuzzExpect(std::isfinite(part.cameraNear) && std::isfinite(part.cameraFar));
    qbFuzzExpect(part.paletteChannel >= -1 && part.paletteChannel <= 2);
    qbFuzzExpect(part.extraCount >= 0 && part.extraCount <= QB_DEMO_EXTRAS_MAX);
    qbFuzzExpect(part.shaderCount >= 0 && part.shaderCount <= QB_DEMO_SHADERS_MAX);
    qbFuzzExpect(part.faderCount >= 0 && part.faderCount <= QB_DEMO_FADERS_MAX);
    for (const QbDemoExtra& extra : part.extras)
        qbFuzzExpect(isText(extra.directory) && isText(extra.filename));
    for (const QbDemoShader& shader : part.shaders)
        qbFuzzExpect(isText(shader.name));
}

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static QbDemo demo;
    memset(&demo, 0xcd, sizeof(demo));
    if (qbDemoParse(&demo, qbFuzzFile("show.demo.ini", data, size)) != 0) {
        static const QbDemo clear = {};
        qbFuzzExpect(memcmp(&demo, &clear, sizeof(demo)) == 0);
        return 0;
    }
    qbFuzzExpect(demo.partCount > 0 && demo.partCount <= QB_DEMO_PARTS_MAX);
    qbFuzzExpect(isText(demo.musicDirectory) && isText(demo.paletteDirectory) &&
                 isText(demo.shadersDirectory));
    for (int i = 0; i < demo.partCount; ++i)
        checkPart(demo.parts[i]);
    return 0;
}
