#include "engine/lights.h"
#include "engine/render_target.h"
#include "materials/shader_file.h"
#include "render/reference/glow.h"
#include "render/reference/surface.h"
#include "render/renderer.h"
#include "render/stage.h"
#include "scene/runtime/objects.h"
#include "support/temporary_directory.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <epoxy/gl.h>
#include <functional>
#include <optional>

using namespace irr;
using core::vector3df;
using Texts = std::vector<std::string>;

// A grid of cells over a small window; most tests give each cell a surface of its own.
enum { WIDTH = 64, HEIGHT = 40, COLUMNS = 8, ROWS = 5, CELL = 8 };
static const float FOV = 0.2F;
static const float FAR = 1000.0F;
// A texel of 8 bits, rounded by the driver and by the reference each in its way.
static const double STEP = 1.0 / 255;

// Square to the view, at that depth; whole or half cells.
static StageMesh tile(float column, float row, float z, float columns = 1, float rows = 1) {
    const float h = std::tan(FOV / 2) * z;
    const float w = h * WIDTH / HEIGHT;
    const float cellWidth = 2 * w / COLUMNS;
    const float cellHeight = 2 * h / ROWS;
    return stageQuad(vector3df(column * cellWidth - w, h - (row + rows) * cellHeight, z),
                     vector3df(columns * cellWidth, 0, 0), vector3df(0, rows * cellHeight, 0));
}

// The cells by their numbers, row by row.
static StageMesh cellTile(int cell, float z) {
    return tile(static_cast<float>(cell % COLUMNS), static_cast<float>(cell / COLUMNS), z);
}
static int cellX(int cell) {
    return cell % COLUMNS * CELL + CELL / 2;
}
static int cellY(int cell) {
    return cell / COLUMNS * CELL + CELL / 2;
}

// Its own colour at full luminosity, whatever light there is.
static StageSurface shining(float r, float g, float b) {
    return StageSurface().color(r, g, b).value(QB_SURFACE_DIFFUSE, 0).value(QB_SURFACE_LUMINOSITY, 1);
}

static StageMesh backdrop(float z) {
    return tile(0, 0, z, COLUMNS, ROWS);
}

static QbRef3 rayAt(int x, int y) {
    return qbRefRay(qbRefFarCorners(FOV, double{WIDTH} / HEIGHT, FAR), (x + 0.5) / WIDTH, (y + 0.5) / HEIGHT);
}

static QbRef4 texel(const StagePicture& picture, int x, int y) {
    const auto t = picture.at(x, y);
    return {t[0], t[1], t[2], t[3]};
}

static void expectRgb(const std::string& what, const StagePicture& picture, int x, int y, QbRef3 expected,
                      double tolerance = 1.6 * STEP) {
    const QbRef4 t = texel(picture, x, y);
    EXPECT_NEAR(t.r, expected.x, tolerance) << what << ", red at " << x << ' ' << y;
    EXPECT_NEAR(t.g, expected.y, tolerance) << what << ", green at " << x << ' ' << y;
    EXPECT_NEAR(t.b, expected.z, tolerance) << what << ", blue at " << x << ' ' << y;
}

static void expectTexel(const std::string& what, const StagePicture& picture, int x, int y, QbRef4 expected,
                        double tolerance = 1.6 * STEP) {
    expectRgb(what, picture, x, y, {expected.r, expected.g, expected.b}, tolerance);
    EXPECT_NEAR(texel(picture, x, y).a, expected.a, tolerance) << what << ", alpha at " << x << ' ' << y;
}

