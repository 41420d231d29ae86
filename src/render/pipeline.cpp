#include "render/pipeline.h"

#include "engine/engine.h"
#include "engine/render_target.h"
#include "materials/shader_file.h"
#include "materials/shader_gpu.h"
#include "platform/message.h"

#include <algorithm>
#include <array>
#include <memory>
#include <vector>

using namespace irr;

// --- targets --------------------------------------------------------------------------------------------

static bool driverCan(const QbEngine* engine) {
    if (!engine->driver->queryFeature(video::EVDF_RENDER_TO_TARGET)) {
        qbMessage("Driver does not support render to target");
        return false;
    }
    if (engine->bits != 32) {
        qbMessage("LPP only for 32bpp");
        return false;
    }
    if (const char* missing = qbTargetMissing()) {
        qbMessage("the display's driver lacks %s, which the renderer draws with: update the driver", missing);
        return false;
    }
    return true;
}

static bool createTargets(QbEngine* engine, QbLppState* state) {
    const core::dimension2du full(static_cast<u32>(engine->width), static_cast<u32>(engine->height));
    const core::dimension2du half(std::max(full.Width / 2, 1U), std::max(full.Height / 2, 1U));
    const struct {
        video::ITexture** target;
        core::dimension2du size;
        const char* name;
        video::ECOLOR_FORMAT format;
        const char* message;
    } wanted[] = {
        {&state->depthRTT, full, "depthRTT", video::ECF_G16R16F, "failed to create depthRTT"},
        {&state->normalRTT, full, "normalRTT", video::ECF_A8R8G8B8, "failed to create normalRTT"},
        {&state->lightRTT, full, "lightRTT", video::ECF_A8R8G8B8, "failed to create lightRTT"},
        {&state->halfScreen[0], half, "HalfScreen[0]", video::ECF_A8R8G8B8, "failed to create HalfScreen"},
        {&state->halfScreen[1], half, "HalfScreen[1]", video::ECF_A8R8G8B8, "failed to create HalfScreen"},
        {&state->sceneRTT, full, "sceneRTT", video::ECF_A8R8G8B8, "failed to create sceneRTT"},
    };
    for (const auto& entry : wanted) {
        *entry.target = engine->driver->addRenderTargetTexture(entry.size, entry.name, entry.format);
        if (*entry.target) continue;
        qbMessage("%s", entry.message);
        return false;
    }
    return true;
}

static bool createTargetsWithFlags(QbEngine* engine, QbLppState* state) {
    video::IVideoDriver* driver = engine->driver;
    const bool mipMaps = driver->getTextureCreationFlag(video::ETCF_CREATE_MIP_MAPS);
    const bool always32 = driver->getTextureCreationFlag(video::ETCF_ALWAYS_32_BIT);
    driver->setTextureCreationFlag(video::ETCF_CREATE_MIP_MAPS, false);
    driver->setTextureCreationFlag(video::ETCF_ALWAYS_32_BIT, true);
    const bool created = createTargets(engine, state);
    driver->setTextureCreationFlag(video::ETCF_CREATE_MIP_MAPS, mipMaps);
    driver->setTextureCreationFlag(video::ETCF_ALWAYS_32_BIT, always32);
    return created;
}

static void groupTargets(QbLppState* state) {
    state->gbufferTargets = new core::array<video::IRenderTarget>(2);
    for (video::ITexture* texture : {state->normalRTT, state->depthRTT})
        state->gbufferTargets->push_back(
            video::IRenderTarget(texture, video::ECP_ALL, video::EBF_ONE, video::EBF_ZERO, video::EBO_NONE));
}

// --- shaders --------------------------------------------------------------------------------------------

namespace {

// One program of the renderer. The names of the variant's bits are null-terminated.
struct Wanted {
    QbIrrShader** shader;
    const char* file;
    const char* kind; // for messages
    std::array<const char*, 8> defines{};
    bool isVariant; // otherwise its conditional lines stay covered

    const char* const* names() const { return isVariant ? defines.data() : nullptr; }
};

using WantedList = std::vector<Wanted>;
using Bits = std::initializer_list<const char*>;

} // namespace

static Wanted plain(QbIrrShader** shader, const char* file) {
    return {shader, file, "", {}, false};
}

static Wanted variant(QbIrrShader** shader, const char* file, int index, Bits bits,
                      const char* always = nullptr, const char* kind = "") {
    Wanted wanted = {shader, file, kind, {}, true};
    size_t count = 0;
    if (always) wanted.defines[count++] = always;
    int bit = 1;
    for (const char* name : bits) {
        if (index & bit) wanted.defines[count++] = name;
        bit <<= 1;
    }
    return wanted;
}

