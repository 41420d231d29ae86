#include "platform/message.h"
#include "scene/format/channel.h"
#include "scene/format/tables.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>

// Channels are found by the names of their groups:
//
//   "MC"                                       camera selector
//   "Global"                                   image processing, ambient colour
//   "Quab.World:" + item name                  motion, in world space
//   light name, camera name                    their other channels
//   "Surfaces" / scene object / surface        surface parameters
//   "Surfaces" / ... / "Nodes" / node name     shader parameters

namespace {

// A scene holds a few groups for each item, so that searching them in turn for each item would cost the
// square of their number. Of several groups with one name the first stays.
using GroupIndex = std::unordered_map<std::string_view, const QbChannelGroup*>;
using SceneObjectIndex = std::unordered_map<std::string_view, const QbSceneObject*>;
using ChannelIndex = std::unordered_map<std::string_view, uint32_t>;

// Groups with more channels are indexed: many items may share one group and would search it again and again.
constexpr int32_t CHANNELS_SEARCHED_MAX = 64;

// What was indexed during one binding. The inner maps are made when a group is first asked for.
struct Lookup {
    GroupIndex groups; // at the top level
    std::unordered_map<const QbChannelGroup*, GroupIndex> children;
    std::unordered_map<const QbChannelGroup*, ChannelIndex> channels;
    const char* sceneName; // for messages
    bool isLossReported;   // once for each scene: all its surfaces may share what is too much
};

constexpr const char* MOTION_NAMES[9] = {"Position.X", "Position.Y", "Position.Z", "Rotation.H", "Rotation.P",
                                         "Rotation.B", "Scale.X",    "Scale.Y",    "Scale.Z"};

struct SurfaceChannels {
    QbSurfaceSlot slot;
    const char* names[3]; // three for a colour, else the first
};

constexpr SurfaceChannels SURFACE_CHANNELS[] = {
    {QB_SURFACE_BASE_COLOR, {"Color.R", "Color.G", "Color.B"}},
    {QB_SURFACE_LUMINOSITY, {"Luminosity"}},
    {QB_SURFACE_DIFFUSE, {"Diffuse"}},
    {QB_SURFACE_SPECULARITY, {"Specular"}},
    {QB_SURFACE_REFLECTIVITY, {"Reflective"}},
    {QB_SURFACE_TRANSPARENCY, {"Transparency"}},
    {QB_SURFACE_TRANSLUCENCY, {"Translucency"}},
    {QB_SURFACE_IOR, {"Refractive Index"}},
    {QB_SURFACE_BUMP, {"Bump_chanvals_ref"}},
    {QB_SURFACE_GLOSSINESS, {"Glossiness"}},
    {QB_SURFACE_GLOW_VALUE, {"GlowIntensity"}},
    {QB_SURFACE_LINE_SIZE, {"PolygonOutlineSize"}},
};

std::span<const QbChannelGroup> childrenOf(const QbChannelGroup& group) {
    return {group.groups, static_cast<size_t>(group.groupCount)};
}

GroupIndex indexGroups(std::span<const QbChannelGroup> groups) {
    GroupIndex index;
    index.reserve(groups.size());
    for (const QbChannelGroup& group : groups)
        if (group.name) index.emplace(group.name, &group);
    return index;
}

SceneObjectIndex indexSceneObjects(const QbScene& scene) {
    SceneObjectIndex index;
    for (const QbSceneObject& object :
         std::span(scene.sceneObjects, static_cast<size_t>(scene.sceneObjectCount)))
        if (object.fileName) index.emplace(object.fileName, &object);
    return index;
}

template <class Index>
typename Index::mapped_type find(const Index& index, const char* name) {
    if (!name) return nullptr;
    const auto found = index.find(name);
    return found == index.end() ? nullptr : found->second;
}

const QbChannelGroup* findMotionGroup(const Lookup& lookup, const char* itemName) {
    return find(lookup.groups, (std::string("Quab.World:") + itemName).c_str());
}

const GroupIndex& childIndex(Lookup& lookup, const QbChannelGroup& group) {
    const auto [entry, isNew] = lookup.children.try_emplace(&group);
    if (isNew) entry->second = indexGroups(childrenOf(group));
    return entry->second;
}

uint32_t findChannel(Lookup& lookup, const QbChannelGroup* group, const char* name) {
    if (!group || group->channelCount <= CHANNELS_SEARCHED_MAX) return qbFindChannel(group, name);
    const auto [entry, isNew] = lookup.channels.try_emplace(group);
    if (isNew)
        for (const QbChannel& channel : std::span(group->channels, static_cast<size_t>(group->channelCount)))
            if (channel.name) entry->second.emplace(channel.name, channel.vals);
    const auto found = entry->second.find(name);
    return found == entry->second.end() ? 0 : found->second;
}

void bind(Lookup& lookup, QbChannelRef& channel, const QbChannelGroup* group, const char* name) {
    channel = {};
    channel.vals = findChannel(lookup, group, name);
}

void bindThree(Lookup& lookup, QbChannelRef* channels, const QbChannelGroup* group, const char* x,
               const char* y, const char* z) {
    bind(lookup, channels[0], group, x);
    bind(lookup, channels[1], group, y);
    bind(lookup, channels[2], group, z);
}

void bindMotion(Lookup& lookup, QbMotionChannels& motion, const QbChannelGroup* group) {
    for (size_t i = 0; i < std::size(MOTION_NAMES); i++)
        bind(lookup, motion.channels[i], group, MOTION_NAMES[i]);
}

void bindProcessing(Lookup& lookup, QbProcessing& processing, const QbChannelGroup* global) {
    bind(lookup, processing.colorSaturationChannel, global, "ColorSaturation");
    bind(lookup, processing.glowIntensityChannel, global, "GlowIntensity");
    bind(lookup, processing.glowRadiusChannel, global, "GlowRadius");
}

void bindObject(QbObject& object, Lookup& lookup, const SceneObjectIndex& sceneObjects) {
    if (!object.name) return;
    object.sceneObject = find(sceneObjects, object.fileName);
    object.motionGroup = findMotionGroup(lookup, object.name);
    if (object.motionGroup) bindMotion(lookup, object.motion, object.motionGroup);
}

void bindEmitter(QbEmitter& emitter, Lookup& lookup) {
    if (!emitter.name) return;
    emitter.motionGroup = findMotionGroup(lookup, emitter.name);
    if (emitter.motionGroup) bindMotion(lookup, emitter.motion, emitter.motionGroup);
}

void bindLight(QbLight& light, Lookup& lookup) {
    if (!light.name) return;
    const QbChannelGroup* motion = findMotionGroup(lookup, light.name);
    if (!motion) return;
    bindMotion(lookup, light.motion, motion);

    light.group = find(lookup.groups, light.name);
    if (!light.group) return;
    bind(lookup, light.rangeChannel, light.group, "Range");
    bindThree(lookup, light.colorChannels, light.group, "Color.R", "Color.G", "Color.B");
    bind(lookup, light.intensityChannel, light.group, "Intensity");
    bind(lookup, light.coneAngleChannel, light.group, "ConeAngle");
    bind(lookup, light.edgeAngleChannel, light.group, "EdgeAngle");
}

void bindLights(std::span<QbLight> lights, Lookup& lookup, const QbChannelGroup* global) {
    QbChannelRef ambient[3];
    bindThree(lookup, ambient, global, "AmbientColor.R", "AmbientColor.G", "AmbientColor.B");
    for (QbLight& light : lights) {
        std::copy_n(ambient, 3, light.ambientChannels);
        bindLight(light, lookup);
    }
}

void bindCamera(QbCamera& camera, Lookup& lookup) {
    if (!camera.name) return;
    const QbChannelGroup* motion = findMotionGroup(lookup, camera.name);
    if (!motion) return;
    bindMotion(lookup, camera.motion, motion);

    camera.group = find(lookup.groups, camera.name);
    if (!camera.group) return;
    bind(lookup, camera.zoomChannel, camera.group, "ZoomFactor");
    bind(lookup, camera.focalDistanceChannel, camera.group, "FocalDistance");
    bind(lookup, camera.fStopChannel, camera.group, "FStop");
}

// What a node's name says behind its first colon: a blank and the exporter's instance number fall away.
std::string_view nodeText(std::string_view name) {
    name.remove_prefix(name.find(':') + 1);
    return name.substr(0, name.find(' '));
}

void reportLoss(Lookup& lookup, const QbSurface& surface, const QbChannelGroup& node, const char* what) {
    if (!lookup.isLossReported)
        qbMessage("%s: surface \"%s\": \"%s\" %s", lookup.sceneName, surface.name, node.name, what);
    lookup.isLossReported = true;
}

template <size_t size>
void setName(char (&to)[size], Lookup& lookup, const QbSurface& surface, const QbChannelGroup& node) {
    const std::string_view text = nodeText(node.name);
    const size_t length = std::min(text.size(), size - 1);
    if (length < text.size())
        reportLoss(lookup, surface, node,
                   "is too long and is cut: a shader's file and functions have at most 63 characters, its "
                   "parameters 67");
    std::copy_n(text.data(), length, to);
    to[length] = 0;
}

// Keeps as many as the tables give out: surfaces that share one group of nodes would multiply them.
void addShaderParam(QbSurface& surface, Lookup& lookup, const QbChannelGroup& node) {
    if (surface.shaderParamCount >= QB_SHADER_VALUE_PARAMS_MAX)
        return reportLoss(lookup, surface, node,
                          "is one parameter too many: a shader takes 10, the others are left out");
    const auto count = static_cast<size_t>(surface.shaderParamCount);
    void* grown = std::realloc(surface.shaderParams, (count + 1) * sizeof(QbShaderParam));
    if (!grown) throw std::bad_alloc();
    surface.shaderParams = static_cast<QbShaderParam*>(grown);
    surface.shaderParamCount++;
    QbShaderParam& param = surface.shaderParams[count];
    param = {};
    setName(param.name, lookup, surface, node);
    bind(lookup, param.channel, &node, "Scalar");
}

void bindShaderNode(QbSurface& surface, Lookup& lookup, const QbChannelGroup& node) {
    const std::string_view name = node.name;
    if (name.starts_with("Shader:")) {
        setName(surface.shaderName, lookup, surface, node);
        surface.hasShader = 1;
    }
    if (name.starts_with("ShaderVertexFunction:"))
        setName(surface.shaderVertexFunction, lookup, surface, node);
    if (name.starts_with("ShaderPixelFunction:")) setName(surface.shaderPixelFunction, lookup, surface, node);
    if (name.starts_with("ShaderParam:")) addShaderParam(surface, lookup, node);
}

void bindSurface(QbSurface& surface, Lookup& lookup, const GroupIndex& groups) {
    surface.group = find(groups, surface.name);
    if (!surface.group) return;
    for (const SurfaceChannels& row : SURFACE_CHANNELS)
        for (int i = 0; i < 3 && row.names[i]; i++)
            bind(lookup, surface.params[row.slot].channels[i], surface.group, row.names[i]);

    surface.nodesGroup = qbFindChildGroup(surface.group, "Nodes");
    if (!surface.nodesGroup) return;
    for (const QbChannelGroup& node : childrenOf(*surface.nodesGroup))
        if (node.name) bindShaderNode(surface, lookup, node);
}

void bindSurfaces(std::span<QbSceneObject> sceneObjects, Lookup& lookup) {
    const QbChannelGroup* root = find(lookup.groups, "Surfaces");
    if (!root) return;
    const GroupIndex& objectGroups = childIndex(lookup, *root);
    for (QbSceneObject& object : sceneObjects) {
        const QbChannelGroup* group = find(objectGroups, object.name);
        if (!group) continue;
        const GroupIndex& surfaceGroups = childIndex(lookup, *group);
        for (QbSurface& surface : std::span(object.surfaces, static_cast<size_t>(object.surfaceCount)))
            bindSurface(surface, lookup, surfaceGroups);
    }
}

const QbChannelGroup* findByName(std::span<const QbChannelGroup> groups, const char* name) {
    for (const QbChannelGroup& group : groups)
        if (group.name && std::strcmp(group.name, name) == 0) return &group;
    return nullptr;
}

} // namespace

