#include "scene/format/scene.h"

#include "platform/message.h"
#include "scene/format/container.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cctype>
#include <charconv>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <span>
#include <string_view>

// The record builder is the chunk callback of one walk. Its arrays move as they grow, so it keeps no pointer
// to a record from one chunk to the next and addresses the last record anew each time. Memory comes from
// std::realloc and goes back by std::free.

namespace {

// Records may take this much for each byte of the file, and this much in any case: an empty chunk of 6 bytes
// asks for a record of some thousand.
constexpr size_t recordBytesPerFileByte = 8;
constexpr size_t recordBytesFree = size_t{64} << 20;

struct Builder {
    QbScene* scene;
    const char* fileName;
    int32_t objectCapacity, lightCapacity, cameraCapacity, sceneObjectCapacity, emitterCapacity,
        groupCapacity;
    size_t recordBytes, recordBytesMax;
    std::array<uint32_t, QB_PARENT_DEPTH_MAX + 1> parents;
    int groupDepth; // of the group being read; 0 for none
};
Builder builder;

struct Chunk {
    const QbFile* file;
    int depth; // of the parent
    uint32_t tag;
    uint32_t position;
    uint32_t size;
};

// --- properties

struct Field {
    std::string_view key;
    QbPropType type; // read as this, whatever the file says
    size_t offset;   // in the record
};

constexpr Field globalsFields[] = {
    {"frameStart", QB_PROP_INT, offsetof(QbSceneGlobals, frameStart)},
    {"frameEnd", QB_PROP_INT, offsetof(QbSceneGlobals, frameEnd)},
    {"framesPerSecond", QB_PROP_FLOAT, offsetof(QbSceneGlobals, framesPerSecond)},
    {"renderOpts", QB_PROP_INT, offsetof(QbSceneGlobals, renderOpts)},
};

constexpr Field backdropFields[] = {
    {"type", QB_PROP_INT, offsetof(QbBackdrop, type)},
    {"zenith", QB_PROP_FLOAT3, offsetof(QbBackdrop, zenith)},
    {"sky", QB_PROP_FLOAT3, offsetof(QbBackdrop, sky)},
    {"ground", QB_PROP_FLOAT3, offsetof(QbBackdrop, ground)},
    {"nadir", QB_PROP_FLOAT3, offsetof(QbBackdrop, nadir)},
    {"squeeze", QB_PROP_FLOAT2, offsetof(QbBackdrop, squeeze)},
};

constexpr Field processingFields[] = {
    {"LimitDynamicRange", QB_PROP_INT, offsetof(QbProcessing, limitDynamicRange)},
    {"DitherIntensity", QB_PROP_INT, offsetof(QbProcessing, ditherIntensity)},
    {"AnimatedDither", QB_PROP_INT, offsetof(QbProcessing, animatedDither)},
    {"ColorSaturation", QB_PROP_FLOAT, offsetof(QbProcessing, colorSaturation)},
    {"GlowEffect", QB_PROP_INT, offsetof(QbProcessing, glowEffect)},
    {"GlowIntensity", QB_PROP_FLOAT, offsetof(QbProcessing, glowIntensity)},
    {"GlowRadius", QB_PROP_FLOAT, offsetof(QbProcessing, glowRadius)},
};

constexpr Field objectFields[] = {
    {"numPoints", QB_PROP_INT, offsetof(QbObject, numPoints)},
    {"numPolygons", QB_PROP_INT, offsetof(QbObject, numPolygons)},
    {"shadowOpts", QB_PROP_INT, offsetof(QbObject, shadowOpts)},
    {"flags", QB_PROP_INT, offsetof(QbObject, flags)},
};

constexpr Field lightFields[] = {
    {"ambient", QB_PROP_FLOAT3, offsetof(QbLight, ambient)},
    {"type", QB_PROP_INT, offsetof(QbLight, type)},
    {"shadowType", QB_PROP_INT, offsetof(QbLight, shadowType)},
    {"coneAngles", QB_PROP_FLOAT2, offsetof(QbLight, coneAngles)},
    {"flags", QB_PROP_INT, offsetof(QbLight, flags)},
    {"range", QB_PROP_FLOAT, offsetof(QbLight, range)},
    {"falloff", QB_PROP_INT, offsetof(QbLight, falloff)},
    {"rawColor", QB_PROP_FLOAT3, offsetof(QbLight, rawColor)},
    {"intensity", QB_PROP_FLOAT, offsetof(QbLight, intensity)},
    {"shadowColor", QB_PROP_FLOAT3, offsetof(QbLight, shadowColor)},
};

constexpr Field cameraFields[] = {
    {"zoomFactor", QB_PROP_FLOAT, offsetof(QbCamera, zoomFactor)},
    {"focalLength", QB_PROP_FLOAT, offsetof(QbCamera, focalLength)},
    {"focalDistance", QB_PROP_FLOAT, offsetof(QbCamera, focalDistance)},
    {"fStop", QB_PROP_FLOAT, offsetof(QbCamera, fStop)},
    {"blurLength", QB_PROP_FLOAT, offsetof(QbCamera, blurLength)},
    {"fovAngles", QB_PROP_FLOAT2, offsetof(QbCamera, fovAngles)},
    {"flags", QB_PROP_INT, offsetof(QbCamera, flags)},
    {"resolution", QB_PROP_INT2, offsetof(QbCamera, resolution)},
    {"pixelAspect", QB_PROP_FLOAT, offsetof(QbCamera, pixelAspect)},
    {"separation", QB_PROP_FLOAT, offsetof(QbCamera, separation)},
};

constexpr Field emitterFields[] = {
    {"GeneratorSize", QB_PROP_FLOAT3, offsetof(QbEmitter, generatorSize)},
    {"CenterPosition", QB_PROP_FLOAT3, offsetof(QbEmitter, centerPosition)},
    {"ParticleLimit", QB_PROP_INT, offsetof(QbEmitter, particleLimit)},
    {"Velocity", QB_PROP_FLOAT3, offsetof(QbEmitter, velocity)},
    {"Gravity", QB_PROP_FLOAT3, offsetof(QbEmitter, gravity)},
    {"BirthRate", QB_PROP_FLOAT, offsetof(QbEmitter, birthRate)},
    {"LifeTime", QB_PROP_FLOAT2, offsetof(QbEmitter, lifeTime)},
    {"Explosion", QB_PROP_FLOAT, offsetof(QbEmitter, explosion)},
    {"VelocityP", QB_PROP_FLOAT, offsetof(QbEmitter, velocityP)},
    {"StartFrame", QB_PROP_INT, offsetof(QbEmitter, startFrame)},
    {"Fixed", QB_PROP_INT, offsetof(QbEmitter, fixed)},
    {"Weight", QB_PROP_FLOAT2, offsetof(QbEmitter, weight)},
    {"Resistance", QB_PROP_FLOAT2, offsetof(QbEmitter, resistance)},
    {"Size", QB_PROP_FLOAT2, offsetof(QbEmitter, size)},
    {"HyperVoxelParticleSize", QB_PROP_FLOAT, offsetof(QbEmitter, hyperVoxelParticleSize)},
    {"HyperVoxelImage", QB_PROP_STRING, offsetof(QbEmitter, hyperVoxelImage)},
};

struct Slot {
    QbSurfaceSlot slot;
    std::string_view key;
    QbSurfaceParamKind kind;
};

constexpr Slot surfaceSlots[] = {
    {QB_SURFACE_BASE_COLOR, "BaseColor", QB_PARAM_COLOR},
    {QB_SURFACE_LUMINOSITY, "Luminosity", QB_PARAM_FLOAT},
    {QB_SURFACE_DIFFUSE, "Diffuse", QB_PARAM_FLOAT},
    {QB_SURFACE_SPECULARITY, "Specularity", QB_PARAM_FLOAT},
    {QB_SURFACE_REFLECTIVITY, "Reflectivity", QB_PARAM_FLOAT},
    {QB_SURFACE_TRANSPARENCY, "Transparency", QB_PARAM_FLOAT},
    {QB_SURFACE_TRANSLUCENCY, "Translucency", QB_PARAM_FLOAT},
    {QB_SURFACE_IOR, "IOR", QB_PARAM_FLOAT},
    {QB_SURFACE_BUMP, "Bump", QB_PARAM_FLOAT},
    {QB_SURFACE_GLOSSINESS, "Glossiness", QB_PARAM_FLOAT},
    {QB_SURFACE_REFLECTION_SEAM_ANGLE, "ReflectionSeamAngle", QB_PARAM_FLOAT},
    {QB_SURFACE_GLOW_VALUE, "GlowValue", QB_PARAM_FLOAT},
    {QB_SURFACE_LINE_SIZE, "LineSize", QB_PARAM_FLOAT},
    {QB_SURFACE_REFLECTION_OPTIONS, "ReflectionOptions", QB_PARAM_INT},
    {QB_SURFACE_SIDEDNESS, "Sidedness", QB_PARAM_INT},
    {QB_SURFACE_RENDER_OUTLINES, "RenderOutlines", QB_PARAM_INT},
    {QB_SURFACE_REFLECTION_IMAGE, "ReflectionImage", QB_PARAM_INT},
};

} // namespace