// The largest difference of two pictures in any channel.
static double difference(const StagePicture& a, const StagePicture& b) {
    double most = a.rgba.size() == b.rgba.size() ? 0 : 1;
    for (size_t i = 0; i < a.rgba.size() && most < 1; ++i)
        most = std::max(most, std::abs(double{a.rgba[i]} - b.rgba[i]));
    return most;
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
        const struct {
            const char* name;
            uint32_t color;
        } textures[] = {{"normal", 0xFFB366E6},       {"specular", 0xFF33FFFF},   {"gloss", 0xFF66FFFF},
                        {"color", 0xFF80664C},        {"luminosity", 0xFF1AFFFF}, {"diffuse", 0xFF99FFFF},
                        {"reflectivity", 0xFFCCFFFF}, {"grey", 0xFF666666}};
        for (const auto& texture : textures)
            addTexture(texture.name, 4, 4, [&](int, int) { return texture.color; });
        qbEngineGet()->driver->setTextureCreationFlag(video::ETCF_CREATE_MIP_MAPS, false);
        addTexture("sky", 64, 64,
                   [](int x, int y) { return 0xFF000080U | uint32_t(x) << 18 | uint32_t(y) << 10; });
        qbEngineGet()->driver->setTextureCreationFlag(video::ETCF_CREATE_MIP_MAPS, true);
    }
    void TearDown() override {
        clear();
        qbEngineGet()->gui->clear();
        qbEngineSetGlow(0, 0, 0);
        qbEngineSetDepthOfField(0, 0, 0);
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
        const StagePicture first = scene();
        draw();
        EXPECT_EQ(glGetError(), 0U);
        EXPECT_EQ(difference(first, scene()), 0) << "a second frame differs";
        EXPECT_TRUE(before == materialBytes()) << "a material differs after the frame";
        const video::SOverrideMaterial& override = qbEngineGet()->driver->getOverrideMaterial();
        EXPECT_EQ(override.EnableFlags, 0U);
        EXPECT_EQ(override.EnablePasses, 0U);
        EXPECT_FALSE(override.Enabled);
        StagePicture opaque = scene();
        for (size_t i = 3; i < opaque.rgba.size(); i += 4)
            opaque.rgba[i] = 1;
        EXPECT_LT(difference(opaque, window()), 0.5 * STEP) << "the window shows another picture";
    }
    StagePicture scene() const { return read(state()->sceneRTT); }
    StagePicture light() const { return read(state()->lightRTT); }
};

// Opens by itself.
class RendererOpenTest : public RenderStage {};

} // namespace

// --- variants -------------------------------------------------------------------------------------------

static const QbRef3 NORMAL_TEXEL{0xB3 / 255.0, 0x66 / 255.0, 0xE6 / 255.0};

// Eight surfaces side by side, each with the maps of its bits, nearer and farther than the focus.
TEST_F(FrameTest, DepthPassWritesWhatTheMapsOfASurfaceSay) {
    for (int bits = 0; bits < 8; ++bits) {
        StageSurface surface;
        surface.value(QB_SURFACE_BUMP, 3).value(QB_SURFACE_SPECULARITY, 0.7F);
        surface.value(QB_SURFACE_GLOSSINESS, 0.9F);
        if (bits & QB_DEPTH_TEX_NORM) surface.image(QB_SURFACE_BUMP, "normal");
        if (bits & QB_DEPTH_TEX_SPEC) surface.image(QB_SURFACE_SPECULARITY, "specular");
        if (bits & QB_DEPTH_TEX_GLOS) surface.image(QB_SURFACE_GLOSSINESS, "gloss");
        add(cellTile(bits, 60.0F + 120.0F * static_cast<float>(bits)), surface);
    }
    for (int variant = 0; variant < QB_DEPTH_VARIANTS; ++variant) {
        const bool hasFocus = variant & QB_DEPTH_DOF;
        const int x = cellX(variant % 8);
        if (variant % 8 == 0) {
            qbEngineSetDepthOfField(hasFocus, 360, 1);
            frame();
        }
        std::optional<QbRef3> bump;
        std::optional<QbRefFocus> focus;
        if (variant & QB_DEPTH_TEX_NORM) bump = NORMAL_TEXEL;
        if (hasFocus) focus = QbRefFocus();
        const QbRef3 normal = qbRefShadingNormal(qbRefAxes({0, 0, -1}, {1, 0, 0}, 1), bump, 3);
        const double specular = variant & QB_DEPTH_TEX_SPEC ? 0.2 : 0.7;
        const double gloss = variant & QB_DEPTH_TEX_GLOS ? 0.4 : 0.9;
        const std::string name = "depth variant " + std::to_string(variant);
        expectTexel(name, read(state()->normalRTT), x, 4, qbRefNormalTexel(normal, specular, gloss));
        // Half floats.
        const QbRef4 depth = qbRefDepthTexel(60 + 120 * (variant % 8), FAR, focus);
        expectRgb(name, read(state()->depthRTT), x, 4, {depth.r, depth.g, 0}, 1e-3);
    }
    expectTexel("no surface", read(state()->normalRTT), 4, 20, QB_REF_CLEAR_NORMAL);
    expectRgb("no surface", read(state()->depthRTT), 4, 20, {1, 0, 0});
}

