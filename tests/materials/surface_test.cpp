#include "materials/surface.h"

#include "engine/cube_map.h"
#include "engine/fixture.h"
#include "materials/shader_file.h"
#include "support/messages.h"
#include "support/temporary_directory.h"

#include <string>
#include <vector>

using irr::video::ITexture;
using irr::video::SColor;
using irr::video::SMaterial;

namespace {

using Texts = std::vector<std::string>;

class Surfaces : public EngineTest {
protected:
    void SetUp() override {
        setup.width = setup.height = 64;
        EngineTest::SetUp();
        driver = qbEngineGet()->driver;
        qbEngineSetBackground(0x000032);
    }

    void image(const std::string& name, SColor color = SColor(128, 9, 9, 9), unsigned edge = 8) const {
        irr::video::IImage* made = driver->createImage(irr::video::ECF_A8R8G8B8, {edge, edge});
        made->fill(color);
        EXPECT_TRUE(driver->writeImageToFile(made, name.c_str())) << name;
        made->drop();
    }

    ITexture* texture(const char* name) const { return name ? driver->getTexture(name) : nullptr; }

    // Takes a shader whose pixels are the expression, with these lines in its block.
    void shade(const std::string& block, const std::string& pixel, const std::string& declarations = "",
               bool isTerrain = false) {
        directory.write(
            "own.fx", "//[QUAB_BEGIN]\n//float4x4 m : WorldViewProjectionTranspose;\n" + block +
                          "//[QUAB_END]\nfloat4x4 m;\n" + declarations +
                          "void vertexMain(float4 p : POSITION, out float4 o : POSITION) { o = mul(p, m); }\n"
                          "float4 pixelMain() : COLOR { return " +
                          pixel + "; }\n");
        values.hasShader = 1;
        values.shader.shaderName = "own.fx";
        setUp(isTerrain);
    }
    void setUp(bool isTerrain = false) {
        Messages::texts().clear();
        EXPECT_EQ(qbSurfaceInit(&ctx, &values), 0);
        EXPECT_EQ(qbSurfaceSetupMaterial(&ctx, material, &values, isTerrain), 0);
    }

    // The middle of a picture that a box with the material fills.
    Pixel drawn() const {
        qbEngineGet()->camera->setPosition({0, 0, -10});
        qbEngineGet()->camera->setTarget({0, 0, 0});
        irr::scene::ISceneNode* box = qbEngineGet()->smgr->addCubeSceneNode(10.0F);
        box->getMaterial(0) = material;
        const Picture& shown = draw();
        box->remove();
        return shown.at(shown.width / 2, shown.height / 2);
    }

    TemporaryDirectory directory;
    Messages sink;
    irr::video::IVideoDriver* driver = nullptr;
    QbSurfaceValues values{};
    QbSurfaceCtx ctx{};
    SMaterial material;
};

} // namespace

TEST_F(Surfaces, ChooseAPlainMaterial) {
    for (const char* name : {"leaf.png", "leaf.jpg", "sky.png", "bump.png"})
        image(name);
    const struct {
        const char* own; // that the mesh file brought along
        unsigned alpha;
        const char* sky;
        int options;
        const char* bump;
        int type;
        const char *layer0, *layer1;
    } cases[] = {
        {nullptr, 254, nullptr, 2, nullptr, 15, nullptr, nullptr},
        {"leaf.png", 0, nullptr, 0, nullptr, 13, "leaf.png", nullptr},
        {"leaf.jpg", 255, "sky.png", 1, nullptr, 0, "leaf.jpg", nullptr},
        {"leaf.jpg", 255, "sky.png", 2, nullptr, 11, "leaf.jpg", "sky.png"},
        {"leaf.jpg", 128, "sky.png", 2, nullptr, 16, "leaf.jpg", "sky.png"},
        {"leaf.jpg", 255, "no.png", 2, nullptr, 11, "leaf.jpg", nullptr},
        {"leaf.jpg", 1, nullptr, 0, "bump.png", 22, "leaf.jpg", "bump.png"},
        {"leaf.jpg", 255, "sky.png", 2, "bump.png", 20, "leaf.jpg", "bump.png"},
        {nullptr, 128, "sky.png", 2, "bump.png", 20, "sky.png", "bump.png"},
    };
    for (size_t i = 0; i < std::size(cases); i++) {
        const auto& c = cases[i];
        material = SMaterial();
        material.setTexture(0, texture(c.own));
        material.DiffuseColor.setAlpha(c.alpha);
        values.params[35].textureImage = c.sky;
        values.params[29].integer = c.options;
        values.params[8].textureImage = c.bump;
        setUp();
        EXPECT_EQ(material.MaterialType, c.type) << i;
        EXPECT_EQ(material.DiffuseColor.getAlpha(), c.type == 13 ? c.alpha : 255U) << i;
        EXPECT_EQ(material.getTexture(0), texture(c.layer0)) << i;
        EXPECT_EQ(material.getTexture(1), texture(c.layer1)) << i;
        EXPECT_EQ(material.MaterialTypeParam, c.bump ? 0.035F : 0.0F) << i;
        EXPECT_EQ(ctx.needsTangents, c.bump ? 1 : 0) << i;
        // The box has no tangents, which the materials for bumps would read.
        EXPECT_FALSE(drawn() == (Pixel{0, 0, 50})) << i;
    }
    EXPECT_FALSE(texture("sky.png")->hasMipMaps());
    EXPECT_TRUE(texture("bump.png")->hasMipMaps()) << "the switch goes back";
}