static int32_t propInt(const Chunk& prop, int i) {
    return qbIffPropInt(prop.file, prop.position, prop.size, i);
}

static float propFloat(const Chunk& prop, int i) {
    return qbIffPropFloat(prop.file, prop.position, prop.size, i);
}

static const char* propString(const Chunk& prop) {
    return qbIffPropString(prop.file, prop.position, prop.size);
}

static int wordsOf(QbPropType type) {
    if (type == QB_PROP_FLOAT3) return 3;
    return type == QB_PROP_FLOAT2 || type == QB_PROP_INT2 ? 2 : 1;
}

static void setField(void* record, const Field& field, const Chunk& prop) {
    std::byte* to = static_cast<std::byte*>(record) + field.offset;
    if (field.type == QB_PROP_STRING) {
        const char* text = propString(prop);
        std::memcpy(to, &text, sizeof text);
        return;
    }
    // Integers and floats are both the file's 32-bit words.
    for (int i = 0; i < wordsOf(field.type); ++i) {
        const int32_t word = propInt(prop, i);
        std::memcpy(to + sizeof word * static_cast<size_t>(i), &word, sizeof word);
    }
}

static void readFields(void* record, std::span<const Field> fields, std::string_view key, const Chunk& prop) {
    const auto field =
        std::find_if(fields.begin(), fields.end(), [key](const Field& f) { return f.key == key; });
    if (field != fields.end()) setField(record, *field, prop);
}

