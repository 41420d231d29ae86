#pragma once

#include "synth.h"

#include <string>

// Writes a bus as an mp3 file of 160 kilobits a second. 0, or -1 with a reason in `error`.
int saveMp3(const Bus& bus, const std::string& path, std::string& error);
