#include "engine/lights.h"
#include "engine/render_target.h"
#include "materials/shader_file.h"
#include "materials/shader_gpu.h"
#include "render/renderer.h"
#include "render/stage.h"
#include "scene/runtime/fx_emitters.h"
#include "scene/runtime/height_files.h"
#include "scene/runtime/objects.h"
#include "support/temporary_directory.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <epoxy/gl.h>

using namespace irr;
using core::vector3df;
using Texts = std::vector<std::string>;

// A grid of cells over a small window; most tests give each cell a surface of its own.
enum { WIDTH = 64, HEIGHT = 40, COLUMNS = 8, ROWS = 5, CELL = 8 };
static const float FOV = 0.2F;
// A texel of 8 bits, rounded by the driver and by the test each in its way.
static const double STEP = 1.0 / 255;

// Square to the view, at that depth; cells are numbered row by row.
static StageMesh tile(int cell, float z, float columns = 1, float rows = 1) {
    const float h = std::tan(FOV / 2) * z;
    const float w = h * WIDTH / HEIGHT;
    const float cellWidth = 2 * w / COLUMNS;
    const float cellHeight = 2 * h / ROWS;
    const auto column = static_cast<float>(cell % COLUMNS), row = static_cast<float>(cell / COLUMNS);
    return stageQuad(vector3df(column * cellWidth - w, h - (row + rows) * cellHeight, z),
                     vector3df(columns * cellWidth, 0, 0), vector3df(0, rows * cellHeight, 0));
}

static QbRef4 atCell(const QbRefPicture& picture, int cell) {
    return picture.at(cell % COLUMNS * CELL + CELL / 2, cell / COLUMNS * CELL + CELL / 2);
}

// Its own colour at full luminosity, whatever light there is.
static StageSurface shining(float r, float g, float b) {
    return StageSurface().color(r, g, b).value(QB_SURFACE_DIFFUSE, 0).value(QB_SURFACE_LUMINOSITY, 1);
}

static void expectRgb(const std::string& what, QbRef4 actual, QbRef3 expected) {
    EXPECT_NEAR(actual.r, expected.x, 1.6 * STEP) << what << ", red";
    EXPECT_NEAR(actual.g, expected.y, 1.6 * STEP) << what << ", green";
    EXPECT_NEAR(actual.b, expected.z, 1.6 * STEP) << what << ", blue";
}

// Of all objects, as they lie in memory.
static std::vector<unsigned char> materialBytes() {
    std::vector<unsigned char> bytes;
    for (int id = 1; id <= WIDTH; ++id) {
        auto* object = static_cast<QbObjectRec*>(qbIdListGet(qbEngineGet()->objects, id));
        for (u32 i = 0; object && i < object->node->getMaterialCount(); ++i) {
            const auto* first = reinterpret_cast<const unsigned char*>(&object->node->getMaterial(i));
            bytes.insert(bytes.end(), first, first + sizeof(video::SMaterial));
        }
    }
    return bytes;
}

namespace {

// One window for all tests; each leaves it without objects and lights.
class FrameTest : public RenderStage {
protected:
    void SetUp() override {
        if (state()) return;
        open(WIDTH, HEIGHT);
        lookAt(vector3df(0, 0, 0), vector3df(0, 0, 1), FOV);
        addTexture("grey", 4, [](int, int) { return 0xFF666666; });
    }
    void TearDown() override {
        clear();
        qbEngineGet()->gui->clear();
        qbEngineSetGlow(0, 0, 0);
        qbEngineSetBackground(0);
        EXPECT_EQ(messages, Texts());
    }
    static void TearDownTestSuite() {
        qbEngineClose();
        qbEngineSetRenderer(nullptr);
    }

    // Draws two frames, with what must hold for each of them.
    void frame() {
        const std::vector<unsigned char> before = materialBytes();
        draw();
        const QbRefPicture first = scene();
        draw();
        EXPECT_EQ(glGetError(), 0U);
        EXPECT_TRUE(first.texels == scene().texels) << "a second frame differs";
        EXPECT_TRUE(before == materialBytes()) << "a material differs after the frame";
        const video::SOverrideMaterial& override = qbEngineGet()->driver->getOverrideMaterial();
        EXPECT_FALSE(override.EnableFlags || override.EnablePasses || override.Enabled);
    }
    QbRefPicture scene() const { return read(state()->sceneRTT); }
};

using RendererOpenTest = RenderStage; // opens by itself

} // namespace