TEST_F(Surfaces, ShareTheCommonSettings) {
    const int biases[2][4] = {{-8, -8, -8, -8}, {-16, -4, -8, -8}};
    for (const bool isTerrain : {false, true}) {
        material = SMaterial();
        material.MaterialType = irr::video::EMT_DETAIL_MAP;
        values.params[31].integer = isTerrain ? 3 : 2;
        setUp(isTerrain);
        for (unsigned layer = 0; layer < 4; layer++)
            EXPECT_EQ(material.TextureLayer[layer].LODBias, biases[isTerrain][layer]) << layer;
        EXPECT_EQ(material.FogEnable, isTerrain);
        EXPECT_EQ(material.BackfaceCulling, !isTerrain);
        EXPECT_TRUE(material.NormalizeNormals);
        EXPECT_EQ(material.MaterialType, isTerrain ? irr::video::EMT_DETAIL_MAP : irr::video::EMT_SOLID);
    }
}

TEST_F(Surfaces, DrawOutlinesAsLinesOrPoints) {
    const struct {
        int outlines;
        float size;
        bool lines, points;
        float thickness;
    } cases[] = {
        {0, 2.0F, false, false, 1.0F}, {1, 0.999F, true, false, 1.0F}, {0, 0.0F, true, false, 1.0F},
        {1, 1.0F, false, true, 1.0F},  {1, 3.5F, false, true, 3.5F},   {1, 0.0F, false, false, 3.5F},
    };
    for (const auto& c : cases) {
        values.params[34].integer = c.outlines;
        values.params[27].color[0] = c.size;
        qbSurfaceUpdate(&ctx, material, &values, 0);
        EXPECT_EQ(material.Wireframe, c.lines) << c.size;
        EXPECT_EQ(material.PointCloud, c.points) << c.size;
        EXPECT_EQ(material.Thickness, c.thickness) << c.size;
        EXPECT_EQ(ctx.params[27].color[0], c.size);
    }
}

TEST_F(Surfaces, GiveTheirImagesToTheShader) {
    const Texts names = {"COLOR",        "luminosity",   "Diffuse",         "Specularity", "Reflectivity",
                         "Transparency", "Translucency", "RefractionIndex", "Bump",        "Glossiness"};
    std::vector<std::string> files;
    for (const std::string& name : names)
        image(files.emplace_back(name + ".png"));
    for (size_t i = 0; i < names.size(); i++)
        values.params[i].textureImage = files[i].c_str();
    for (size_t i = 0; i < names.size(); i++) {
        shade("//texture 3 : " + names[i] + ";\n", "1");
        EXPECT_EQ(material.getTexture(3), texture(files[i].c_str())) << names[i];
    }

    values.params[7].textureImage = "gone.png";
    values.name = "glass";
    shade("//texture 0 : RefractionIndex\n//texture 1 : RefractionImage\n//texture 2 : none.png\n"
          "//texture 3 : BUMP.PNG\n//texture 7 : Bump.png\n",
          "1", "", true);
    EXPECT_EQ(Messages::texts(),
              (Texts{"Surface 'glass': can't load texture 'gone.png'",
                     "Shader 'own.fx': can't load texture 'gone.png' (ref='RefractionIndex')",
                     "Shader 'own.fx': can't load texture '(null)' (ref='RefractionImage')",
                     "Shader 'own.fx': can't load texture 'none.png'"}));
    EXPECT_EQ(material.getTexture(3), texture("Bump.png"));
    EXPECT_FALSE(material.Lighting);
    EXPECT_EQ(material.MaterialType, ctx.shader->materialType) << "on a terrain as well";
}