static void setParam(QbSurfaceParam& param, const Chunk& prop) {
    if (param.kind == QB_PARAM_INT) {
        param.integer = propInt(prop, 0);
        return;
    }
    for (int i = 0; i < (param.kind == QB_PARAM_COLOR ? 3 : 1); ++i)
        param.color[i] = propFloat(prop, i);
}

static void readSurfaceProp(QbSurface& surface, std::string_view key, const Chunk& prop) {
    for (const Slot& slot : surfaceSlots) {
        QbSurfaceParam& param = surface.params[slot.slot];
        param.kind = slot.kind;
        if (!key.starts_with(slot.key)) continue;
        const std::string_view ending = key.substr(slot.key.size());
        if (ending.empty())
            setParam(param, prop);
        else if (ending == "_tex_image")
            param.textureImage = propString(prop);
        else if (ending == "_tex_proj")
            param.textureProjection = propInt(prop, 0);
        else
            continue;
        return;
    }
}

static void readProp(uint32_t owner, const Chunk& prop) {
    const char* name = qbIffPropName(prop.file, prop.position, prop.size);
    if (!name) return;
    QbScene& scene = *builder.scene;
    switch (owner) {
    case QB_TAG_SCEN:
        return readFields(scene.globals, globalsFields, name, prop);
    case QB_TAG_BKDR:
        return readFields(scene.backdrop, backdropFields, name, prop);
    case QB_TAG_PROC:
        return readFields(scene.processing, processingFields, name, prop);
    case QB_TAG_OBJE:
        return readFields(&scene.objects[scene.objectCount - 1], objectFields, name, prop);
    case QB_TAG_LIGH:
        return readFields(&scene.lights[scene.lightCount - 1], lightFields, name, prop);
    case QB_TAG_CAME:
        return readFields(&scene.cameras[scene.cameraCount - 1], cameraFields, name, prop);
    case QB_TAG_FXEM:
        return readFields(&scene.emitters[scene.emitterCount - 1], emitterFields, name, prop);
    case QB_TAG_SURF: {
        QbSceneObject& object = scene.sceneObjects[scene.sceneObjectCount - 1];
        return readSurfaceProp(object.surfaces[object.surfaceCount - 1], name, prop);
    }
    default:
        return;
    }
}

