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

    void image(const char* name, SColor color = SColor(128, 9, 9, 9), unsigned edge = 8) const {
        irr::video::IImage* made = driver->createImage(irr::video::ECF_A8R8G8B8, {edge, edge});
        made->fill(color);
        EXPECT_TRUE(driver->writeImageToFile(made, name)) << name;
        made->drop();
    }

    // Null for null and for a file that is not there.
    ITexture* texture(const char* name) const { return name ? driver->getTexture(name) : nullptr; }

    // A shader whose pixels are the expression, with these lines in its block.
    void shader(const char* name, const std::string& block, const std::string& pixel,
                const std::string& declarations = "") const {
        directory.write(
            name, "//[QUAB_BEGIN]\n//float4x4 m : WorldViewProjectionTranspose;\n" + block +
                      "//[QUAB_END]\nfloat4x4 m;\n" + declarations +
                      "void vertexMain(float4 p : POSITION, out float4 o : POSITION) { o = mul(p, m); }\n"
                      "float4 pixelMain() : COLOR { return " +
                      pixel + "; }\n");
    }

    void setUp(bool isTerrain = false) {
        Messages::texts().clear();
        EXPECT_EQ(qbSurfaceInit(&ctx, &values), 0);
        EXPECT_EQ(qbSurfaceSetupMaterial(&ctx, material, &values, isTerrain), 0);
    }
    void setUpShader(const char* name, bool isTerrain = false) {
        values.hasShader = 1;
        values.shader.shaderName = name;
        material = SMaterial();
        setUp(isTerrain);
    }

    // The middle of a picture that a box with the material fills.
    Pixel drawn() const {
        irr::scene::ISceneManager* smgr = qbEngineGet()->smgr;
        qbEngineGet()->camera->setPosition({0, 0, -10});
        qbEngineGet()->camera->setTarget({0, 0, 0});
        irr::scene::ISceneNode* box = smgr->addCubeSceneNode(10.0F);
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
    for (const char* name : {"leaf.png", "leaf.jpg", "leaf.png.bmp", "dull.png", "sky.png", "bump.png"})
        image(name);
    driver->setTextureCreationFlag(irr::video::ETCF_NO_ALPHA_CHANNEL, true);
    ASSERT_FALSE(texture("dull.png")->hasAlpha());
    driver->setTextureCreationFlag(irr::video::ETCF_NO_ALPHA_CHANNEL, false);
    const char* const noSky = "Surface 'steel': can't load texture 'no-sky.png'";
    const char* const noBump = "Surface 'steel': can't load texture 'no.png'";
    const struct {
        const char* own; // that the mesh file brought along
        unsigned alpha;
        const char* sky;
        int options;
        const char* bump;
        int type;
        const char *layer0, *layer1;
        const char* message;
    } cases[] = {
        {nullptr, 255, nullptr, 2, nullptr, 0, nullptr, nullptr, nullptr},
        {nullptr, 254, nullptr, 2, nullptr, 15, nullptr, nullptr, nullptr},
        {"leaf.png", 0, nullptr, 0, nullptr, 13, "leaf.png", nullptr, nullptr},
        {"leaf.png.bmp", 255, nullptr, 0, nullptr, 13, "leaf.png.bmp", nullptr, nullptr},
        {"leaf.jpg", 255, nullptr, 0, nullptr, 0, "leaf.jpg", nullptr, nullptr},
        {"dull.png", 255, nullptr, 0, nullptr, 0, "dull.png", nullptr, nullptr},
        {"leaf.jpg", 255, "sky.png", 1, nullptr, 0, "leaf.jpg", nullptr, nullptr},
        {"leaf.jpg", 255, "sky.png", 2, nullptr, 11, "leaf.jpg", "sky.png", nullptr},
        {nullptr, 255, "sky.png", 3, nullptr, 11, "sky.png", nullptr, nullptr},
        {"leaf.jpg", 128, "sky.png", 2, nullptr, 16, "leaf.jpg", "sky.png", nullptr},
        {"leaf.jpg", 255, "no-sky.png", 2, nullptr, 11, "leaf.jpg", nullptr, noSky},
        {"leaf.jpg", 255, nullptr, 0, "bump.png", 20, "leaf.jpg", "bump.png", nullptr},
        {"leaf.jpg", 1, nullptr, 0, "bump.png", 22, "leaf.jpg", "bump.png", nullptr},
        {"leaf.jpg", 255, "sky.png", 2, "bump.png", 20, "leaf.jpg", "bump.png", nullptr},
        {nullptr, 128, "sky.png", 2, "bump.png", 20, "sky.png", "bump.png", nullptr},
        {"leaf.jpg", 255, "sky.png", 2, "no.png", 20, "leaf.jpg", nullptr, noBump},
    };
    values.name = "steel";
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
        EXPECT_EQ(Messages::texts(), c.message ? Texts{c.message} : Texts{}) << i;
        // The box has no tangents, which the materials for bumps would read.
        EXPECT_FALSE(drawn() == (Pixel{0, 0, 50})) << i;
    }
    EXPECT_FALSE(texture("sky.png")->hasMipMaps());
    EXPECT_TRUE(texture("bump.png")->hasMipMaps()) << "the switch goes back";

    values.params[0].textureImage = "."; // a directory
    values.params[8].textureImage = nullptr;
    setUp();
    EXPECT_EQ(Messages::texts(), Texts{"Surface 'steel': can't load texture '.'"});
}

