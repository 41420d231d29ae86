#include "scene/export/surface_writer.h"

#include "scene/format/scene.h"

#include <algorithm>
#include <array>
#include <map>
#include <set>

static constexpr uint32_t TYPE_NUMBER = 2, TYPE_PERCENT = 4;

struct Property {
    const char* name;
    QbSurfaceParamKind kind;
    std::array<const char*, 3> channels; // null: cannot be animated
    uint32_t usualType;
};

static constexpr Property PROPERTIES[] = {
    {"BaseColor", QB_PARAM_COLOR, {"Color.R", "Color.G", "Color.B"}, TYPE_PERCENT},
    {"Luminosity", QB_PARAM_FLOAT, {"Luminosity"}, TYPE_PERCENT},
    {"Diffuse", QB_PARAM_FLOAT, {"Diffuse"}, TYPE_PERCENT},
    {"Specularity", QB_PARAM_FLOAT, {"Specular"}, TYPE_PERCENT},
    {"Reflectivity", QB_PARAM_FLOAT, {"Reflective"}, TYPE_PERCENT},
    {"Transparency", QB_PARAM_FLOAT, {"Transparency"}, TYPE_PERCENT},
    {"Translucency", QB_PARAM_FLOAT, {"Translucency"}, TYPE_PERCENT},
    {"IOR", QB_PARAM_FLOAT, {"Refractive Index"}, TYPE_NUMBER},
    {"Bump", QB_PARAM_FLOAT, {"Bump_chanvals_ref"}, TYPE_PERCENT},
    {"Glossiness", QB_PARAM_FLOAT, {"Glossiness"}, TYPE_PERCENT},
    {"ReflectionSeamAngle", QB_PARAM_FLOAT, {}, 0},
    {"GlowValue", QB_PARAM_FLOAT, {"GlowIntensity"}, TYPE_PERCENT},
    {"LineSize", QB_PARAM_FLOAT, {"PolygonOutlineSize"}, TYPE_NUMBER},
    {"ReflectionOptions", QB_PARAM_INT, {}, 0},
    {"Sidedness", QB_PARAM_INT, {}, 0},
    {"RenderOutlines", QB_PARAM_INT, {}, 0},
    {"ReflectionImage", QB_PARAM_INT, {}, 0},
    {"ReflectionBlurring", QB_PARAM_FLOAT, {}, 0},
    {"RefractionBlurring", QB_PARAM_FLOAT, {}, 0},
    {"RefractionSeamAngle", QB_PARAM_FLOAT, {}, 0},
    {"AlphaOptions", QB_PARAM_INT, {}, 0},
    {"RefractionOptions", QB_PARAM_INT, {}, 0},
};

static const Property* findProperty(const std::string& name) {
    const Property* found = std::find_if(std::begin(PROPERTIES), std::end(PROPERTIES),
                                         [&](const Property& property) { return name == property.name; });
    return found == std::end(PROPERTIES) ? nullptr : found;
}

// --- checks ---------------------------------------------------------------------------------

static void checkParam(QbChunkWriter& writer, const QbExportSurfaceParam& param) {
    static constexpr const char* KINDS[] = {"a colour", "a float", "an integer"};
    const Property* property = findProperty(param.property);
    if (!property) {
        qbChunkFail(writer, "unknown surface property \"" + param.property + "\"");
        return;
    }
    bool other = (param.color && property->kind != QB_PARAM_COLOR) ||
                 (param.number && property->kind != QB_PARAM_FLOAT) ||
                 (param.integer && property->kind != QB_PARAM_INT);
    if (other) qbChunkFail(writer, "\"" + param.property + "\" takes " + KINDS[property->kind]);
    for (size_t i = 0; i < 3; i++)
        if (!param.channels[i].samples.empty() && !property->channels[i])
            qbChunkFail(writer, "\"" + param.property + "\" has no " +
                                    (i == 0 ? "channel" : "channel " + std::to_string(i)) +
                                    " to be animated with");
}

static void checkShaderWord(QbChunkWriter& writer, const char* what, const std::string& word, size_t limit) {
    if (word.find(' ') != std::string::npos)
        qbChunkFail(writer, std::string(what) + " \"" + word + "\" holds a blank");
    if (word.size() > limit)
        qbChunkFail(writer, std::string(what) + " \"" + word + "\" has " + std::to_string(word.size()) +
                                " characters, at most " + std::to_string(limit) + " fit");
}

