#pragma once

#include "support/temporary_directory.h"

#include <string>
#include <vector>

// A little show in "show/" whose files name each other in all the ways that there are.
extern const char SHOW_SCRIPT[]; // its path

void writeShow(const TemporaryDirectory& directory);
// The files that it needs, below "show/", as they are spelled on the disk: all but the tune.
std::vector<std::string> showFiles();