TEST_F(Surfaces, FollowTheScenesValuesWithTheirShader) {
    shade("//config baseMaterial : onetexture_blend\n//config tangents\n"
          "//float Amount : 1; pixel\n//float Time : Time0_X; pixel\n",
          "float4(Amount, Time, 0, 0)", "float Amount; float Time;\n");
    EXPECT_EQ(ctx.needsTangents, 1);
    EXPECT_FALSE(material.ZWriteEnable);
    EXPECT_EQ(irr::core::IR(material.MaterialTypeParam), 0x111U);
    EXPECT_EQ(material.BlendOperation, irr::video::EBO_ADD) << "needed behind a change of targets";
    values.shader.paramCount = 2;
    values.shader.paramNames[0] = "nothing";
    values.shader.paramNames[1] = "AMOUNT";
    values.shader.paramValues[0] = 9.0F;
    values.shader.paramValues[1] = 0.4F;
    qbSurfaceUpdate(&ctx, material, &values, 200);
    EXPECT_EQ(drawn(), (Pixel{102, 51, 50}));
    values.hasShader = 0;
    values.shader.paramValues[1] = 0.8F;
    qbSurfaceUpdate(&ctx, material, &values, 800);
    EXPECT_EQ(drawn(), (Pixel{102, 51, 50}));
}

TEST_F(Surfaces, StayPlainWhenTheShaderFails) {
    directory.write("bad.fx", "//[QUAB_BEGIN]\n//config tangents\n");
    const std::pair<const char*, const char*> cases[] = {
        {nullptr, "Cannot qbIrrShaderCreate('(null)') failed"},
        {"bad.fx", "qbIrrShaderSetupGpuMaterial(bad.fx) failed\n"}};
    values.hasShader = 1;
    for (const auto& [file, message] : cases) {
        values.shader.shaderName = file;
        setUp();
        ASSERT_FALSE(Messages::texts().empty()) << message;
        EXPECT_EQ(Messages::texts().back(), message);
        EXPECT_EQ(ctx.needsTangents, 0) << message;
        EXPECT_TRUE(material.Lighting) << message;
        qbSurfaceUpdate(&ctx, material, &values, 0);
    }
}

TEST_F(Surfaces, LookUpSkiesInCubeMaps) {
    std::filesystem::create_directories("Skies");
    for (unsigned i = 0; i < 6; i++) {
        const std::string ending = std::to_string(i) + ".PNG";
        image("Skies/Day0" + ending, SColor(255, 40U * i, 100, 0));
        image("odd0" + ending, SColor(255, 0, 0, 0), i == 5 ? 16 : 8);
    }
    // The left top quarter of +Z, as its file shows it.
    irr::video::IImage* front = driver->createImageFromFile("Skies/Day04.PNG");
    for (unsigned i = 0; i < 16; i++)
        front->setPixel(i % 4, i / 4, SColor(255, 255, 255, 255));
    driver->writeImageToFile(front, "Skies/Day04.PNG");
    front->drop();
    shade("//texture 1 : skies\\day.png cube\n//float3 Way : 0,0,1; pixel\n", "texCUBE(sky, Way)",
          "samplerCUBE sky : register(s1); float3 Way;\n");
    EXPECT_EQ(Messages::texts(), Texts{});
    const struct {
        float x, y, z;
        Pixel wanted;
    } ways[] = {{1, 0.1F, 0.2F, {0, 100, 0}},    {-1, 0.1F, 0.2F, {40, 100, 0}},
                {0.1F, 1, 0.2F, {80, 100, 0}},   {0.1F, -1, 0.2F, {120, 100, 0}},
                {0.5F, -0.5F, 1, {160, 100, 0}}, {0.1F, 0.2F, -1, {200, 100, 0}},
                {0.5F, 0.5F, 1, {160, 100, 0}},  {-0.5F, 0.5F, 1, {255, 255, 255}}};
    for (const auto& way : ways) {
        qbShaderSetFloat3(ctx.shader, "Way", way.x, way.y, way.z);
        EXPECT_EQ(drawn(), way.wanted) << way.x << ' ' << way.y << ' ' << way.z;
    }

    EXPECT_EQ(qbSurfaceLoadCubeMap("odd.png"), nullptr);
    EXPECT_EQ(qbSurfaceLoadCubeMap("sky"), nullptr);
    EXPECT_EQ(Messages::texts(),
              (Texts{"Fail to create cube map for 'odd.png'\n", "CubeMap: Fail to load 'sky00.'\n"}));
    EXPECT_EQ(qbSurfaceLoadCubeMap("skies/day.png"), qbSurfaceLoadCubeMap("skies/day.png"));
}
