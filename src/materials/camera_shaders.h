#pragma once

// Full-screen shaders on the timeline: numbered and stepped through, without an effect on the picture. The
// hooks do nothing and return 0.
int qbShadersInit(const char* directory);
int qbShaderLoad(const char* path, int id);
int qbShaderFree(int id);
int qbShaderEnable(int id);
int qbShaderDisable(int id);
int qbCameraShadersEnable();
int qbCameraShadersDisable();
