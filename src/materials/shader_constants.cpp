#include "materials/shader_constants.h"

#include "engine/engine.h"
#include "engine/lights.h"
#include "materials/surface.h"
#include "materials/surface_mark.h"
#include "platform/message.h"

#include <algorithm>
#include <utility>

using namespace irr;

// What Irrlicht leaves of the material between its two calls.
static uint32_t lastMark;
static uint32_t lastNumber;
static unsigned lastEmptyLayers; // bits of the layers without texture

namespace {

struct Value {
    std::array<float, 16> own{}; // room for what is worked out
    const float* floats = own.data();
    int length = 0;    // floats for an HLSL program
    int registers = 0; // for an assembler program, 4 floats each; 0: not sent to one
};

} // namespace

// --- Plain values ----------------------------------------------------------------------------------------

static bool plainValue(const QbShaderVariable& variable, Value* value) {
    if (variable.kind == QB_SHADER_FLOATN) {
        value->floats = variable.values;
        value->length = static_cast<int>(variable.count);
        value->registers = (value->length + 3) / 4;
        return variable.values && value->length > 0;
    }
    if (variable.kind > QB_SHADER_FLOAT4) return false;
    value->length = static_cast<int>(variable.kind - QB_SHADER_FLOAT) + 1;
    value->registers = 1;
    std::copy_n(variable.value, value->length, value->own.begin());
    return true;
}

// --- Automatic values ------------------------------------------------------------------------------------

static bool setMatrix(const core::matrix4& matrix, int registers, Value* value) {
    std::copy_n(matrix.pointer(), 16, value->own.begin());
    value->length = 16;
    value->registers = registers;
    return true;
}

static bool setFloats(std::initializer_list<float> floats, int registers, Value* value) {
    std::copy(floats.begin(), floats.end(), value->own.begin());
    value->length = static_cast<int>(floats.size());
    value->registers = registers;
    return true;
}

static core::matrix4 inverse(core::matrix4 matrix) {
    matrix.makeInverse();
    return matrix;
}

static bool matrixValue(uint32_t id, video::IVideoDriver* driver, Value* value) {
    const core::matrix4& view = driver->getTransform(video::ETS_VIEW);
    const core::matrix4& projection = driver->getTransform(video::ETS_PROJECTION);
    const core::matrix4& world = driver->getTransform(video::ETS_WORLD);
    const auto viewProjection = [&] { return core::matrix4(projection) *= view; };
    const auto worldView = [&] { return core::matrix4(view) *= world; };
    // Names without "Transpose" are sent transposed: authors multiply in the other order with them.
    switch (id) {
    case QB_SHADER_VIEW_PROJECTION:
        return setMatrix(viewProjection().getTransposed(), 0, value);
    case QB_SHADER_VIEW_PROJECTION_TRANSPOSE:
        return setMatrix(viewProjection(), 0, value);
    case QB_SHADER_VIEW:
        return setMatrix(view.getTransposed(), 0, value);
    case QB_SHADER_VIEW_TRANSPOSE:
        return setMatrix(view, 0, value);
    case QB_SHADER_WORLD_VIEW_PROJECTION:
        return setMatrix((viewProjection() *= world).getTransposed(), 4, value);
    case QB_SHADER_WORLD_VIEW_PROJECTION_TRANSPOSE:
        return setMatrix(viewProjection() *= world, 4, value);
    case QB_SHADER_WORLD_VIEW:
        return setMatrix(worldView().getTransposed(), 4, value);
    case QB_SHADER_WORLD_VIEW_TRANSPOSE:
        return setMatrix(worldView(), 4, value);
    case QB_SHADER_WORLD_VIEW_INVERSE:
        return setMatrix(inverse(worldView()).getTransposed(), 4, value);
    case QB_SHADER_WORLD_VIEW_INVERSE_TRANSPOSE:
        return setMatrix(inverse(worldView()), 4, value);
    case QB_SHADER_WORLD_INVERSE:
        return setMatrix(inverse(world).getTransposed(), 0, value);
    case QB_SHADER_WORLD_INVERSE_TRANSPOSE:
        return setMatrix(inverse(world), 0, value);
    case QB_SHADER_WORLD:
        return setMatrix(world.getTransposed(), 0, value);
    case QB_SHADER_WORLD_TRANSPOSE:
        return setMatrix(world, 0, value);
    default:
        return false;
    }
}