TEST_F(Surfaces, ShareTheCommonSettings) {
    const int biases[2][4] = {{-8, -8, -8, -8}, {-16, -4, -8, -8}};
    for (const bool isTerrain : {false, true}) {
        for (const int sides : {2, 3}) {
            material = SMaterial();
            material.MaterialType = irr::video::EMT_DETAIL_MAP;
            values.params[31].integer = sides;
            setUp(isTerrain);
            for (unsigned layer = 0; layer < 4; layer++)
                EXPECT_EQ(material.TextureLayer[layer].LODBias, biases[isTerrain][layer]) << layer;
            EXPECT_EQ(material.FogEnable, isTerrain);
            EXPECT_EQ(material.BackfaceCulling, sides != 3);
            EXPECT_TRUE(material.NormalizeNormals);
            EXPECT_EQ(material.MaterialType, isTerrain ? irr::video::EMT_DETAIL_MAP : irr::video::EMT_SOLID);
        }
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
        {1, 1.0F, false, true, 1.0F},  {1, 3.5F, false, true, 3.5F},   {0, 0.0F, false, true, 3.5F},
        {1, 0.2F, true, false, 3.5F},  {1, 0.0F, false, false, 3.5F},
    };
    setUp();
    for (size_t i = 0; i < std::size(cases); i++) {
        values.params[34].integer = cases[i].outlines;
        values.params[27].color[0] = cases[i].size;
        EXPECT_EQ(qbSurfaceUpdate(&ctx, material, &values, 0), 0);
        EXPECT_EQ(material.Wireframe, cases[i].lines) << i;
        EXPECT_EQ(material.PointCloud, cases[i].points) << i;
        EXPECT_EQ(material.Thickness, cases[i].thickness) << i;
        EXPECT_EQ(ctx.params[27].color[0], cases[i].size) << i;
    }
}

TEST_F(Surfaces, GiveTheirImagesToTheShader) {
    const std::vector<std::string> names = {
        "COLOR",        "luminosity",      "Diffuse", "Specularity", "Reflectivity",   "Transparency",
        "Translucency", "RefractionIndex", "Bump",    "Glossiness",  "ReflectionImage"};
    const auto slotOf = [](size_t i) { return i == 10 ? 35 : i; };
    std::vector<std::string> files;
    for (const std::string& name : names)
        image(files.emplace_back(name + ".png").c_str());
    for (size_t i = 0; i < names.size(); i++)
        values.params[slotOf(i)].textureImage = files[i].c_str();
    for (size_t i = 0; i < names.size(); i++) {
        shader("one.fx", "//texture 3 : " + names[i] + ";\n", "1");
        setUpShader("one.fx");
        EXPECT_EQ(material.getTexture(3), texture(files[i].c_str())) << names[i];
    }

    image("wall.png");
    values.params[7].textureImage = "gone.png";
    shader("four.fx",
           "//texture 0 : RefractionIndex\n//texture 1 : RefractionImage\n//texture 2 : none.png\n"
           "//texture 3 : WALL.PNG\n//texture 7 : wall.png\n",
           "1");
    values.name = "glass";
    setUpShader("four.fx", true);
    EXPECT_EQ(Messages::texts(),
              (Texts{"Surface 'glass': can't load texture 'gone.png'",
                     "Shader 'four.fx': can't load texture 'gone.png' (ref='RefractionIndex')",
                     "Shader 'four.fx': can't load texture '(null)' (ref='RefractionImage')",
                     "Shader 'four.fx': can't load texture 'none.png'"}));
    EXPECT_EQ(material.getTexture(3), texture("wall.png"));
    EXPECT_FALSE(material.Lighting);
    EXPECT_EQ(material.MaterialType, ctx.shader->materialType) << "on a terrain as well";
}

