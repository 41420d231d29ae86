#include "materials/camera_shaders.h"

int qbShadersInit(const char* /*directory*/) {
    return 0;
}

int qbShaderLoad(const char* /*path*/, int /*id*/) {
    return 0;
}

int qbShaderFree(int /*id*/) {
    return 0;
}

int qbShaderEnable(int /*id*/) {
    return 0;
}

int qbShaderDisable(int /*id*/) {
    return 0;
}

int qbCameraShadersEnable() {
    return 0;
}

int qbCameraShadersDisable() {
    return 0;
}