// In the order of the screen quad's corners: u + 2 v.
static bool farCorners(const scene::ICameraSceneNode& camera, const video::IVideoDriver* driver,
                       Value* value) {
    const scene::SViewFrustum& frustum = *camera.getViewFrustum();
    core::vector3df corners[] = {frustum.getFarLeftUp(), frustum.getFarRightUp(), frustum.getFarLeftDown(),
                                 frustum.getFarRightDown()};
    float* next = value->own.data();
    for (core::vector3df& corner : corners) {
        driver->getTransform(video::ETS_VIEW).transformVect(corner);
        for (const float x : {corner.X, corner.Y, corner.Z})
            *next++ = x;
    }
    value->length = 12;
    value->registers = 0;
    return true;
}

static bool cameraValue(uint32_t id, video::IVideoDriver* driver, Value* value) {
    const scene::ICameraSceneNode* camera = qbEngineGet()->smgr->getActiveCamera();
    if (!camera) return false;
    if (id == QB_SHADER_FRUSTRUM_FAR_CORNERS) return farCorners(*camera, driver, value);
    if (id == QB_SHADER_ZFAR_VALUE) return setFloats({camera->getFarValue()}, 1, value);
    const core::vector3df place = camera->getAbsolutePosition();
    return setFloats({place.X, place.Y, place.Z, 1.0F}, 0, value);
}

// Direct3D 9 samples half a pixel beside where it draws. OpenGL does not.
static bool pixelOffset(float pixels, const video::IVideoDriver* driver, Value* value) {
    if (driver->getDriverType() != video::EDT_DIRECT3D9) return setFloats({0.0F, 0.0F}, 1, value);
    const QbEngine* engine = qbEngineGet();
    return setFloats(
        {pixels / static_cast<float>(engine->width), pixels / static_cast<float>(engine->height)}, 1, value);
}

static bool lightValue(uint32_t id, Value* value) {
    const uint32_t perLight = QB_SHADER_LIGHT_POS1 - QB_SHADER_LIGHT_POS0;
    const uint32_t fromFirst = id - QB_SHADER_LIGHT_POS0;
    const video::SLight* light = qbVisibleLightData(static_cast<int>(fromFirst / perLight));
    if (!light) return false;
    const auto point = [&](const core::vector3df& at, float w) {
        return setFloats({at.X, at.Y, at.Z, w}, 1, value);
    };
    const auto color = [&](const video::SColorf& of) {
        return setFloats({of.r, of.g, of.b, of.a}, 0, value);
    };
    switch (QB_SHADER_LIGHT_POS0 + fromFirst % perLight) {
    case QB_SHADER_LIGHT_POS0:
        return point(light->Position, 1.0F);
    case QB_SHADER_LIGHT_DIR0:
        return point(light->Direction, 0.0F);
    case QB_SHADER_LIGHT_DIFFUSE0:
        return color(light->DiffuseColor);
    default:
        return color(light->AmbientColor);
    }
}

static bool surfaceValue(uint32_t slot, Value* value) {
    const QbSurfaceCtx* surface = qbMarkedSurface(lastMark, lastNumber);
    if (!surface || slot >= QB_SURFACE_VALUE_COUNT) return false;
    const QbSurfaceParamValue& param = surface->params[slot];
    switch (param.kind) {
    case 0:
        return setFloats({param.color[0], param.color[1], param.color[2]}, 1, value);
    case 1:
        return setFloats({param.color[0], 0.0F, 0.0F}, 1, value);
    case 2:
        return setFloats({static_cast<float>(param.integer), 0.0F, 0.0F}, 1, value);
    default:
        return setFloats({0.0F, 0.0F, 0.0F}, 1, value);
    }
}