// --- what the geometry buffer can not hold ----------------------------------------------------------------

// Draws (0.2, 0.6, 0.4) with an alpha of 0.3.
static std::string shaderText(const char* base) {
    return std::string("//[QUAB_BEGIN]\n//function vertexMain : VS\n//function pixelMain : PS\n"
                       "//config baseMaterial : ") +
           base +
           "\n//float4x4 WorldViewProjection : WorldViewProjectionTranspose;\n//[QUAB_END]\n"
           "float4x4 WorldViewProjection;\n"
           "float4 VS(float4 p : POSITION) : POSITION { return mul(p, WorldViewProjection); }\n"
           "float4 PS() : COLOR0 { return float4(0.2, 0.6, 0.4, 0.3); }\n";
}

static void makePlain(scene::ISceneNode* node, video::E_MATERIAL_TYPE type, u32 index = 0) {
    video::SMaterial& material = node->getMaterial(index);
    material.setTexture(0, qbEngineGet()->driver->getTexture("grey"));
    material.Lighting = false;
    material.MaterialType = type;
}

// Everything that a pass writes holds something unusual.
static void makeUnusual(scene::ISceneNode* node) {
    video::SMaterial& material = node->getMaterial(0);
    const uint32_t notANumber = 0x7FC12345;
    memcpy(&material.MaterialTypeParam2, &notANumber, sizeof notANumber);
    material.MaterialTypeParam = -0.0F;
    for (u32 i = 0; i < 4; ++i) {
        video::SMaterialLayer& layer = material.TextureLayer[i];
        layer.Texture = i % 2 ? qbEngineGet()->driver->getTexture("grey") : nullptr;
        layer.TextureWrapU = (video::ETC_MIRROR + i) & 15;
        layer.TextureWrapV = (video::ETC_CLAMP + i) & 15;
        layer.BilinearFilter = layer.TrilinearFilter = true;
        layer.AnisotropicFilter = static_cast<u8>(3 + i);
    }
}

// The texture "grey", and added to what lies behind: 0x336699.
static const QbRef3 back{0.2, 0.4, 0.6};
static const QbRef3 grey{0.4, 0.4, 0.4};
static const QbRef3 greyAdded{0.4 + 0.2 * 0.6, 0.4 + 0.4 * 0.6, 0.4 + 0.6 * 0.6};

TEST_F(FrameTest, ShaderAndTransparencyKeepASurfaceOutOfTheGeometryBuffer) {
    const TemporaryDirectory directory;
    directory.write("own.hlsl", shaderText("solid"));
    directory.write("add.hlsl", shaderText("transparent_add_color"));
    const auto makeSolid = [](scene::ISceneNode* node) { makePlain(node, video::EMT_SOLID); };
    const auto makeAdding = [](scene::ISceneNode* node) {
        makePlain(node, video::EMT_TRANSPARENT_ADD_COLOR);
    };
    const auto keepShader = [](scene::ISceneNode*) {};
    const auto loseObject = [](scene::ISceneNode* node) { node->setID(-1); };
    const QbRef3 own{0.2, 0.6, 0.4};
    const QbRef3 ownAdded{0.2 + 0.2 * 0.8, 0.6 + 0.4 * 0.4, 0.4 + 0.6 * 0.6};
    const StageSurface bright = shining(0.8F, 0.1F, 0.3F);
    const StageSurface half = StageSurface().value(QB_SURFACE_TRANSPARENCY, 0.5F);
    const StageSurface mapped = StageSurface().image(QB_SURFACE_TRANSPARENCY, "grey");
    const StageSurface shader = StageSurface().shader("own.hlsl");
    const struct {
        const char* what;
        float z;
        StageSurface surface;
        void (*change)(scene::ISceneNode* node);
        QbRef3 rgb;
    } table[] = {
        {"in the buffer", 100, bright, makeUnusual, {0.8, 0.1, 0.3}},
        {"solid shader", 100, shader, keepShader, own},
        {"solid shader, hidden", 300, shader, keepShader, back},
        {"shader that adds", 100, StageSurface().shader("add.hlsl"), keepShader, ownAdded},
        {"transparent", 100, bright, makeAdding, greyAdded},
        {"transparent, hidden", 300, bright, makeAdding, back},
        {"transparency value", 100, half, makeSolid, grey},
        {"transparency map", 100, mapped, makeSolid, grey},
        {"no object", 50, bright, loseObject, back},
    };
    int cell = 0;
    for (const auto& row : table)
        row.change(node(add(tile(cell++, row.z), row.surface)));
    // Behind all of them, and drawn after them by the order of the nodes.
    add(tile(0, 200, COLUMNS, ROWS), shining(0.2F, 0.4F, 0.6F));
    frame();
    const QbRefPicture picture = scene(), depths = read(state()->depthRTT);
    cell = 0;
    for (const auto& row : table) {
        expectRgb(row.what, atCell(picture, cell), row.rgb);
        EXPECT_NEAR(atCell(depths, cell).r, cell == 0 ? 0.1 : 0.2, 2e-4) << row.what;
        ++cell;
    }
    EXPECT_NEAR(atCell(picture, 1).a, 0.3, STEP) << "the glow of the solid shader";
}

