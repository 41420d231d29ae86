#include "demo/demo.h"
#include "scene/format/tables.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <memory>
#include <vector>

namespace fs = std::filesystem;

namespace {

const fs::path show = fs::path(QB_BINARY_DIR) / "samples/first-light";

using Scene = std::unique_ptr<QbSceneHandle, decltype(&qbSceneClose)>;

// The files of a scene are there, its lights stay in range, and its objects are counted.
int checkScene(const fs::path& path) {
    const Scene scene(qbSceneOpen(path.c_str()), qbSceneClose);
    if (!scene) ADD_FAILURE() << path;
    if (!scene) return 0;
    const auto expectFile = [&](const char* name) {
        EXPECT_TRUE(!name || fs::exists(path.parent_path() / name)) << path << " names " << name;
    };
    const int32_t objects = scene->objectInfo->count(scene.get());
    for (int32_t i = 0; i < objects; i++) {
        expectFile(scene->objectInfo->meshFileName(scene.get(), i));
        std::vector<QbSurfaceValues> surfaces(
            static_cast<size_t>(scene->objectInfo->surfaceCount(scene.get(), i)));
        scene->objectInfo->surfaces(scene.get(), i, surfaces.data(), static_cast<int32_t>(surfaces.size()),
                                    0);
        for (const QbSurfaceValues& surface : surfaces) {
            if (surface.hasShader) expectFile(surface.shader.shaderName);
            for (const QbSurfaceParamValue& param : surface.params)
                expectFile(param.textureImage);
        }
    }
    // A light's colour times its intensity is kept in one byte a channel: above 1 it would wrap round.
    const QbLightInfo& lights = *scene->lightInfo;
    if (lights.count(scene.get()) > 1) {
        EXPECT_EQ(lights.type(scene.get(), 1), 1)
            << "shaders take the second light for the spark's: " << path;
    }
    for (int32_t i = 0; i < lights.count(scene.get()); i++)
        for (float time = 0; time <= 12000; time += 125) {
            float color[3];
            lights.color(color, scene.get(), i, time);
            for (const float channel : color)
                EXPECT_LE(channel * lights.intensity(scene.get(), i, time), 1.0f) << path << ' ' << i;
        }
    return objects;
}

} // namespace

// All scenes of a show are loaded at once; their objects share 999 ids, from 1.
TEST(FirstLight, EveryNamedFileIsThereAndObjectsFitTheIds) {
    const auto demo = std::make_unique<QbDemo>();
    ASSERT_EQ(qbDemoParse(demo.get(), (show / "first-light.demo.ini").c_str()), 0);
    int objects = 0;
    for (int32_t i = 0; i < demo->partCount; i++) {
        const QbDemoPart& part = demo->parts[i];
        if (part.filename[0] != '\0') objects += checkScene(show / part.directory / part.filename);
        EXPECT_TRUE(fs::exists(show / demo->musicDirectory / part.music)) << part.music;
        for (int32_t k = 0; k < part.extraCount; k++)
            objects += checkScene(show / part.extras[k].directory / part.extras[k].filename);
    }
    EXPECT_GT(objects, 500);
    EXPECT_LE(objects, 999);
}