namespace {

// What the final pass finds in the layers of a material: a texture beyond the fourth reads black.
struct Layers {
    int used = 0;

    template <class Texel>
    Texel take(Texel texel) {
        return used++ < 4 ? texel : Texel();
    }
};

} // namespace

static const double SEAM = 0.5;

// With four maps before it the reflectivity map is lost, and with it nearly all reflection.
static double reflectivityOf(int bits) {
    return (bits & 15) == 15 ? 20 : 0.5;
}

// The picture "sky" is a ramp in both directions.
static QbRef3 skyAt(QbRef2 uv) {
    return {(uv.x * 64 - 0.5) * 4 / 255, (uv.y * 64 - 0.5) * 4 / 255, 128.0 / 255};
}

static QbRefReflection reflectionOf(int bits, int x, int y, Layers* layers) {
    QbRefReflection reflection;
    const bool hasSky = layers->take(true);
    reflection.reflectivity = reflectivityOf(bits);
    if (bits & QB_FINAL_TEX_REFLECTIVITY) reflection.reflectivityTexel = layers->take(0.8);
    const QbRef3 view = -qbRefNormalize(rayAt(x, y));
    QbRef2 uv = qbRefReflectionUv(qbRefReflectedRay(view, {0, 0, -1}), SEAM);
    if (bits & QB_FINAL_TEX_NORMAL) {
        const QbRefAxes axes{{0, 0, -1}, {1, 0, 0}, {0, 1, 0}};
        const QbRef3 normal = qbRefReflectionNormal(axes, layers->take(NORMAL_TEXEL), 3);
        uv = qbRefReflectionUvWithNormalMap(qbRefReflectedRay(view, normal), SEAM);
    }
    reflection.imageTexel = hasSky ? skyAt(uv) : QbRef3();
    return reflection;
}

// Cells 0 to 31 reflect, 32 to 39 do not.
static QbRef4 finalAt(int cell, int x, int y, QbRef4 light) {
    QbRefSurface surface;
    Layers layers;
    surface.color = {0.2, 0.3, 0.6};
    surface.luminosity = 0.5;
    surface.glow = cell / 40.0;
    if (cell & QB_FINAL_TEX_COLOR)
        surface.colorTexel = layers.take(QbRef3{128 / 255.0, 102 / 255.0, 76 / 255.0});
    if (cell & QB_FINAL_TEX_LUMINOSITY) surface.luminosityTexel = layers.take(26 / 255.0);
    if (cell & QB_FINAL_TEX_DIFFUSE) surface.diffuseTexel = layers.take(0.6);
    std::optional<QbRefReflection> reflection;
    if (cell < QB_FINAL_REFLECT_VARIANTS) reflection = reflectionOf(cell, x, y, &layers);
    return qbRefFinalOutput(surface, reflection, {0.25, 0.25, 0.25}, layers.take(light));
}