// Where two objects share a plane the later draw wins. Those of the first one's texture go first, then by id,
// wherever the textures lie in memory.
TEST_F(FrameTest, SolidObjectsAreDrawnByTextureAndThenById) {
    const auto white = [](int, int) { return 0xFFFFFFFF; };
    addTexture("one", 4, white);
    addTexture("two", 4, white);
    const char* const orders[][2] = {{"one", "two"}, {"two", "one"}};
    for (const auto& names : orders) {
        const struct {
            const char* texture;
            float luminosity;
        } objects[] = {{names[0], 0.2F}, {names[1], 0.4F}, {names[1], 0.6F}, {names[0], 0.8F}};
        for (const auto& object : objects) {
            const StageSurface surface = shining(1, 1, 1).value(QB_SURFACE_LUMINOSITY, object.luminosity);
            const int id = add(tile(0, 100, COLUMNS, ROWS), surface);
            node(id)->getMaterial(0).setTexture(0, qbEngineGet()->driver->getTexture(object.texture));
        }
        frame();
        expectRgb(names[0], atCell(scene(), 0), {0.6, 0.6, 0.6});
        clear();
    }
}

// A node of four materials: lit, transparent, solid but with transparency, without a surface.
TEST_F(FrameTest, MaterialsOfOneNodeGoTheirOwnWays) {
    auto* mesh = new scene::SMesh();
    for (int cell = 0; cell < 4; ++cell) {
        const int id = add(tile(cell, 100), StageSurface());
        mesh->addMeshBuffer(static_cast<scene::IMeshSceneNode*>(node(id))->getMesh()->getMeshBuffer(0));
        if (cell > 0) qbObjectFree(id);
    }
    mesh->recalculateBoundingBox();
    static_cast<scene::IMeshSceneNode*>(node(1))->setMesh(mesh);
    mesh->drop();
    const StageSurface bright = shining(0.8F, 0.1F, 0.3F);
    const StageSurface half = StageSurface().value(QB_SURFACE_TRANSPARENCY, 0.5F);
    const QbSurfaceValues surfaces[] = {bright.values(), StageSurface().values(), half.values()};
    static_cast<QbObjectRec*>(qbIdListGet(qbEngineGet()->objects, 1))->surfacesReady = 0;
    qbObjectSetSurfaces(1, 3, surfaces, 0);
    makePlain(node(1), video::EMT_TRANSPARENT_ADD_COLOR, 1);
    makePlain(node(1), video::EMT_SOLID, 2);
    makePlain(node(1), video::EMT_SOLID, 3);
    qbEngineSetBackground(0x336699);
    frame();
    const QbRef3 expected[] = {{0.8, 0.1, 0.3}, greyAdded, grey, grey};
    const QbRefPicture depths = read(state()->depthRTT);
    for (int cell = 0; cell < 4; ++cell) {
        expectRgb("material " + std::to_string(cell), atCell(scene(), cell), expected[cell]);
        const bool isInBuffer = atCell(depths, cell).r < 1;
        EXPECT_EQ(isInBuffer, cell == 0 || cell == 3) << cell;
    }
}