// --- records

// Gives an array of records a new capacity; what is added is zero. False, with a message, without memory.
template <class Record>
static bool resizeRecords(Record*& records, int32_t oldCapacity, int32_t capacity) {
    const size_t oldBytes = sizeof(Record) * static_cast<size_t>(oldCapacity);
    const size_t bytes = sizeof(Record) * static_cast<size_t>(capacity);
    if (bytes - oldBytes > builder.recordBytesMax - builder.recordBytes) {
        qbMessage("%.512s: damaged scene file: more records than a file of its size can hold",
                  builder.fileName);
        return false;
    }
    void* moved = std::realloc(records, bytes);
    if (!moved) {
        qbMessage("%.512s: out of memory", builder.fileName);
        return false;
    }
    std::memset(static_cast<std::byte*>(moved) + oldBytes, 0, bytes - oldBytes);
    records = static_cast<Record*>(moved);
    builder.recordBytes += bytes - oldBytes;
    return true;
}

template <class Record>
static int addRecord(Record*& records, int32_t& count, int32_t& capacity) {
    if (count == capacity) {
        const int32_t grown = capacity + std::max(capacity, 10);
        if (!resizeRecords(records, capacity, grown)) return QB_CHUNK_STOP;
        capacity = grown;
    }
    ++count;
    return QB_CHUNK_WALK;
}

// The capacity of an array below a record is not kept: it is the count, rounded up to a power of two.
template <class Record>
static int addChild(Record*& records, int32_t& count) {
    if (std::has_single_bit(static_cast<uint32_t>(count)) || count == 0) {
        if (!resizeRecords(records, count, std::max(2 * count, 1))) return QB_CHUNK_STOP;
    }
    ++count;
    return QB_CHUNK_WALK;
}

static int addTopRecord(uint32_t tag) {
    QbScene& scene = *builder.scene;
    switch (tag) {
    case QB_TAG_OBJE:
        return addRecord(scene.objects, scene.objectCount, builder.objectCapacity);
    case QB_TAG_LIGH:
        return addRecord(scene.lights, scene.lightCount, builder.lightCapacity);
    case QB_TAG_CAME:
        return addRecord(scene.cameras, scene.cameraCount, builder.cameraCapacity);
    case QB_TAG_SOBJ:
        return addRecord(scene.sceneObjects, scene.sceneObjectCount, builder.sceneObjectCapacity);
    case QB_TAG_FXEM:
        return addRecord(scene.emitters, scene.emitterCount, builder.emitterCapacity);
    case QB_TAG_CGRP:
        return addRecord(scene.groups, scene.groupCount, builder.groupCapacity);
    default:
        return QB_CHUNK_WALK;
    }
}

static void readString(const char*& to, uint32_t tag, const Chunk& chunk) {
    if (chunk.tag == tag) to = qbIffString(chunk.file, chunk.position, chunk.size);
}

static int readSceneObjectChild(QbSceneObject& object, const Chunk& chunk) {
    readString(object.name, QB_TAG_NAME, chunk);
    readString(object.fileName, QB_TAG_FNAM, chunk);
    if (chunk.tag == QB_TAG_SURF) return addChild(object.surfaces, object.surfaceCount);
    return QB_CHUNK_WALK;
}

// --- groups and channels

// The group being read: `depth` - 1 times the last child, from the last top-level group. Null for depth 0.
static QbChannelGroup* groupAt(int depth) {
    QbScene& scene = *builder.scene;
    if (depth < 1 || scene.groupCount == 0) return nullptr;
    QbChannelGroup* group = &scene.groups[scene.groupCount - 1];
    for (int i = 1; i < depth; ++i) {
        if (group->groupCount == 0) return nullptr;
        group = &group->groups[group->groupCount - 1];
    }
    return group;
}

static int readGroupChild(const Chunk& chunk) {
    builder.groupDepth = chunk.depth <= QB_CHANNEL_GROUP_DEPTH_MAX ? chunk.depth : 0;
    QbChannelGroup* group = groupAt(builder.groupDepth);
    if (!group) return QB_CHUNK_WALK;
    readString(group->name, QB_TAG_NAME, chunk);
    if (chunk.tag == QB_TAG_CHAN) return addChild(group->channels, group->channelCount);
    if (chunk.tag == QB_TAG_CGRP && chunk.depth < QB_CHANNEL_GROUP_DEPTH_MAX)
        return addChild(group->groups, group->groupCount);
    return QB_CHUNK_WALK;
}

