#pragma once

#include "stage.h"

// The show's scenes. Each call fills one directory of the show with its models and its scene.

inline constexpr double valleySeconds = 16;
inline constexpr double craterSeconds = 12;
inline constexpr double titleSeconds = 5;

void makeValley(const std::string& directory); // valley.quab
void makeCrater(const std::string& directory); // crater.quab
void makeTitle(const std::string& directory);  // title.quab, for the camera