// All maps that the final pass could take stand on a surface that does not reflect, to be ignored there.
static StageSurface finalSurface(int cell) {
    const bool reflects = cell < QB_FINAL_REFLECT_VARIANTS;
    StageSurface surface;
    surface.color(0.2F, 0.3F, 0.6F).value(QB_SURFACE_LUMINOSITY, 0.5F).value(QB_SURFACE_BUMP, 3);
    surface.value(QB_SURFACE_SPECULARITY, 0.3F).value(QB_SURFACE_GLOSSINESS, 0.1F);
    surface.value(QB_SURFACE_GLOW_VALUE, static_cast<float>(cell) / 40.0F);
    surface.value(QB_SURFACE_REFLECTIVITY, static_cast<float>(reflectivityOf(cell)));
    surface.value(QB_SURFACE_REFLECTION_SEAM_ANGLE, static_cast<float>(SEAM));
    surface.integer(QB_SURFACE_REFLECTION_OPTIONS, reflects ? 2 : 1);
    surface.image(QB_SURFACE_REFLECTION_IMAGE, "sky");
    if (cell & QB_FINAL_TEX_COLOR) surface.image(QB_SURFACE_BASE_COLOR, "color");
    if (cell & QB_FINAL_TEX_LUMINOSITY) surface.image(QB_SURFACE_LUMINOSITY, "luminosity");
    if (cell & QB_FINAL_TEX_DIFFUSE) surface.image(QB_SURFACE_DIFFUSE, "diffuse");
    if (cell & QB_FINAL_TEX_REFLECTIVITY || !reflects) surface.image(QB_SURFACE_REFLECTIVITY, "reflectivity");
    if (cell & QB_FINAL_TEX_NORMAL || !reflects) surface.image(QB_SURFACE_BUMP, "normal");
    return surface;
}

TEST_F(FrameTest, FinalPassDrawsWhatTheMapsOfASurfaceSay) {
    const int cells = QB_FINAL_REFLECT_VARIANTS + QB_FINAL_VARIANTS;
    for (int cell = 0; cell < cells; ++cell)
        add(cellTile(cell, 100), finalSurface(cell));
    addDistant(vector3df(0.3F, -0.2F, 1), video::SColorf(0.5F, 0.4F, 0.3F));
    ambient(0x404040);
    frame();
    const StagePicture picture = scene();
    const StagePicture lights = light();
    std::vector<QbRef4> seen;
    for (int cell = 0; cell < cells; ++cell) {
        const int x = cellX(cell);
        const int y = cellY(cell);
        const QbRef4 lit = texel(lights, x, y);
        EXPECT_GT(lit.r * lit.g * lit.b * lit.a, 0) << "light of cell " << cell;
        const QbRef4 expected = finalAt(cell, x, y, lit);
        expectTexel("cell " + std::to_string(cell), picture, x, y, expected, 2.1 * STEP);
        for (size_t other = 0; other < seen.size(); ++other) {
            const QbRef4 apart = expected + seen[other] * -1;
            EXPECT_GT(std::max({std::abs(apart.r), std::abs(apart.g), std::abs(apart.b)}), 4.5 * STEP)
                << "cells " << other << " and " << cell << " look the same";
        }
        seen.push_back(expected);
    }
}