TEST_F(Surfaces, FollowTheScenesValuesWithTheirShader) {
    shader("red.fx", "//config tangents\n//float Amount : 1; pixel\n//float Time : Time0_X; pixel\n",
           "float4(Amount, Time, 0, 1)", "float Amount; float Time;\n");
    setUpShader("red.fx");
    EXPECT_EQ(ctx.needsTangents, 1);
    values.shader.paramCount = 3;
    const char* const names[] = {"nothing", "AMOUNT", "Time"};
    const float given[] = {9.0F, 0.4F, 9.0F};
    std::copy(std::begin(names), std::end(names), values.shader.paramNames);
    std::copy(std::begin(given), std::end(given), values.shader.paramValues);
    qbSurfaceUpdate(&ctx, material, &values, 200);
    EXPECT_EQ(drawn(), (Pixel{102, 51, 0}));
    values.hasShader = 0;
    values.shader.paramValues[1] = 0.8F;
    qbSurfaceUpdate(&ctx, material, &values, 800);
    EXPECT_EQ(drawn(), (Pixel{102, 51, 0}));
    EXPECT_TRUE(Messages::texts().empty());
}

TEST_F(Surfaces, AddToThePictureWithBothFactorsOne) {
    shader("add.fx", "//config baseMaterial : onetexture_blend\n", "float4(0.4, 0, 0, 0)");
    setUpShader("add.fx");
    EXPECT_FALSE(material.ZWriteEnable);
    EXPECT_EQ(irr::core::IR(material.MaterialTypeParam), 0x111U);
    EXPECT_EQ(material.BlendOperation, irr::video::EBO_ADD) << "needed behind a change of targets";
    EXPECT_EQ(drawn(), (Pixel{102, 0, 50}));
}

TEST_F(Surfaces, KeepTheCommonSettingsWhenTheShaderFails) {
    shader("bad.fx", "//config tangents\n", "lots");
    const struct {
        const char* file;
        const char* message;
    } cases[] = {{"none.fx", "Cannot qbIrrShaderCreate('none.fx') failed"},
                 {nullptr, "Cannot qbIrrShaderCreate('(null)') failed"},
                 {"bad.fx", "qbIrrShaderSetupGpuMaterial(bad.fx) failed\n"}};
    for (const auto& c : cases) {
        setUpShader(c.file);
        ASSERT_FALSE(Messages::texts().empty()) << c.message;
        EXPECT_EQ(Messages::texts().back(), c.message);
        EXPECT_EQ(ctx.hasShader, 1) << c.message;
        EXPECT_EQ(ctx.shader, nullptr) << c.message;
        EXPECT_EQ(ctx.needsTangents, 0) << c.message;
        EXPECT_EQ(material.TextureLayer[0].LODBias, -8) << c.message;
        EXPECT_TRUE(material.Lighting) << c.message;
        qbSurfaceUpdate(&ctx, material, &values, 0);
    }
}

TEST_F(Surfaces, LookUpSkiesInCubeMaps) {
    const auto face = [](const char* stem, int i) { return stem + std::to_string(i) + ".PNG"; };
    std::filesystem::create_directories("Skies");
    for (int i = 0; i < 6; i++) {
        image(face("Skies/Day0", i).c_str(), SColor(255, 40U * static_cast<unsigned>(i), 100, 0));
        image(face("odd0", i).c_str(), SColor(255, 0, 0, 0), i == 5 ? 16 : 8);
        if (i != 3) image(face("gap0", i).c_str());
    }
    shader("sky.fx", "//texture 1 : skies\\day.png cube\n", "texCUBE(sky, float3(0, 0, 1))",
           "samplerCUBE sky : register(s1);\n");
    setUpShader("sky.fx");
    EXPECT_EQ(Messages::texts(), Texts{});
    EXPECT_EQ(drawn(), (Pixel{160, 100, 0})) << "the fifth face is that of +Z";

    const struct {
        const char* file;
        const char* message;
    } cases[] = {{"gap.png", "CubeMap: Fail to load 'gap03.png'\n"},
                 {"odd.png", "Fail to create cube map for 'odd.png'\n"},
                 {"sky", "CubeMap: Fail to load 'sky00.'\n"}};
    for (const auto& c : cases) {
        Messages::texts().clear();
        EXPECT_EQ(qbSurfaceLoadCubeMap(c.file), nullptr) << c.file;
        EXPECT_EQ(Messages::texts(), Texts{c.message});
    }
    const ITextureCUBE* day = qbSurfaceLoadCubeMap("skies/day.png");
    ASSERT_NE(day, nullptr);
    EXPECT_EQ(qbSurfaceLoadCubeMap("skies/day.png"), day);
}