static void setChannel(const char*& name, uint32_t& type, uint32_t& vals, const Chunk& chunk) {
    readString(name, QB_TAG_NAME, chunk);
    if (chunk.tag == QB_TAG_TYPE)
        type = qbIffWord(chunk.file, chunk.position);
    else if (chunk.tag == QB_TAG_VALS)
        vals = chunk.position;
}

static int readChannelChild(uint32_t owner, const Chunk& chunk) {
    QbSceneGlobals& globals = *builder.scene->globals;
    if (owner == QB_TAG_SCEN) {
        setChannel(globals.renderChannelName, globals.renderChannelType, globals.renderChannel.vals, chunk);
    } else if (QbChannelGroup* group = groupAt(builder.groupDepth); group && group->channelCount > 0) {
        QbChannel& channel = group->channels[group->channelCount - 1];
        setChannel(channel.name, channel.type, channel.vals, chunk);
    }
    // Samples are looked at when they are asked for.
    return chunk.tag == QB_TAG_VALS ? QB_CHUNK_SKIP : QB_CHUNK_WALK;
}

// --- the walk

static int qbSceneChunk(QbFile* file, int depth, uint32_t parent, uint32_t tag, uint32_t position,
                        uint32_t size) {
    const Chunk chunk = {file, depth, tag, position, size};
    builder.parents[static_cast<size_t>(depth)] = parent;
    const uint32_t owner = depth > 0 ? builder.parents[static_cast<size_t>(depth) - 1] : 0;
    QbScene& scene = *builder.scene;
    switch (parent) {
    case QB_TAG_QUAB:
        return addTopRecord(tag);
    case QB_TAG_SCEN:
        readString(scene.globals->name, QB_TAG_NAME, chunk);
        readString(scene.globals->fileName, QB_TAG_FNAM, chunk);
        break;
    case QB_TAG_OBJE:
        readString(scene.objects[scene.objectCount - 1].name, QB_TAG_NAME, chunk);
        readString(scene.objects[scene.objectCount - 1].fileName, QB_TAG_FNAM, chunk);
        break;
    case QB_TAG_LIGH:
        readString(scene.lights[scene.lightCount - 1].name, QB_TAG_NAME, chunk);
        break;
    case QB_TAG_CAME:
        readString(scene.cameras[scene.cameraCount - 1].name, QB_TAG_NAME, chunk);
        break;
    case QB_TAG_FXEM:
        readString(scene.emitters[scene.emitterCount - 1].name, QB_TAG_NAME, chunk);
        break;
    case QB_TAG_SOBJ:
        return readSceneObjectChild(scene.sceneObjects[scene.sceneObjectCount - 1], chunk);
    case QB_TAG_SURF: {
        QbSceneObject& object = scene.sceneObjects[scene.sceneObjectCount - 1];
        readString(object.surfaces[object.surfaceCount - 1].name, QB_TAG_NAME, chunk);
        break;
    }
    case QB_TAG_PRPS:
        if (tag == QB_TAG_PROP && depth > 0) readProp(owner, chunk);
        break;
    case QB_TAG_CGRP:
        return readGroupChild(chunk);
    case QB_TAG_CHAN:
        return readChannelChild(owner, chunk);
    default:
        break;
    }
    return QB_CHUNK_WALK;
}

template <class Record>
static bool startRecords(Record*& records, int32_t& capacity, int32_t first) {
    capacity = first;
    return resizeRecords(records, 0, first);
}

static bool startScene(QbScene& scene) {
    return resizeRecords(scene.globals, 0, 1) && resizeRecords(scene.backdrop, 0, 1) &&
           resizeRecords(scene.processing, 0, 1) && startRecords(scene.objects, builder.objectCapacity, 4) &&
           startRecords(scene.lights, builder.lightCapacity, 2) &&
           startRecords(scene.cameras, builder.cameraCapacity, 1) &&
           startRecords(scene.sceneObjects, builder.sceneObjectCapacity, 4) &&
           startRecords(scene.emitters, builder.emitterCapacity, 4) &&
           startRecords(scene.groups, builder.groupCapacity, 4);
}

