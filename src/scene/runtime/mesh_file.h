#pragma once

#include <string>

// Mesh files on their way into the engine.

namespace irr {
namespace scene {
class IAnimatedMesh;
} // namespace scene
} // namespace irr

// Full path of the file that a mesh name means: a plain name lies in the current directory, a name with a
// separator is taken as it is. False when there is no such file.
bool qbMeshFileFind(const char* name, std::string& path);

// The mesh of a file, which the engine keeps by its path; null when it does not load. A ".x" file is looked
// through before the engine reads it: a damaged one gives null and a message that names the file, the place
// and what is wrong. A binary one that is cut short is told to the engine's logger as well. Files of other
// formats pass unseen.
//
// A mesh that does not move has its frames' matrices worked into its vertices, since the node that draws it
// knows none.
irr::scene::IAnimatedMesh* qbMeshFileLoad(const std::string& path);