// White wall at 100, looked at squarely.
TEST_F(FrameTest, EachKindOfLightAddsItsOwnShare) {
    add(backdrop(100), StageSurface().value(QB_SURFACE_LUMINOSITY, 0.25F));
    const video::SColorf color(0.6F, 0.4F, 0.2F);
    addDistant(vector3df(0, 0, 1), color);
    addPoint(vector3df(8, 0, 95), 7, color);
    addSpot(vector3df(0, 0, 60), vector3df(0, 0, 1), 80, 3, 9, color);
    const struct {
        int on; // bits of the lights
        double middle, aside, border;
    } cases[] = {{0, 0, 0, 0}, {1, 1, 1, 1}, {2, 0, 0.293, 0}, {4, 0.75, 0.257, 0}};
    for (const auto& row : cases) {
        for (int id = 0; id < 3; ++id)
            row.on >> id & 1 ? qbLightShow(id) : qbLightHide(id);
        ambient(0x1A1A1A);
        frame();
        const std::string name = "lights " + std::to_string(row.on);
        const std::pair<int, double> shares[] = {{32, row.middle}, {42, row.aside}, {63, row.border}};
        for (const auto& [x, share] : shares) {
            const QbRef3 lit{0.6 * share, 0.4 * share, 0.2 * share};
            expectRgb(name, light(), x, 20, lit, 2.1 * STEP);
            if (row.on) expectRgb(name, scene(), x, 20, lit + QbRef3{0.352, 0.352, 0.352}, 2.1 * STEP);
        }
    }
}

// --- what the geometry buffer can not hold ----------------------------------------------------------------

static std::string shaderText(const char* base) {
    return std::string("//[QUAB_BEGIN]\n//function vertexMain : VS\n//function pixelMain : PS\n"
                       "//config baseMaterial : ") +
           base +
           "\n//float4x4 WorldViewProjection : WorldViewProjectionTranspose;\n//[QUAB_END]\n"
           "float4x4 WorldViewProjection;\n"
           "float4 VS(float4 p : POSITION) : POSITION { return mul(p, WorldViewProjection); }\n"
           "float4 PS() : COLOR0 { return float4(0.2, 0.6, 0.4, 0.3); }\n";
}

namespace {

// A colour behind the surfaces (0x336699), the texture "grey" and the shader's colour, and both added to it.
const QbRef3 back{0.2, 0.4, 0.6};
const QbRef3 grey{0.4, 0.4, 0.4};
const QbRef3 greyAdded{0.4 + 0.2 * 0.6, 0.4 + 0.4 * 0.6, 0.4 + 0.6 * 0.6};
const QbRef3 own{0.2, 0.6, 0.4};
const QbRef3 ownAdded{0.2 + 0.2 * 0.8, 0.6 + 0.4 * 0.4, 0.4 + 0.6 * 0.6};

struct Excluded {
    const char* what;
    float z;
    StageSurface surface;
    std::function<void(scene::ISceneNode*)> change;
    QbRef3 rgb;
    double depth = 0.2; // of the backdrop: the surface is not in the buffer
};

} // namespace

static void makePlain(scene::ISceneNode* node, video::E_MATERIAL_TYPE type, u32 index = 0) {
    video::SMaterial& material = node->getMaterial(index);
    material.setTexture(0, qbEngineGet()->driver->getTexture("grey"));
    material.Lighting = false;
    material.MaterialType = type;
}

static std::function<void(scene::ISceneNode*)> plain(video::E_MATERIAL_TYPE type) {
    return [type](scene::ISceneNode* node) { makePlain(node, type); };
}

static void keepNoSurface(scene::ISceneNode* node) {
    makePlain(node, video::EMT_SOLID);
    static_cast<QbObjectRec*>(qbIdListGet(qbEngineGet()->objects, node->getID()))->surfaceCount = 0;
}

// Everything that a pass writes holds something unusual.
static void makeUnusual(scene::ISceneNode* node) {
    video::SMaterial& material = node->getMaterial(0);
    const uint32_t notANumber = 0x7FC12345;
    memcpy(&material.MaterialTypeParam2, &notANumber, sizeof notANumber);
    material.MaterialTypeParam = -0.0F;
    for (u32 i = 0; i < 4; ++i) {
        video::SMaterialLayer& layer = material.TextureLayer[i];
        layer.Texture = qbEngineGet()->driver->getTexture(i % 2 ? "grey" : "gloss");
        layer.TextureWrapU = (video::ETC_MIRROR + i) & 15;
        layer.TextureWrapV = (video::ETC_CLAMP + i) & 15;
        layer.BilinearFilter = i % 2 == 0;
        layer.TrilinearFilter = i % 2 != 0;
        layer.AnisotropicFilter = static_cast<u8>(3 + i);
    }
}