const QbChannelGroup* qbFindGroup(const QbScene* scene, const char* name) {
    if (!scene || !name) return nullptr;
    return findByName({scene->groups, static_cast<size_t>(scene->groupCount)}, name);
}

const QbChannelGroup* qbFindChildGroup(const QbChannelGroup* group, const char* name) {
    if (!group || !name) return nullptr;
    return findByName(childrenOf(*group), name);
}

uint32_t qbFindChannel(const QbChannelGroup* group, const char* name) {
    if (!group || !name) return 0;
    for (const QbChannel& channel : std::span(group->channels, static_cast<size_t>(group->channelCount)))
        if (channel.name && std::strcmp(channel.name, name) == 0) return channel.vals;
    return 0;
}

int qbSceneBindChannels(QbScene* scene) {
    Lookup lookup = {};
    lookup.sceneName = scene->globals->fileName ? scene->globals->fileName : "A scene";
    lookup.groups = indexGroups({scene->groups, static_cast<size_t>(scene->groupCount)});
    const SceneObjectIndex sceneObjects = indexSceneObjects(*scene);
    const QbChannelGroup* global = find(lookup.groups, "Global");

    bind(lookup, scene->globals->cameraSelector, find(lookup.groups, "MC"), "CameraSelector");
    bindProcessing(lookup, *scene->processing, global);
    for (QbObject& object : std::span(scene->objects, static_cast<size_t>(scene->objectCount)))
        bindObject(object, lookup, sceneObjects);
    bindLights({scene->lights, static_cast<size_t>(scene->lightCount)}, lookup, global);
    for (QbCamera& camera : std::span(scene->cameras, static_cast<size_t>(scene->cameraCount)))
        bindCamera(camera, lookup);
    bindSurfaces({scene->sceneObjects, static_cast<size_t>(scene->sceneObjectCount)}, lookup);
    for (QbEmitter& emitter : std::span(scene->emitters, static_cast<size_t>(scene->emitterCount)))
        bindEmitter(emitter, lookup);
    return 0;
}
