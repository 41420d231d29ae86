#pragma once

// Turntable view of one mesh. 0 when the user ended it, -1 after a message when the mesh did not load.
int qbObjectView(const char* path);