static int walkFile(QbFile* file, const char* fileName) {
    qbIffSetFileName(fileName);
    qbIffSetChunkCallback(qbSceneChunk);
    const int result = qbIffReadFile(file);
    qbIffSetChunkCallback(nullptr);
    qbIffSetFileName(nullptr);
    return result;
}

QbScene* qbSceneReadImage(QbFile* image, const char* fileName) {
    auto* scene = static_cast<QbScene*>(std::calloc(1, sizeof(QbScene)));
    if (!scene) {
        qbMessage("%.512s: out of memory", fileName);
        qbFileClose(image);
        return nullptr;
    }
    scene->file = image;
    builder = {};
    builder.scene = scene;
    builder.fileName = fileName;
    builder.recordBytesMax =
        recordBytesFree + recordBytesPerFileByte * static_cast<size_t>(qbFileDataSize(image));
    const bool isRead = startScene(*scene) && walkFile(image, fileName) == 0;
    builder = {};
    if (isRead) return scene;
    qbSceneRecordFree(scene);
    return nullptr;
}

QbScene* qbSceneRead(const char* fileName) {
    QbFile* image = fileName ? qbIffLoad(fileName) : nullptr;
    return image ? qbSceneReadImage(image, fileName) : nullptr;
}

static void freeGroup(QbChannelGroup& group) {
    std::free(group.channels);
    for (int32_t i = 0; i < group.groupCount; ++i)
        freeGroup(group.groups[i]);
    std::free(group.groups);
}

static void freeSceneObject(QbSceneObject& object) {
    for (int32_t i = 0; i < object.surfaceCount; ++i)
        std::free(object.surfaces[i].shaderParams);
    std::free(object.surfaces);
}

void qbSceneRecordFree(QbScene* scene) {
    if (!scene) return;
    if (scene->file) qbFileClose(scene->file);
    std::free(scene->globals);
    std::free(scene->backdrop);
    std::free(scene->processing);
    std::free(scene->objects);
    std::free(scene->lights);
    std::free(scene->cameras);
    std::free(scene->emitters);
    for (int32_t i = 0; i < scene->sceneObjectCount; ++i)
        freeSceneObject(scene->sceneObjects[i]);
    std::free(scene->sceneObjects);
    for (int32_t i = 0; i < scene->groupCount; ++i)
        freeGroup(scene->groups[i]);
    std::free(scene->groups);
    std::free(scene);
}

// --- mesh file names

static const char* skipSpaces(const char* text) {
    while (std::isspace(static_cast<unsigned char>(*text)))
        ++text;
    return text;
}

// Matches as a scan format does: a blank stands for any number of blanks. A '%' stands for itself. Null when
// the text does not begin so.
static const char* matchText(const char* text, std::string_view wanted) {
    for (const char c : wanted) {
        if (std::isspace(static_cast<unsigned char>(c)))
            text = skipSpaces(text);
        else if (*text++ != c)
            return nullptr;
    }
    return text;
}

// The number behind "stem:Layer", 1 when the name is another.
static int layerOf(const char* name, std::string_view stem) {
    const char* rest = matchText(name, stem);
    rest = rest ? matchText(rest, ":Layer") : nullptr;
    if (!rest) return 1;
    rest = skipSpaces(rest);
    if (rest[0] == '+' && rest[1] != '-') ++rest;
    int layer = 1;
    std::from_chars(rest, rest + std::strlen(rest), layer);
    return layer;
}

const char* qbSceneMeshFileName(const QbObject* object) {
    static char result[256];
    result[0] = 0;
    if (!object || !object->fileName) return result;
    const std::string_view fileName = object->fileName;
    const size_t cut = fileName.find(".lwo");
    const std::string_view stem = fileName.substr(0, cut);
    const int stemLength = static_cast<int>(stem.size());
    int length;
    if (cut == std::string_view::npos)
        length = std::snprintf(result, sizeof result, "%s", object->fileName);
    else
        length = std::snprintf(result, sizeof result, "%.*s.layer%d.x", stemLength, stem.data(),
                               object->name ? layerOf(object->name, stem) : 1);
    if (length < static_cast<int>(sizeof result)) return result;
    qbMessage("The mesh file name of \"%s\" would be longer than %zu characters: give the object file a "
              "shorter name",
              object->fileName, sizeof result - 1);
    result[0] = 0;
    return result;
}
