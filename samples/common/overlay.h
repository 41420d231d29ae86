#pragma once

#include "stage.h"

// Lettering and what else plays as an extra. It hangs on the camera, whose own place in such a scene is the
// origin, so that what stands at z = 20 stands in front of every shot. Extras have no lights of their own.

inline constexpr double overlayDepth = 20.0; // at 60 degrees of view: 11.5 to each side, 8.6 up and down

Shot openOverlay(Folder& folder, const std::string& name, double seconds);
// Centred around x = 0, standing on y = 0, one unit high. Fronts, on material 0, look along -Z; 1: the walls.
QbExportMesh makeText(const char* text, double spacing, double width, double thickness);
