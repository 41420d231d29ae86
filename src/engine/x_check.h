#pragma once

#include "engine/x_reader.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

// What the check of a .x file knows of it. The engine's reader makes a joint of each frame name, and a
// mesh buffer of each material of each mesh.

// Defined here for all files; real ones stay far below.
enum {
    QB_X_JOINTS_MAX = 10000,
    QB_X_DEPTH_MAX = 256,       // frames inside each other: the engine's reader calls itself for each
    QB_X_MATERIALS_MAX = 10000, // of all meshes together
};

// Work of comparing two names: the engine finds a joint or a material by trying all before it.
constexpr uint64_t QB_X_COMPARE_WORK = 8;

enum QbXKeys { QB_X_ROTATIONS, QB_X_SCALES, QB_X_POSITIONS, QB_X_KEYS_COUNT };

struct QbXJoint {
    std::string_view name;
    std::vector<uint32_t> children; // a frame that stands twice in one parent is there twice
    uint64_t keys[QB_X_KEYS_COUNT] = {};
    uint64_t weights = 0;
    uint64_t idleWeights = 0; // of strength 0 or less
};

struct QbXCheck {
    QbXReader reader;
    std::vector<QbXJoint> joints;
    std::unordered_map<std::string, uint32_t> jointByName; // the first of each name
    std::unordered_map<std::string, uint32_t> templates;   // materials outside meshes: how often each name
    uint64_t templateCount = 0;
    uint64_t links = 0;     // children of all joints
    uint64_t materials = 0; // of all finished meshes
    uint64_t meshes = 0;
    bool firstBufferUsed = false; // a face has the first material of the first mesh
    bool strayWeights = false;    // a weight on a vertex of no face: the engine moves it to the first buffer
};

// Names the data object that is being read for as long as it lives.
class QbXPlace {
public:
    QbXPlace(QbXReader& reader, const char* kind) : reader_(reader), kind_(reader.kind), name_(reader.name) {
        reader.kind = kind;
        reader.name = {};
    }
    QbXPlace(const QbXPlace&) = delete;
    QbXPlace& operator=(const QbXPlace&) = delete;
    ~QbXPlace() {
        // A failure is told with the place where it happened.
        if (!reader_.failure.empty()) return;
        reader_.kind = kind_;
        reader_.name = name_;
    }

private:
    QbXReader& reader_;
    const char* kind_;
    std::string_view name_;
};

// --- parts that all data objects share --------------------------------------------------------------------

// An optional name and the opening brace.
bool qbXReadHead(QbXReader& reader, std::string_view& name);
bool qbXReadClose(QbXReader& reader);
// What stands where a data object may begin or its parent end: a kind or "}".
bool qbXReadKind(QbXReader& reader, std::string_view& kind);
// Passes over the rest of a data object whose kind was read.
bool qbXPassObject(QbXReader& reader);
bool qbXReadMatrix(QbXReader& reader);

// Names that the engine holds for equal have one key.
std::string qbXKey(std::string_view name);
// The joint of a name, made if there is none. An empty name has a joint too.
bool qbXFindJoint(QbXCheck& check, std::string_view name, uint32_t& joint);
bool qbXAddJoint(QbXCheck& check, std::string_view name, uint32_t& joint);

// --- data objects, from behind their kind to behind their closing brace -----------------------------------

bool qbXCheckMesh(QbXCheck& check);
bool qbXCheckMaterial(QbXCheck& check);
bool qbXCheckFrame(QbXCheck& check, int depth, uint32_t parent); // parent: QB_X_NO_JOINT for none
bool qbXCheckAnimationSet(QbXCheck& check);

constexpr uint32_t QB_X_NO_JOINT = UINT32_MAX;

// The joints as a whole: no circle, no endless repetition, no endless sorting of keys.
bool qbXCheckJoints(QbXCheck& check);
