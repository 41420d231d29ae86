#pragma once

#include "stage.h"

// The show's scenes. Each call fills one directory of the show with its models and scenes.

void makeNight(const std::string& directory); // spark.quab, stones.quab, city.quab
void makeDawn(const std::string& directory);  // swimmer.quab, sunrise.quab, title.quab, afterglow.quab
void makeLetters(
    const std::string& directory); // captions, the title's lettering, overlays: all for the camera
