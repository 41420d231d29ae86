#pragma once

#include <string>

// Mesh files, looked at before the engine's readers see them.

// Full path of the file that a mesh name means: a plain name lies in the current directory, a name with a
// separator is taken as it is. False when there is no such file.
bool qbMeshFileFind(const char* name, std::string& path);

// Checks the header of a ".x" file: false, after a message that names the file, for what the engine's reader
// can not read. Files of other formats pass unseen.
bool qbMeshFileCheck(const char* path);