static void checkShader(QbChunkWriter& writer, const QbExportSurface& surface) {
    checkShaderWord(writer, "shader", surface.shaderName, QB_SHADER_NAME_SIZE - 1);
    checkShaderWord(writer, "vertex function", surface.shaderVertexFunction, QB_SHADER_NAME_SIZE - 1);
    checkShaderWord(writer, "pixel function", surface.shaderPixelFunction, QB_SHADER_NAME_SIZE - 1);
    if (surface.shaderParams.size() > QB_SHADER_VALUE_PARAMS_MAX)
        qbChunkFail(writer, std::to_string(surface.shaderParams.size()) + " shader parameters, at most " +
                                std::to_string(QB_SHADER_VALUE_PARAMS_MAX) + " fit a surface");
    std::set<std::string> names;
    for (const QbExportShaderParam& param : surface.shaderParams) {
        checkShaderWord(writer, "shader parameter", param.name, QB_SHADER_PARAM_NAME_SIZE - 1);
        if (param.name.empty()) qbChunkFail(writer, "a shader parameter needs a name");
        if (!names.insert(param.name).second)
            qbChunkFail(writer, "shader parameter \"" + param.name + "\" is given twice");
    }
}

static void checkSurface(QbChunkWriter& writer, const QbExportSurface& surface) {
    if (surface.name.empty()) qbChunkFail(writer, "needs a name");
    std::set<std::string> properties;
    for (const QbExportSurfaceParam& param : surface.params) {
        checkParam(writer, param);
        if (!properties.insert(param.property).second)
            qbChunkFail(writer, "\"" + param.property + "\" is given twice");
    }
    checkShader(writer, surface);
}

// --- object files ---------------------------------------------------------------------------

static void writeParam(QbChunkWriter& writer, const QbExportSurfaceParam& param) {
    const char* name = param.property.c_str();
    if (param.color) qbChunkPropFloats(writer, name, param.color->data(), 3);
    if (param.number) qbChunkPropFloats(writer, name, &*param.number, 1);
    if (param.integer) qbChunkPropInt(writer, name, *param.integer);
    if (!param.textureImage.empty())
        qbChunkPropString(writer, (param.property + "_tex_image").c_str(), param.textureImage);
    if (param.textureProjection)
        qbChunkPropInt(writer, (param.property + "_tex_proj").c_str(), *param.textureProjection);
}

static void writeSurface(QbChunkWriter& writer, const QbExportSurface& surface) {
    QbChunkPlace place(writer, "surface", surface.name);
    checkSurface(writer, surface);
    qbChunkBegin(writer, QB_TAG_SURF);
    qbChunkStringChunk(writer, QB_TAG_NAME, surface.name);
    qbChunkBegin(writer, QB_TAG_PRPS);
    for (const QbExportSurfaceParam& param : surface.params)
        writeParam(writer, param);
    qbChunkEnd(writer);
    qbChunkEnd(writer);
}

void qbExportSceneObjectWrite(QbChunkWriter& writer, const QbExportSceneObject& sceneObject) {
    QbChunkPlace place(writer, "scene object", sceneObject.name);
    if (sceneObject.name.empty()) qbChunkFail(writer, "needs a name");
    qbChunkBegin(writer, QB_TAG_SOBJ);
    qbChunkStringChunk(writer, QB_TAG_NAME, sceneObject.name);
    qbChunkStringChunk(writer, QB_TAG_FNAM, sceneObject.fileName);
    for (const QbExportSurface& surface : sceneObject.surfaces)
        writeSurface(writer, surface);
    qbChunkEnd(writer);
}

// --- groups ---------------------------------------------------------------------------------

void qbExportGroupWrite(QbChunkWriter& writer, const QbExportGroup& group, int depth, size_t frames) {
    QbChunkPlace place(writer, "group", group.name);
    if (depth > QB_CHANNEL_GROUP_DEPTH_MAX) {
        qbChunkFail(writer, "lies " + std::to_string(depth) + " groups deep, at most " +
                                std::to_string(QB_CHANNEL_GROUP_DEPTH_MAX) + " are read");
        return;
    }
    qbChunkBegin(writer, QB_TAG_CGRP);
    qbChunkStringChunk(writer, QB_TAG_NAME, group.name);
    for (const QbExportNamedChannel& named : group.channels)
        if (!named.channel.samples.empty())
            qbChunkChannel(writer, named.name, named.channel.type != 0 ? named.channel.type : TYPE_NUMBER,
                           named.channel.samples, frames);
    for (const QbExportGroup& child : group.groups)
        qbExportGroupWrite(writer, child, depth + 1, frames);
    qbChunkEnd(writer);
}

