#pragma once

#include <array>
#include <cstdint>

// What a run could pile up, counted from outside: by the process's own tables, by Irrlicht, and by asking the
// driver for each of its names.

enum Count {
    // Tables of this program.
    COUNT_SLOTS, // scenes in slots
    COUNT_IDS,   // objects, lights, emitters and tunes in the engine's lists
    COUNT_LIGHTS_SHOWN,
    COUNT_SHADERS, // records that hold a material type
    // Irrlicht.
    COUNT_NODES, // of the scene graph, with its root
    COUNT_ANIMATORS,
    COUNT_ELEMENTS, // of the GUI, with its root
    COUNT_TEXTURES,
    COUNT_MESHES,    // in its cache
    COUNT_RENDERERS, // of materials
    // Names of the driver.
    COUNT_GL_TEXTURES,
    COUNT_GL_BUFFERS,
    COUNT_GL_PROGRAMS, // GLSL and assembly, with their shaders
    COUNT_GL_FRAMES,   // frame buffers and render buffers
    // The process.
    COUNT_DESCRIPTORS,
    COUNT_THREADS,
    COUNT_TEMPORARY, // files and directories in its own temporary directory
    COUNT_BLOCKS,    // from this program's and Irrlicht's operator new
    COUNT_OWN_HEAP,  // KiB of them
    COUNT_HEAP,      // KiB in use, with what libraries and driver hold
    COUNT_RESIDENT,  // KiB of memory
    COUNTS
};

using Counts = std::array<int64_t, COUNTS>;

struct CountInfo {
    const char* name;
    int64_t margin;  // by which a value may grow and still be called flat; 0: it must not change
    const char* why; // of a margin above 0
};

const CountInfo& countInfo(int count);
// Of the open engine.
Counts countAll();