static bool automaticValue(const QbIrrShader& shader, uint32_t id, video::IVideoDriver* driver,
                           Value* value) {
    if (id >= QB_SHADER_SURFACE_BASE) return surfaceValue(id - QB_SHADER_SURFACE_BASE, value);
    switch (id) {
    case QB_SHADER_TIME0_X:
        std::fill_n(value->own.begin(), 4, shader.time);
        value->length = value->registers = 1;
        return true;
    case QB_SHADER_VIEW_POSITION:
    case QB_SHADER_FRUSTRUM_FAR_CORNERS:
    case QB_SHADER_ZFAR_VALUE:
        return cameraValue(id, driver, value);
    case QB_SHADER_PIXEL_SIZE:
        return pixelOffset(0.5F, driver, value);
    case QB_SHADER_HALF_PIXEL_SIZE:
        return pixelOffset(1.0F, driver, value);
    default:
        return id < QB_SHADER_LIGHT_POS0 ? matrixValue(id, driver, value) : lightValue(id, value);
    }
}

// False when there is nothing to send: the constant keeps what it holds.
static bool valueOf(const QbIrrShader& shader, const QbShaderVariable& variable, video::IVideoDriver* driver,
                    Value* value) {
    return variable.automatic ? automaticValue(shader, variable.automaticId, driver, value)
                              : plainValue(variable, value);
}

// --- The walk --------------------------------------------------------------------------------------------

static std::vector<QbIrrShader*> records; // by number - 1; null for those that are gone
static std::vector<MyShaderCallBack*> started;

MyShaderCallBack::MyShaderCallBack(std::string key, bool isShared)
    : key_(std::move(key)), isShared_(isShared) {}

static void freeRecord(QbIrrShader* shader) {
    records[shader->number - 1] = nullptr;
    while (!records.empty() && !records.back())
        records.pop_back();
    qbIrrShaderFree(shader);
}

MyShaderCallBack::~MyShaderCallBack() {
    for (QbIrrShader* shader : records_)
        freeRecord(shader);
    started.erase(std::remove(started.begin(), started.end(), this), started.end());
}

MyShaderCallBack* MyShaderCallBack::find(const std::string& key) {
    const auto found = std::find_if(started.begin(), started.end(), [&](const auto* one) {
        return one->key_ == key && (one->isShared_ || one->records_.empty());
    });
    return found == started.end() ? nullptr : *found;
}

void MyShaderCallBack::start(int materialType, QbGpuProgramPtr program) {
    materialType_ = materialType;
    program_ = std::move(program);
    started.push_back(this);
}

void MyShaderCallBack::adopt(QbIrrShader* shader) {
    if (records_.empty()) qbGpuProgramReset(program_.get());
    auto place = std::find(records.begin(), records.end(), nullptr);
    if (place == records.end()) place = records.insert(place, nullptr);
    records_.push_back(shader);
    *place = shader;
    shader->number = static_cast<uint32_t>(place - records.begin()) + 1;
    shader->materialType = materialType_;
    shader->program = program_.get();
}

void MyShaderCallBack::release(QbIrrShader* shader) {
    for (MyShaderCallBack* callback : started) {
        std::vector<QbIrrShader*>& owned = callback->records_;
        const auto found = std::find(owned.begin(), owned.end(), shader);
        if (found == owned.end()) continue;
        owned.erase(found);
        return freeRecord(shader);
    }
}

int MyShaderCallBack::recordCount() {
    return static_cast<int>(records.size() -
                            static_cast<size_t>(std::count(records.begin(), records.end(), nullptr)));
}

void MyShaderCallBack::choose(const QbIrrShader* shader, video::SMaterial* material) {
    material->MaterialTypeParam2 = core::FR(QB_RECORD_NUMBERS + shader->number);
}

// Marked materials carry the number of a surface instead: their shaders have one record.
const QbIrrShader& MyShaderCallBack::recordOfDraw() const {
    const uint32_t index = lastNumber - QB_RECORD_NUMBERS - 1;
    const QbIrrShader* shader = index < records.size() ? records[index] : nullptr;
    return shader && shader->program == program_.get() ? *shader : *records_.front();
}