static WantedList listShaders(QbLppState* state) {
    const Bits depthBits = {"TEX_NORM", "TEX_SPEC", "TEX_GLOS", "DOF"};
    const char* const finalPass = "LppFinalPass.hlsl";
    static const char* const lights[QB_LIGHT_VARIANTS] = {"DISTANT", "POINT", "SPOTLIGHT"};
    WantedList list;
    list.push_back(plain(&state->depthClear, "LppDepthClear.hlsl"));
    for (int i = 0; i < QB_DEPTH_VARIANTS; ++i)
        list.push_back(variant(&state->depthPass[i], "LppDepthPass.hlsl", i, depthBits));
    list.push_back(variant(&state->lightClear, "LppLightClear.hlsl", QB_DEPTH_VARIANTS - 1, depthBits));
    for (int i = 0; i < QB_LIGHT_VARIANTS; ++i)
        list.push_back(variant(&state->lightPass[i], "LppLightPass.hlsl", 0, {}, lights[i]));
    for (int i = 0; i < QB_FINAL_VARIANTS; ++i)
        list.push_back(
            variant(&state->finalPass[i], finalPass, i, {"TEX_COLOR", "TEX_LUMINOSITY", "TEX_DIFFUSE"}));
    for (int i = 0; i < QB_FINAL_REFLECT_VARIANTS; ++i)
        list.push_back(
            variant(&state->finalReflectPass[i], finalPass, i,
                    {"TEX_COLOR", "TEX_LUMINOSITY", "TEX_DIFFUSE", "TEX_REFLECTIVITY", "TEX_NORMAL"},
                    "TEX_REFLECIMG", "reflec "));
    list.push_back(plain(&state->glowAlphaMul, "GlowAlphaMul.hlsl"));
    list.push_back(plain(&state->glowHVBlur, "GlowHVBlur.hlsl"));
    list.push_back(plain(&state->glowHBlur, "GlowHBlur.hlsl"));
    list.push_back(plain(&state->glowVBlur, "GlowVBlur.hlsl"));
    list.push_back(plain(&state->glowCompose, "GlowCompose.hlsl"));
    list.push_back(plain(&state->screenCopy, "ScreenCopy.hlsl"));
    return list;
}

static bool readShader(const Wanted& wanted) {
    *wanted.shader = qbIrrShaderCreate(wanted.file, wanted.names());
    if (*wanted.shader) return true;
    qbMessage(
        "the built-in shader %s is missing or can not be used: put the directory \"shaders\" that comes "
        "with the program beside it",
        wanted.file);
    qbMessage("failed to create shader %s%s", wanted.kind, wanted.file);
    return false;
}

static bool compileShader(const Wanted& wanted) {
    if (qbIrrShaderSetupGpuMaterial(*wanted.shader) == 0) return true;
    qbMessage("failed to set gpu for shader %s%s", wanted.kind, wanted.file);
    return false;
}

// The records that are compiled belong to the device.
static void freeUncompiled(const WantedList& list) {
    for (const Wanted& wanted : list) {
        if (!*wanted.shader || (*wanted.shader)->materialType >= 0) continue;
        qbIrrShaderFree(*wanted.shader);
        *wanted.shader = nullptr;
    }
}

// All are read first: while the driver takes one program, the next ones are translated.
static bool createShaders(QbLppState* state) {
    const WantedList list = listShaders(state);
    bool good = std::all_of(list.begin(), list.end(), readShader);
    if (good) {
        std::vector<const QbIrrShader*> records;
        for (const Wanted& wanted : list)
            records.push_back(*wanted.shader);
        qbIrrShadersPrepare(records);
        good = std::all_of(list.begin(), list.end(), compileShader);
        qbIrrShadersPrepare({});
    }
    if (!good) freeUncompiled(list);
    return good;
}

// --- quads ----------------------------------------------------------------------------------------------

static bool createQuads(QbLppState* state) {
    state->screenQuad = new (std::nothrow) CScreenQuad();
    if (!state->screenQuad) {
        qbMessage("failed to alloc Screen Quad");
        return false;
    }
    state->screenQuad->getMaterial().setTexture(0, state->depthRTT);
    state->screenQuad->getMaterial().setTexture(1, state->normalRTT);

    state->screenQuadPP = new (std::nothrow) CScreenQuad();
    if (!state->screenQuadPP) {
        qbMessage("failed to alloc Screen Quad PP");
        return false;
    }
    state->screenQuadPP->getMaterial().setTexture(0, state->halfScreen[0]);
    return true;
}

// --- the whole ------------------------------------------------------------------------------------------

static void freeRecord(QbLppState* state) {
    delete state->gbufferTargets;
    delete state->screenQuad;
    delete state->screenQuadPP;
    delete state;
}

QbLppState* qbRendererCreate(QbEngine* engine) {
    if (!driverCan(engine)) return nullptr;
    std::unique_ptr<QbLppState, void (*)(QbLppState*)> state(new (std::nothrow) QbLppState(), freeRecord);
    if (!state || !createTargetsWithFlags(engine, state.get())) return nullptr;
    groupTargets(state.get());
    if (!createShaders(state.get()) || !createQuads(state.get())) return nullptr;
    return state.release();
}

void qbRendererFree(QbEngine* engine, QbLppState* state) {
    if (!state) return;
    for (video::ITexture* texture : {state->depthRTT, state->normalRTT, state->lightRTT, state->halfScreen[0],
                                     state->halfScreen[1], state->sceneRTT})
        engine->driver->removeTexture(texture);
    freeRecord(state);
}