TEST_F(FrameTest, ShaderAndTransparencyKeepASurfaceOutOfTheGeometryBuffer) {
    const TemporaryDirectory directory;
    directory.write("own.hlsl", shaderText("solid"));
    directory.write("add.hlsl", shaderText("transparent_add_color"));
    const auto addColor = plain(video::EMT_TRANSPARENT_ADD_COLOR);
    const auto solid = plain(video::EMT_SOLID);
    const auto nothing = [](scene::ISceneNode*) {};
    const auto noObject = [](scene::ISceneNode* node) { node->setID(-1); };
    const StageSurface white;
    const StageSurface bright = shining(0.8F, 0.1F, 0.3F);
    const StageSurface half = StageSurface().value(QB_SURFACE_TRANSPARENCY, 0.5F);
    const StageSurface mapped = StageSurface().image(QB_SURFACE_TRANSPARENCY, "grey");
    const StageSurface shader = StageSurface().shader("own.hlsl");
    const Excluded table[] = {
        {"in the buffer", 100, bright, makeUnusual, {0.8, 0.1, 0.3}, 0.1},
        {"solid shader", 100, shader, nothing, own},
        {"solid shader, hidden", 300, shader, nothing, back},
        {"shader that adds", 100, StageSurface().shader("add.hlsl"), nothing, ownAdded},
        {"transparent", 100, white, addColor, greyAdded},
        {"transparent, hidden", 300, white, addColor, back},
        {"transparency value", 100, half, solid, grey},
        {"transparency value, blended", 100, half, addColor, greyAdded},
        {"transparency map", 100, mapped, solid, grey},
        {"transparency map, blended", 100, mapped, addColor, greyAdded},
        {"beyond the surfaces", 100, white, keepNoSurface, grey},
        {"no object", 50, bright, noObject, back},
    };
    int cell = 0;
    for (const Excluded& row : table)
        row.change(node(add(cellTile(cell++, row.z), row.surface)));
    // Behind all of them, and drawn after them by the order of the nodes.
    add(backdrop(200), shining(0.2F, 0.4F, 0.6F));
    addDistant(vector3df(0, 0, 1), video::SColorf(0, 0, 0));
    ambient(0);
    frame();
    cell = 0;
    for (const Excluded& row : table) {
        const int x = cellX(cell);
        const int y = cellY(cell++);
        expectRgb(row.what, scene(), x, y, row.rgb);
        EXPECT_NEAR(read(state()->depthRTT).at(x, y)[0], row.depth, 2e-4) << row.what;
    }
    EXPECT_NEAR(scene().at(12, 4)[3], 0.3, STEP) << "alpha of the solid shader";
}