// Hidden or out of sight, everything is drawn once, and nothing of it stays.
TEST_F(FrameTest, WarmingUpLeavesNoTrace) {
    const int hidden = add(tile(0, 100, COLUMNS, ROWS), shining(0.8F, 0.1F, 0.3F));
    const int behind = add(tile(0, -100, COLUMNS, ROWS), shining(0.1F, 0.8F, 0.3F));
    qbObjectHide(hidden);
    const scene::ISceneNode* nodes[] = {node(hidden), node(behind)};
    frame();
    const QbRefPicture before = read(state()->sceneRTT);
    qbEngineWarmUp();
    EXPECT_NE(read(state()->sceneRTT).texels, before.texels) << "the hidden one was drawn";
    EXPECT_FALSE(nodes[0]->isVisible());
    EXPECT_TRUE(nodes[1]->isVisible());
    for (const scene::ISceneNode* one : nodes)
        EXPECT_EQ(one->getAutomaticCulling(), scene::EAC_BOX);
    frame();
    EXPECT_EQ(read(state()->sceneRTT).texels, before.texels);
}

// What an object took goes with it: its shader's record, and of a terrain the driver's copy of its shape.
TEST_F(FrameTest, FreedObjectsLeaveNothing) {
    const TemporaryDirectory directory;
    directory.write("own.fx", shaderText("solid"));
    directory.write("isle.terrain_height.bmp", plainBmp(65, 65, 0));
    const StageSurface surface = StageSurface().shader("own.fx");
    const int records = qbShaderRecordCount();
    qbObjectLoad("isle.terrain.layer1.x", 1);
    qbObjectSetSurfaces(1, 1, &surface.values(), 0);
    EXPECT_EQ(qbShaderRecordCount(), records + 1);
    scene::IMeshBuffer* shape = static_cast<scene::ITerrainSceneNode*>(node(1))->getRenderBuffer();
    shape->grab();
    lookAt(vector3df(3840, 3000, -1000), vector3df(3840, 0, 3840), FOV);
    qbEngineGet()->camera->setFarValue(20000);
    qbEngineWarmUp();
    EXPECT_EQ(shape->getReferenceCount(), 3) << "the driver holds it, too";
    qbObjectFree(1);
    EXPECT_EQ(qbShaderRecordCount(), records);
    EXPECT_EQ(shape->getReferenceCount(), 1);
    shape->drop();
    lookAt(vector3df(0, 0, 0), vector3df(0, 0, 1), FOV);
    qbEngineGet()->camera->setFarValue(1000);
}

TEST_F(FrameTest, WithoutSolidSurfacesTheLightsRest) {
    qbEngineSetBackground(0xFF336699);
    const int id = add(tile(0, 100, COLUMNS, ROWS), StageSurface());
    addLight({QbRefLightKind::Distant, {0.6, 0.4, 0.2}, {0, 0, 1}, {}, 10, 30, 60});
    qbEngineSetAmbient(0);
    // No sky has a place in the frame.
    video::ITexture* wall = qbEngineGet()->driver->getTexture("grey");
    scene::ISceneNode* sky = qbEngineGet()->smgr->addSkyBoxSceneNode(wall, wall, wall, wall, wall, wall);
    frame();
    const QbRefPicture light = read(state()->lightRTT);
    expectRgb("light", atCell(light, 0), {0.6, 0.4, 0.2});
    qbObjectHide(id);
    qbLightSetColor(0, 0x0000FF);
    makePlain(node(add(tile(0, 100), StageSurface())), video::EMT_TRANSPARENT_ADD_COLOR);
    frame();
    EXPECT_TRUE(light.texels == read(state()->lightRTT).texels);
    expectRgb("transparent surface", atCell(scene(), 0), greyAdded);
    expectRgb("background", atCell(scene(), 20), back);
    EXPECT_EQ(atCell(scene(), 20).a, 0) << "a background does not glow";
    sky->remove();
}

TEST_F(FrameTest, ParticlesAddToThePictureAndDoNotGlow) {
    qbEngineSetBackground(0x336699);
    static int now = 0;
    qbEngineSetTimeSource([] { return now += 100; });
    qbFxEmitterCreateBox(0, "grey", 60, 1e6F, 0, 0, 0, 0); // over the whole picture
    qbFxEmitterSetPosition(0, 0, 0, 100);
    qbFxEmitterSetLimit(0, 1);
    qbFxEmitterSetBirthRate(0, 100);
    for (int i = 0; i < 3; ++i) {
        qbEngineTime();
        draw();
    }
    scene::ISceneNode* node = static_cast<QbFxEmitterRec*>(qbIdListGet(qbEngineGet()->fxemitters, 0))->node;
    for (const auto type : {video::EMT_TRANSPARENT_VERTEX_ALPHA, video::EMT_TRANSPARENT_ADD_COLOR}) {
        node->setMaterialType(type);
        frame();
        expectRgb("particle", atCell(scene(), 20), greyAdded);
        EXPECT_EQ(atCell(scene(), 20).a, 0);
        EXPECT_EQ(node->getMaterial(0).MaterialType, type);
    }
    qbFxEmitterFree(0);
    qbEngineSetTimeSource(nullptr);
}

