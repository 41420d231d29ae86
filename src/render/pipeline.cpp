#include "render/pipeline.h"

#include "engine/engine.h"
#include "engine/render_target.h"
#include "materials/shader_file.h"
#include "materials/shader_gpu.h"
#include "platform/message.h"

#include <algorithm>
#include <array>
#include <memory>
#include <string>

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

// The names of a variant's bits, null-terminated.
struct Defines {
    std::array<const char*, 8> names{};
    size_t count = 0;

    void add(const char* name) { names[count++] = name; }
};

} // namespace

static Defines definesOf(int index, std::initializer_list<const char*> bits, const char* always = nullptr) {
    Defines defines;
    if (always) defines.add(always);
    int bit = 1;
    for (const char* name : bits) {
        if (index & bit) defines.add(name);
        bit <<= 1;
    }
    return defines;
}

static bool createShader(QbIrrShader** shader, const char* file, const char* const* defines,
                         const char* kind = "") {
    QbIrrShader* created = qbIrrShaderCreate(file, defines);
    if (!created) {
        qbMessage(
            "the built-in shader %s is missing or can not be used: put the directory \"shaders\" that comes "
            "with the program beside it",
            file);
        qbMessage("failed to create shader %s%s", kind, file);
        return false;
    }
    if (qbIrrShaderSetupGpuMaterial(created) != 0) {
        qbMessage("failed to set gpu for shader %s%s", kind, file);
        qbIrrShaderFree(created);
        return false;
    }
    *shader = created;
    return true;
}

// The variants that are numbered by bits.
static bool createVariants(QbIrrShader** shaders, int count, const char* file,
                           std::initializer_list<const char*> bits, const char* always = nullptr,
                           const char* kind = "") {
    for (int i = 0; i < count; ++i)
        if (!createShader(&shaders[i], file, definesOf(i, bits, always).names.data(), kind)) return false;
    return true;
}

static bool createLightPass(QbLppState* state) {
    static const char* const kinds[QB_LIGHT_VARIANTS] = {"DISTANT", "POINT", "SPOTLIGHT"};
    for (int i = 0; i < QB_LIGHT_VARIANTS; ++i) {
        const char* const defines[] = {kinds[i], nullptr};
        if (!createShader(&state->lightPass[i], "LppLightPass.hlsl", defines)) return false;
    }
    return true;
}

static bool createShaders(QbLppState* state) {
    const std::initializer_list<const char*> depthBits = {"TEX_NORM", "TEX_SPEC", "TEX_GLOS", "DOF"};
    const char finalPass[] = "LppFinalPass.hlsl";
    return createShader(&state->depthClear, "LppDepthClear.hlsl", nullptr) &&
           createVariants(state->depthPass, QB_DEPTH_VARIANTS, "LppDepthPass.hlsl", depthBits) &&
           createShader(&state->lightClear, "LppLightClear.hlsl",
                        definesOf(QB_DEPTH_VARIANTS - 1, depthBits).names.data()) &&
           createLightPass(state) &&
           createVariants(state->finalPass, QB_FINAL_VARIANTS, finalPass,
                          {"TEX_COLOR", "TEX_LUMINOSITY", "TEX_DIFFUSE"}) &&
           createVariants(state->finalReflectPass, QB_FINAL_REFLECT_VARIANTS, finalPass,
                          {"TEX_COLOR", "TEX_LUMINOSITY", "TEX_DIFFUSE", "TEX_REFLECTIVITY", "TEX_NORMAL"},
                          "TEX_REFLECIMG", "reflec ") &&
           createShader(&state->glowAlphaMul, "GlowAlphaMul.hlsl", nullptr) &&
           createShader(&state->glowHVBlur, "GlowHVBlur.hlsl", nullptr) &&
           createShader(&state->glowHBlur, "GlowHBlur.hlsl", nullptr) &&
           createShader(&state->glowVBlur, "GlowVBlur.hlsl", nullptr) &&
           createShader(&state->glowCompose, "GlowCompose.hlsl", nullptr) &&
           createShader(&state->screenCopy, "ScreenCopy.hlsl", nullptr);
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