// Told once a shader: at each draw it would bring a show to a stop.
static void reportMatrices(const QbIrrShader& shader) {
    for (int i = 0; i < shader.variableCount; ++i) {
        const QbShaderVariable& variable = shader.variables[i];
        const bool isSent = variable.toVertex || variable.toPixel;
        if (isSent && !variable.automatic && variable.kind == QB_SHADER_FLOAT4X4)
            qbTrace("ERROR: Shader callback: real value not supported for '%s'\n", variable.name);
    }
}

void MyShaderCallBack::findTargets() {
    targetsFound_ = true;
    const QbIrrShader& shader = *records_.front();
    reportMatrices(shader);
    for (int i = 0; i < shader.variableCount; ++i) {
        const QbShaderVariable& variable = shader.variables[i];
        Target& target = targets_[static_cast<size_t>(i)];
        if (variable.toVertex)
            target.vertex = qbGpuConstantFind(program_.get(), QB_GPU_VERTEX, variable.name);
        if (variable.toPixel) target.pixel = qbGpuConstantFind(program_.get(), QB_GPU_PIXEL, variable.name);
    }
}

void MyShaderCallBack::bindCubeMaps(const QbIrrShader& shader) {
    for (int i = 0; i < QB_SHADER_TEXTURES_MAX; ++i)
        qbGpuProgramSetCubeMap(program_.get(), i, shader.textures[i].cubeMap);
}

void MyShaderCallBack::sendHighLevel(const QbIrrShader& shader, video::IMaterialRendererServices* services) {
    for (int i = 0; i < shader.variableCount; ++i) {
        const Target& target = targets_[static_cast<size_t>(i)];
        Value value;
        if ((target.vertex < 0 && target.pixel < 0) ||
            !valueOf(shader, shader.variables[i], services->getVideoDriver(), &value))
            continue;
        qbGpuConstantSend(program_.get(), target.vertex, value.floats, value.length);
        qbGpuConstantSend(program_.get(), target.pixel, value.floats, value.length);
    }
}

static void sendRegisters(const QbShaderVariable& variable, const float* floats, int first, int count,
                          video::IMaterialRendererServices* services) {
    if (variable.toVertex) services->setVertexShaderConstant(floats, first, count);
    if (variable.toPixel) services->setPixelShaderConstant(floats, first, count);
}

static void sendAssembly(const QbIrrShader& shader, video::IMaterialRendererServices* services) {
    for (int i = 0; i < shader.variableCount; ++i) {
        const QbShaderVariable& variable = shader.variables[i];
        Value value;
        if ((!variable.toVertex && !variable.toPixel) ||
            !valueOf(shader, variable, services->getVideoDriver(), &value))
            continue;
        const int first = static_cast<int>(variable.firstRegister);
        const int count = std::min(value.registers, QB_SHADER_REGISTERS - first);
        if (count <= 0) continue;
        // The last register of a caller's floats may be only partly theirs.
        const bool isWhole = value.floats == value.own.data() || value.length >= count * 4;
        const int whole = isWhole ? count : count - 1;
        sendRegisters(variable, value.floats, first, whole, services);
        if (isWhole) continue;
        std::copy(value.floats + whole * 4, value.floats + value.length, value.own.begin());
        sendRegisters(variable, value.own.data(), first + whole, 1, services);
    }
}

void MyShaderCallBack::OnSetMaterial(const video::SMaterial& material) {
    lastMark = core::IR(material.MaterialTypeParam);
    lastNumber = core::IR(material.MaterialTypeParam2);
    lastEmptyLayers = 0;
    for (u32 i = 0; i < video::MATERIAL_MAX_TEXTURES; ++i)
        if (!material.getTexture(i)) lastEmptyLayers |= 1U << i;
}

void MyShaderCallBack::OnSetConstants(video::IMaterialRendererServices* services, s32) {
    if (records_.empty()) return;
    if (!targetsFound_) findTargets();
    const QbIrrShader& shader = recordOfDraw();
    bindCubeMaps(shader);
    qbGpuProgramUse(program_.get(), services, lastEmptyLayers);
    if (shader.highLevel)
        sendHighLevel(shader, services);
    else
        sendAssembly(shader, services);
}