// --- after the surfaces ---------------------------------------------------------------------------------

TEST_F(FrameTest, GuiAndTextLieOverThePictureAndDoNotGlow) {
    qbEngineSetBackground(0x204060);
    qbEngineSetGlow(1, 0.9F, 200);
    add(tile(30, 100), shining(1, 1, 1).value(QB_SURFACE_GLOW_VALUE, 0.5F));
    frame();
    const QbRefPicture before = window();
    qbEngineGet()
        ->gui->addStaticText(L"", core::recti(40, 3, 50, 9), false, false, nullptr, -1, true)
        ->setBackgroundColor(video::SColor(128, 255, 0, 0));
    qbEngineText(6, 20, "L");
    draw();
    int ofText = 0;
    for (int y = 0; y < HEIGHT; ++y)
        for (int x = 0; x < WIDTH; ++x) {
            const QbRef4 after = window().at(x, y), t = before.at(x, y);
            QbRef3 expected{t.r, t.g, t.b};
            if (x >= 40 && x < 50 && y >= 3 && y < 9)
                expected = expected * (127 / 255.0) + QbRef3{128 / 255.0, 0, 0};
            const bool mayBeText = x >= 6 && x < 16 && y >= 20 && y < 36;
            if (mayBeText && after.r > t.r + 0.1)
                ++ofText;
            else
                expectRgb("beside the text", after, expected);
        }
    EXPECT_GT(ofText, 6);
}

// --- opening --------------------------------------------------------------------------------------------

TEST_F(RendererOpenTest, TheSmallestWindowHasHalfTargetsOfOneTexel) {
    open(1, 1);
    ASSERT_NE(state(), nullptr);
    lookAt(vector3df(0, 0, 0), vector3df(0, 0, 1), FOV);
    add(tile(0, 100, COLUMNS, ROWS), shining(0.2F, 0.4F, 0.6F));
    qbEngineSetGlow(1, 0.5F, 10);
    draw();
    expectRgb("window", window().at(0, 0), back);
    EXPECT_EQ(read(state()->halfScreen[0]).texels.size(), 1U);
    EXPECT_EQ(messages, Texts());
}

static std::string builtin(const char* name) {
    std::ifstream file(std::string(QB_SOURCE_DIR) + "/shaders/" + name);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

TEST_F(RendererOpenTest, RefusesToOpenWithoutDepthOfColourOrShaders) {
    // A file beside the show takes the place of the built-in one.
    const struct {
        int bits;
        const char* file;
        std::string more; // text behind the built-in one
        const char* message;
    } cases[] = {
        {16, "", "", "LPP only for 32bpp"},
        {32, "LppDepthPass.hlsl", std::string(QB_SHADER_SIZE_MAX, ' '),
         "failed to create shader LppDepthPass.hlsl"},
        {32, "LppDepthClear.hlsl", "nonsense", "failed to set gpu for shader LppDepthClear.hlsl"},
        {32, "LppFinalPass.hlsl", "\n#ifdef USE_TEX_REFLECIMG\nnonsense\n#endif\n",
         "failed to set gpu for shader reflec LppFinalPass.hlsl"},
    };
    for (const auto& row : cases) {
        const TemporaryDirectory directory;
        if (*row.file) directory.write(row.file, builtin(row.file) + row.more);
        QbSetup setup;
        setup.width = WIDTH;
        setup.height = HEIGHT;
        setup.bits = row.bits;
        messages.clear();
        qbEngineSetRenderer(qbRendererOps());
        EXPECT_EQ(qbEngineOpen(&setup), -1) << row.file;
        EXPECT_EQ(state(), nullptr);
        ASSERT_GE(messages.size(), 2U);
        EXPECT_EQ(messages[messages.size() - 2], row.message);
        EXPECT_EQ(messages.back(), "fails to create renderer");
    }
}