// A node's name carries the number of its instance behind a blank.
static void addNode(QbExportGroup& nodes, const char* prefix, const std::string& name) {
    if (name.empty()) return;
    nodes.groups.emplace_back().name = prefix + name + " (1)";
}

static QbExportGroup shaderNodes(const QbExportSurface& surface) {
    QbExportGroup nodes;
    nodes.name = "Nodes";
    addNode(nodes, "Shader:", surface.shaderName);
    addNode(nodes, "ShaderVertexFunction:", surface.shaderVertexFunction);
    addNode(nodes, "ShaderPixelFunction:", surface.shaderPixelFunction);
    for (const QbExportShaderParam& param : surface.shaderParams) {
        addNode(nodes, "ShaderParam:", param.name);
        if (!param.channel.samples.empty()) nodes.groups.back().channels = {{"Scalar", param.channel}};
    }
    return nodes;
}

static QbExportGroup surfaceGroup(const QbExportSurface& surface) {
    QbExportGroup group;
    group.name = surface.name;
    for (const QbExportSurfaceParam& param : surface.params) {
        const Property* property = findProperty(param.property);
        for (size_t i = 0; property && i < 3; i++) {
            if (param.channels[i].samples.empty() || !property->channels[i]) continue;
            group.channels.push_back({property->channels[i], param.channels[i]});
            QbExportChannel& channel = group.channels.back().channel;
            if (channel.type == 0) channel.type = property->usualType;
        }
    }
    QbExportGroup nodes = shaderNodes(surface);
    if (!nodes.groups.empty()) group.groups.push_back(std::move(nodes));
    group.groups.insert(group.groups.end(), surface.groups.begin(), surface.groups.end());
    return group;
}

static bool isSame(const QbExportNamedChannel& a, const QbExportNamedChannel& b) {
    return a.name == b.name && a.channel.type == b.channel.type && a.channel.samples == b.channel.samples;
}

static bool isSameGroup(const QbExportGroup& a, const QbExportGroup& b) {
    return a.name == b.name &&
           std::equal(a.channels.begin(), a.channels.end(), b.channels.begin(), b.channels.end(), isSame) &&
           std::equal(a.groups.begin(), a.groups.end(), b.groups.begin(), b.groups.end(), isSameGroup);
}

// Groups are found by the surface's name, so surfaces that share one share its group.
static QbExportGroup sceneObjectGroup(QbChunkWriter& writer, const QbExportSceneObject& sceneObject) {
    QbExportGroup group;
    group.name = sceneObject.name;
    std::map<std::string, QbExportGroup> known;
    for (const QbExportSurface& surface : sceneObject.surfaces) {
        QbChunkPlace place(writer, "surface", surface.name);
        auto [entry, isNew] = known.try_emplace(surface.name, surfaceGroup(surface));
        if (!isNew) {
            if (!isSameGroup(entry->second, surfaceGroup(surface)))
                qbChunkFail(writer, "an earlier surface of this name is animated in another way");
            continue;
        }
        if (!entry->second.channels.empty() || !entry->second.groups.empty())
            group.groups.push_back(entry->second);
    }
    return group;
}

void qbExportSurfaceGroupsWrite(QbChunkWriter& writer, const QbExportScene& scene, size_t frames) {
    QbExportGroup surfaces;
    surfaces.name = "Surfaces";
    std::set<std::string> names;
    for (const QbExportSceneObject& sceneObject : scene.sceneObjects) {
        QbChunkPlace place(writer, "scene object", sceneObject.name);
        if (!names.insert(sceneObject.name).second)
            qbChunkFail(writer, "another scene object bears this name, choose another");
        QbExportGroup group = sceneObjectGroup(writer, sceneObject);
        if (!group.groups.empty()) surfaces.groups.push_back(std::move(group));
    }
    if (!surfaces.groups.empty()) qbExportGroupWrite(writer, surfaces, 1, frames);
}