// A node of four materials: lit, transparent, solid but with transparency, without a surface.
TEST_F(FrameTest, MaterialsOfOneNodeGoTheirOwnWays) {
    auto* mesh = new scene::SMesh();
    for (int cell = 0; cell < 4; ++cell) {
        const int id = add(cellTile(cell, 100), StageSurface());
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
    for (int cell = 0; cell < 4; ++cell)
        expectRgb("material " + std::to_string(cell), scene(), cellX(cell), 4, expected[cell]);
    const StagePicture depths = read(state()->depthRTT);
    EXPECT_NEAR(depths.at(cellX(0), 4)[0], 0.1, 2e-4);
    EXPECT_EQ(depths.at(cellX(1), 4)[0], 1);
    EXPECT_EQ(depths.at(cellX(2), 4)[0], 1);
}

TEST_F(FrameTest, WithoutSolidSurfacesTheLightsRest) {
    qbEngineSetBackground(0xFF336699);
    const int id = add(backdrop(100), StageSurface());
    addDistant(vector3df(0.3F, 0, 1), video::SColorf(0.6F, 0.4F, 0.2F));
    ambient(0);
    // No sky has a place in the frame.
    video::ITexture* wall = qbEngineGet()->driver->getTexture("grey");
    scene::ISceneNode* sky = qbEngineGet()->smgr->addSkyBoxSceneNode(wall, wall, wall, wall, wall, wall);
    frame();
    const StagePicture before = light();
    expectRgb("light", before, 60, 24, {0.575, 0.383, 0.192});
    expectRgb("lit surface", scene(), 60, 24, {0.575, 0.383, 0.192});
    qbObjectHide(id);
    qbLightSetColor(0, 0x0000FF);
    makePlain(node(add(tile(1, 1, 100), StageSurface())), video::EMT_TRANSPARENT_ADD_COLOR);
    frame();
    EXPECT_EQ(difference(before, light()), 0);
    expectTexel("background", scene(), 30, 20, {0.2, 0.4, 0.6, 0});
    expectRgb("transparent surface", scene(), 12, 12, greyAdded);
    // A background does not glow, whatever stands in its alpha.
    qbObjectFree(id + 1);
    frame();
    const StagePicture dark = window();
    sky->remove();
    qbEngineSetGlow(1, 1, 50);
    frame();
    EXPECT_EQ(difference(dark, window()), 0);
}

// --- glow -----------------------------------------------------------------------------------------------

// The largest difference from what the chain makes of a picture.
static double glowError(const StagePicture& seen, const StagePicture& before, float intensity, float radius) {
    QbRefPicture frame(before.width, before.height);
    for (int y = 0; y < before.height; ++y)
        for (int x = 0; x < before.width; ++x)
            frame.at(x, y) = texel(before, x, y);
    StagePicture expected = before;
    float* channel = expected.rgba.data();
    for (const QbRef4& t : qbRefGlow(frame, intensity, radius).texels)
        for (const double value : {t.r, t.g, t.b, t.a})
            *channel++ = static_cast<float>(value);
    return difference(seen, expected);
}

TEST_F(FrameTest, GlowSpreadsAsTheChainSays) {
    static const video::SColor untouched(0xFF, 0xFF, 0, 0xFF);
    const struct {
        int enabled;
        float intensity, radius;
        bool runs;
    } cases[] = {{1, 0.5F, 60, true},  {1, 0.8F, 0, true}, {1, 2, 250, true},
                 {1, -0.5F, 60, true}, {1, 0, 60, false},  {0, 0.5F, 60, false}};
    // A block in the middle, then also a transparent surface, which leaves an alpha of 1.
    add(tile(3.5F, 2, 100), shining(0.5F, 0.4F, 0.3F).value(QB_SURFACE_GLOW_VALUE, 0.6F));
    for (const bool hasTransparent : {false, true}) {
        if (hasTransparent)
            makePlain(node(add(tile(0, 0, 100), StageSurface())), video::EMT_TRANSPARENT_ADD_COLOR);
        qbEngineSetGlow(0, 0, 0);
        frame();
        const StagePicture before = scene();
        EXPECT_NEAR(before.at(32, 20)[3], 0.6, STEP);
        EXPECT_NEAR(before.at(4, 4)[3], hasTransparent ? 1 : 0, STEP);
        for (const auto& row : cases) {
            const std::string name = "glow " + std::to_string(row.enabled) + " " +
                                     std::to_string(row.intensity) + " " + std::to_string(row.radius);
            qbTargetSet(state()->halfScreen[1], true, untouched);
            qbTargetSetWindow();
            qbEngineSetGlow(row.enabled, row.intensity, row.radius);
            frame();
            const auto corner = read(state()->halfScreen[1]).at(31, 0);
            EXPECT_EQ(corner[0] + corner[2] != 2, row.runs) << name;
            // Seven roundings to 8 bits, the weights of the linear filter among them.
            EXPECT_LE(row.runs ? glowError(scene(), before, row.intensity, row.radius)
                               : difference(scene(), before),
                      row.runs ? 4.1 * STEP : 0)
                << name;
            if (hasTransparent) continue;
            const StagePicture after = scene();
            for (int i = 0; i < WIDTH * HEIGHT; ++i) {
                const int x = i % WIDTH;
                const int y = i / WIDTH;
                expectTexel(name, after, WIDTH - 1 - x, y, texel(after, x, y), 1.1 * STEP);
                expectTexel(name, after, x, HEIGHT - 1 - y, texel(after, x, y), 1.1 * STEP);
            }
            const bool spreads = row.runs && row.intensity > 0 && row.radius > 0;
            EXPECT_EQ(after.at(24, 20)[0] > before.at(24, 20)[0] + 5 * STEP, spreads) << name;
        }
    }
}

// --- over the picture -----------------------------------------------------------------------------------

TEST_F(FrameTest, GuiAndTextLieOverThePictureAndDoNotGlow) {
    qbEngineSetBackground(0x204060);
    qbEngineSetGlow(1, 0.9F, 200);
    add(tile(6, 3, 100), shining(1, 1, 1).value(QB_SURFACE_GLOW_VALUE, 0.5F));
    frame();
    const StagePicture before = window();
    gui::IGUIEnvironment* gui = qbEngineGet()->gui;
    gui->addStaticText(L"", core::recti(40, 3, 50, 9), false, false, nullptr, -1, true)
        ->setBackgroundColor(video::SColor(128, 255, 0, 0));
    qbEngineText(6, 20, "L");
    draw();
    const StagePicture after = window();
    std::vector<int> perRow(HEIGHT); // pixels of the text
    for (int i = 0; i < WIDTH * HEIGHT; ++i) {
        const int x = i % WIDTH;
        const int y = i / WIDTH;
        const QbRef4 t = texel(before, x, y);
        QbRef3 expected{t.r, t.g, t.b};
        if (x >= 40 && x < 50 && y >= 3 && y < 9)
            expected = expected * (127 / 255.0) + QbRef3{128 / 255.0, 0, 0};
        const bool mayBeText = x >= 6 && x < 16 && y >= 20 && y < 36;
        if (mayBeText && after.at(x, y)[0] > t.r + 0.1)
            ++perRow[static_cast<size_t>(y)];
        else
            expectRgb("beside the text", after, x, y, expected);
    }
    // The letter's foot, its widest row, is below all the others.
    const auto foot = std::max_element(perRow.begin(), perRow.end());
    EXPECT_GT(*foot, 2);
    EXPECT_EQ(std::count(foot + 1, perRow.end(), 0), perRow.end() - foot - 1);
    EXPECT_GT(std::count_if(perRow.begin(), foot, [](int count) { return count > 0; }), 4);
}

// --- opening --------------------------------------------------------------------------------------------

TEST_F(RendererOpenTest, TargetsFollowTheSizeOfTheWindow) {
    const struct {
        int width, height;
        unsigned halfWidth, halfHeight;
    } cases[] = {{33, 17, 16, 8}, {1, 1, 1, 1}, {64, 40, 32, 20}};
    for (const auto& size : cases) {
        open(size.width, size.height);
        ASSERT_NE(state(), nullptr);
        const core::dimension2du half(size.halfWidth, size.halfHeight);
        for (const video::ITexture* texture : state()->halfScreen)
            EXPECT_TRUE(texture->getSize() == half) << size.width;
        EXPECT_EQ(read(state()->depthRTT).width, size.width);
        EXPECT_EQ(read(state()->depthRTT).height, size.height);
        lookAt(vector3df(0, 0, 0), vector3df(0, 0, 1), FOV);
        add(backdrop(100), shining(0.2F, 0.4F, 0.6F));
        qbEngineSetGlow(1, 0.5F, 10);
        draw();
        expectRgb("window", window(), size.width / 2, size.height / 2, {0.2, 0.4, 0.6});
        EXPECT_EQ(messages, Texts());
        clear();
    }
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
