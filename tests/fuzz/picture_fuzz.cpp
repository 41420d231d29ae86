#include "engine/file_resolver.h"
#include "engine/picture_check.h"
#include "fuzz/fuzz.h"
#include "fuzz/null_device.h"

#include <string>

// A letter that gives the file its ending, and the bytes of a picture: checked, then read by the engine.

static std::string nameFor(uint8_t letter) {
    switch (letter) {
    case 'j':
        return "picture.jpg";
    case 'p':
        return "picture.png";
    case 'b':
        return "picture.bmp";
    case 't':
        return "picture.TGA";
    case 'x':
        return "picture.pcx";
    case 's':
        return "picture.psd";
    case 'w':
        return "picture.wal";
    default:
        return "picture";
    }
}

int LLVMFuzzerInitialize(int*, char***) {
    qbFuzzOpenEngine();
    qbFileResolverAttach(qbEngineGet()->device->getFileSystem());
    return 0;
}

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    const std::string name = nameFor(data[0]);
    std::string bytes(reinterpret_cast<const char*>(data) + 1, size - 1);
    const bool isRefused = qbPictureCheck(name.c_str(), bytes) != nullptr;
    irr::video::IImage* image =
        qbEngineGet()->driver->createImageFromFile(qbFuzzFile(name.c_str(), data + 1, size - 1));
    if (!image) return 0;
    qbFuzzExpect(!isRefused);
    const irr::core::dimension2du sides = image->getDimension();
    qbFuzzExpect(sides.Width - 1 < QB_PICTURE_SIDE_MAX && sides.Height - 1 < QB_PICTURE_SIDE_MAX);
    image->drop();
    return 0;
}
