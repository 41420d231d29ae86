#pragma once

#include "fuzz/fuzz.h"

// A mutation of a scene file that keeps it a tree of chunks with the right sizes, most of the time: bytes
// alone seldom get past the sizes.
size_t mutateSceneTree(uint8_t* data, size_t size, size_t most, unsigned seed);
