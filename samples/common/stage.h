#pragma once

#include "colour.h"
#include "scene/export/mesh_shapes.h"
#include "scene/export/quab_writer.h"
#include "scene/export/x_writer.h"

#include <functional>
#include <string>
#include <string_view>
#include <vector>

// What the scenes of a show are made with: models that a directory's scenes share, looks that become both a
// mesh material and a surface, cameras and lights on smooth paths. Seconds count from the scene's start.

struct Vec {
    double x, y, z;
};
constexpr Vec operator+(Vec a, Vec b) {
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}
constexpr Vec operator-(Vec a, Vec b) {
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}
constexpr Vec operator*(Vec a, double f) {
    return {a.x * f, a.y * f, a.z * f};
}
Vec crossProduct(Vec a, Vec b);
Vec unitVector(Vec a);
QbVec3 toFloats(Vec a);

using Path = std::function<Vec(double seconds)>;
using Curve = std::function<double(double seconds)>;

struct Key {
    double seconds;
    Vec value;
};

// A smooth path through the keys that keeps moving at both ends, so that a cut never shows a camera at rest.
Path throughKeys(std::vector<Key> keys);
double easeBetween(double from, double to, double at);         // 0 before, 1 behind, no jerk in between
double overshoot(double from, double to, double at);           // the same, but swings a little past 1
double beatPulse(double seconds, double period, double decay); // 1 on each beat, falling

// --- models -------------------------------------------------------------------------------------

// A surface, and the mesh material that shows the same without the surface's shading.
struct Look {
    const char* name;
    Colour colour;
    float diffuse = 1;
    float luminosity = 0;
    float specularity = 0;
    float glossiness = 0;
    float glow = 0;
    // Pictures; one of a value takes that value's place. A png as `image` lets through what lies behind it.
    const char* image = nullptr;         // of colours
    const char* luminosityMap = nullptr; // these three: of brightness
    const char* specularityMap = nullptr;
    const char* glossinessMap = nullptr;
    const char* bump = nullptr;       // of normals
    const char* reflection = nullptr; // of what surrounds
    float reflectivity = 0;           // counts as its square
    bool bothSides = false;
    const char* shader = nullptr; // draws the surface alone: only bothSides counts beside it
};

struct Model {
    std::string stem;
    int layer;
    QbExportMesh mesh;
    std::vector<Look> looks; // look i colours the mesh's material i
    QbExportXFormat format;
};

struct Folder {
    std::string path;
    std::vector<Model> models;
};

void addModel(Folder& folder, const char* stem, QbExportMesh mesh, std::vector<Look> looks,
              QbExportXFormat format = QB_EXPORT_X_BINARY, int layer = 1);

// A quad whose front shows a, b, c, d clockwise.
void addQuad(QbExportMesh& mesh, Vec a, Vec b, Vec c, Vec d, uint32_t material = 0);
void addTriangle(QbExportMesh& mesh, Vec a, Vec b, Vec c, uint32_t material = 0);
// A skin over rings of equal point counts, with both ends closed. Along the axis from the first ring to the
// last, a ring's points turn clockwise as seen from behind. uv: u around, v from the first ring to the last.
QbExportMesh skinOverRings(const std::vector<std::vector<Vec>>& rings);
void addBeam(QbExportMesh& mesh, Vec from, Vec to, double thickness);
// Seen from inside; u runs round the horizon with 0.25 ahead along Z, v from the zenith to the foot.
QbExportMesh makeDome(double radius);
// An open cone along +Z, v from 0 at its foot in the origin to 1 at its end: the mesh of beam.hlsl.
QbExportMesh makeBeam(double footRadius, double endRadius, double length);
// Adds the mesh once more, upside down below the ground at height 0.
void addMirrored(QbExportMesh& mesh);

// --- shots --------------------------------------------------------------------------------------

struct Shot {
    Folder& folder;
    QbExportScene scene;
};

Shot openShot(Folder& folder, const std::string& name, double seconds, const Colour& zenith);
// Puts a model on the stage. The reference holds until the next call.
QbExportObject& place(Shot& shot, std::string_view stem, int layer = 1);
void placeAt(Shot& shot, std::string_view stem, Vec position, Vec degrees = {0, 0, 0}, Vec scale = {1, 1, 1});
QbExportSurface& surfaceOf(Shot& shot, std::string_view stem, size_t index);
// Animates a parameter of the surface's shader, for all objects of that stem in the scene.
void setParam(Shot& shot, std::string_view stem, const char* param, const Curve& value, size_t surface = 0);
void setParamColour(Shot& shot, std::string_view stem, const Colour& colour); // Red, Green, Blue
void setAmbient(Shot& shot, const Path& colour);                              // red, green, blue over time
void setGlow(Shot& shot, const Curve& intensity, const Curve& radius);
void film(Shot& shot, const Path& eye, const Path& target, const Curve& fovDegrees, const Curve& bankDegrees);
void addLamp(Shot& shot, const char* name, const Colour& colour, float range, const Path& position,
             const Curve& intensity);
// Shines along `towards`; `cone` and `edge` are half angles in degrees, the edge lies within the cone.
struct SpotShape {
    float range;
    double cone, edge;
};
void addSpot(Shot& shot, const char* name, const Colour& colour, const SpotShape& shape, const Path& position,
             const Path& towards, const Curve& intensity);
void addDistantLight(Shot& shot, const char* name, const Colour& colour, double heading, double pitch,
                     const Curve& intensity);

void movePosition(Shot& shot, QbExportMotion& motion, const Path& path);
void moveRotation(Shot& shot, QbExportMotion& motion, const Path& degrees);
void moveScale(Shot& shot, QbExportMotion& motion, const Path& factors);
// Turns the object's +Z from `from` towards `to`.
void moveAim(Shot& shot, QbExportMotion& motion, const Path& from, const Path& to);
Curve constant(double value);
Path constantVec(Vec value);

// Both end the program with a message when a file cannot be written.
void saveShot(const Shot& shot);
void saveModels(const Folder& folder);
