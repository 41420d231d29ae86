#pragma once

#include "scene/export/x_writer.h"

#include <cstdint>
#include <functional>
#include <vector>

// Meshes for samples, tests and benchmarks. Shapes come without materials, all triangles on material 0,
// around the origin, with normals, texture coordinates and fronts that face outwards. Sizes in world units;
// counts below the least that makes a body are raised to it (3 segments, 1 cell).

QbExportMesh qbShapeBox(QbVec3 size);                               // each face 0..1 in uv, flat
QbExportMesh qbShapeIcosphere(float radius, uint32_t subdivisions); // 20 x 4^subdivisions triangles
// In the XZ plane, facing up, cellsX x cellsZ cells. uv 0..1: u along X, v along -Z.
QbExportMesh qbShapePlane(float sizeX, float sizeZ, uint32_t cellsX, uint32_t cellsZ);
// The same with heights; normals from the height function's slopes.
QbExportMesh qbShapeHeightField(float sizeX, float sizeZ, uint32_t cellsX, uint32_t cellsZ,
                                const std::function<float(float x, float z)>& height);
// Around Y: `ring` from the centre to the middle of the tube, `tube` its radius.
QbExportMesh qbShapeTorus(float ring, float tube, uint32_t ringSegments, uint32_t tubeSegments);
// Along Y with closed ends, from -height / 2 to height / 2. A cylinder has equal radii, a cone one of 0.
QbExportMesh qbShapeCylinder(float bottomRadius, float topRadius, float height, uint32_t segments);
// Profile of (radius, y) pairs from the lowest to the highest, turned around Y. Smooth along the profile;
// repeat a point for a sharp edge. Ends with a radius above 0 stay open.
QbExportMesh qbShapeRevolve(const std::vector<QbVec2>& profile, uint32_t segments);

// --- changing meshes ------------------------------------------------------------

// Adds a part's geometry (no bones), its triangles on `material` of `mesh`.
void qbMeshAppend(QbExportMesh& mesh, const QbExportMesh& part, uint32_t material);
// Scales, then turns about X, Y, Z in degrees, then moves. Normals follow; a mirroring scale keeps the front
// outside.
void qbMeshTransform(QbExportMesh& mesh, QbVec3 position, QbVec3 degrees = {0, 0, 0},
                     QbVec3 scale = {1, 1, 1});
void qbMeshScaleUv(QbExportMesh& mesh, float u, float v);
// Own vertices and the triangle's normal for each triangle.
void qbMeshFlatNormals(QbExportMesh& mesh);
// Shares normals among all vertices of equal position, weighted by area.
void qbMeshSmoothNormals(QbExportMesh& mesh);
