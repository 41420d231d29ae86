#include "demo/demo.h"
#include "scene/format/tables.h"

#include "support/messages.h"
#include "support/temporary_directory.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <set>

namespace fs = std::filesystem;

namespace {

const fs::path show = fs::path(QB_BINARY_DIR) / "samples/first-light";

class FirstLight : public testing::Test {
protected:
    FirstLight() { EXPECT_EQ(qbDemoParse(demo.get(), (show / "first-light.demo.ini").c_str()), 0); }
    Messages messages;
    std::unique_ptr<QbDemo> demo = std::make_unique<QbDemo>();
};

struct SceneClose {
    void operator()(QbSceneHandle* scene) const { qbSceneClose(scene); }
};
using Scene = std::unique_ptr<QbSceneHandle, SceneClose>;

Scene openScene(const char* directory, const char* fileName) {
    return Scene(qbSceneOpen((show / directory / fileName).c_str()));
}

double seconds(QbSceneHandle* scene) {
    const QbSceneInfo& info = *scene->sceneInfo;
    return (info.lastFrame(scene) - info.firstFrame(scene)) /
           static_cast<double>(info.framesPerSecond(scene));
}

// Every mesh and picture that a scene names, and how often it places each mesh.
std::map<std::string, int> filesOf(QbSceneHandle* scene) {
    std::map<std::string, int> files;
    for (int32_t i = 0; i < scene->objectInfo->count(scene); i++) {
        files[scene->objectInfo->meshFileName(scene, i)]++;
        std::vector<QbSurfaceValues> surfaces(static_cast<size_t>(scene->objectInfo->surfaceCount(scene, i)));
        const int32_t count = static_cast<int32_t>(surfaces.size());
        scene->objectInfo->surfaces(scene, i, surfaces.data(), count, 0);
        for (const QbSurfaceValues& surface : surfaces) {
            if (surface.hasShader) files[surface.shader.shaderName]++;
            for (const QbSurfaceParamValue& param : surface.params)
                if (param.textureImage != nullptr) files[param.textureImage]++;
        }
    }
    return files;
}

std::map<std::string, std::string> contentOf(const fs::path& directory) {
    std::map<std::string, std::string> files;
    for (const auto& entry : fs::recursive_directory_iterator(directory)) {
        if (!entry.is_regular_file()) continue;
        std::ifstream file(entry.path(), std::ios::binary);
        files[fs::relative(entry.path(), directory)] = std::string(std::istreambuf_iterator<char>(file), {});
    }
    return files;
}

} // namespace

// Parts change on bars of 2 s, faders and extras on quarters of a beat of 500 ms.
TEST_F(FirstLight, PartsFollowTheBars) {
    const int32_t starts[] = {0, 12000, 24000, 32000, 40000, 52000, 64000, 76000, 84000};
    ASSERT_EQ(demo->partCount, static_cast<int32_t>(std::size(starts)));
    int32_t reset = 0;
    for (int32_t i = 0; i < demo->partCount; i++) {
        const QbDemoPart& part = demo->parts[i];
        EXPECT_EQ(reset + part.time, starts[i]) << i;
        if (part.timeReset != 0) reset += part.time;
        for (int32_t k = 0; k < part.faderCount; k++)
            EXPECT_EQ(part.faders[k].time % 125, 0) << i;
        for (int32_t k = 0; k < part.extraCount; k++)
            EXPECT_EQ(part.extras[k].time % 500, 0) << i;
    }
}

TEST_F(FirstLight, ScenesLastAsLongAsTheirParts) {
    for (int32_t i = 0; i + 1 < demo->partCount; i++) {
        const QbDemoPart& part = demo->parts[i];
        const QbDemoPart& next = demo->parts[i + 1];
        const int32_t length = next.time - part.timeBase;
        if (part.filename[0] == '\0') continue;
        const Scene scene = openScene(part.directory, part.filename);
        ASSERT_TRUE(scene) << part.filename;
        EXPECT_DOUBLE_EQ(seconds(scene.get()) * 1000, length) << part.filename;
    }
}

// An extra whose window is still open when a part without a scene begins is never hidden again.
TEST_F(FirstLight, ExtrasCloseBeforeAPartWithoutScene) {
    for (int32_t i = 0; i + 1 < demo->partCount; i++) {
        const QbDemoPart& next = demo->parts[i + 1];
        if (next.filename[0] != '\0' || i + 2 == demo->partCount) continue;
        for (int32_t k = 0; k < demo->parts[i].extraCount; k++)
            EXPECT_LT(demo->parts[i].extras[k].time + demo->parts[i].extras[k].length, next.time);
        EXPECT_EQ(next.extraCount, 0);
    }
}

TEST_F(FirstLight, EveryNamedFileIsThere) {
    std::map<std::string, std::set<std::string>> directories;
    for (int32_t i = 0; i < demo->partCount; i++) {
        const QbDemoPart& part = demo->parts[i];
        if (part.filename[0] != '\0') directories[part.directory].insert(part.filename);
        EXPECT_TRUE(fs::exists(show / demo->musicDirectory / part.music)) << part.music;
        for (int32_t k = 0; k < part.extraCount; k++)
            directories[part.extras[k].directory].insert(part.extras[k].filename);
    }
    for (const auto& [directory, scenes] : directories) {
        for (const std::string& name : scenes) {
            const Scene scene = openScene(directory.c_str(), name.c_str());
            ASSERT_TRUE(scene) << name;
            for (const auto& [file, count] : filesOf(scene.get()))
                EXPECT_TRUE(fs::exists(show / directory / file)) << name << " names " << file;
        }
    }
    EXPECT_TRUE(fs::exists(show / "loading.png"));
}

// All scenes of a show are loaded at once; their objects share 999 ids, from 1.
TEST_F(FirstLight, ObjectsFitTheIds) {
    int32_t objects = 0;
    const auto add = [&objects](const char* directory, const char* fileName) {
        const Scene scene = fileName[0] != '\0' ? openScene(directory, fileName) : Scene();
        if (scene) objects += scene->objectInfo->count(scene.get());
    };
    for (int32_t i = 0; i < demo->partCount; i++) {
        const QbDemoPart& part = demo->parts[i];
        add(part.directory, part.filename);
        for (int32_t k = 0; k < part.extraCount; k++)
            add(part.extras[k].directory, part.extras[k].filename);
    }
    EXPECT_GT(objects, 500);
    EXPECT_LE(objects, 999);
}

// The second lap of the street begins where the first one ends.
TEST_F(FirstLight, CityGoesRoundWithoutASeam) {
    const Scene scene = openScene("night", "city.quab");
    ASSERT_TRUE(scene);
    const float lap = 8000, block = 480;
    float from[3], to[3];
    for (const int32_t kind : {QB_ITEM_POSITION, QB_ITEM_ROTATION}) {
        scene->cameraInfo->itemParam(from, scene.get(), 0, kind, 0);
        scene->cameraInfo->itemParam(to, scene.get(), 0, kind, lap);
        if (kind == QB_ITEM_POSITION) to[2] -= block;
        for (int i = 0; i < 3; i++)
            EXPECT_NEAR(from[i], to[i], 0.01f) << kind << ' ' << i;
    }
}

// A light's colour times its intensity is kept in one byte a channel: above 1 it would wrap round.
TEST_F(FirstLight, LightsStayInRange) {
    for (const char* name : {"night/spark.quab", "night/stones.quab", "night/city.quab", "dawn/swimmer.quab",
                             "dawn/sunrise.quab", "dawn/title.quab", "dawn/afterglow.quab"}) {
        const Scene scene = openScene("", name);
        ASSERT_TRUE(scene) << name;
        const QbLightInfo& lights = *scene->lightInfo;
        EXPECT_LE(lights.count(scene.get()), 8) << name;
        EXPECT_EQ(lights.type(scene.get(), 0), 0)
            << "the ambient light must not fade with a distance: " << name;
        for (int32_t i = 0; i < lights.count(scene.get()); i++) {
            for (float time = 0; time <= 12000; time += 125) {
                float color[3];
                lights.color(color, scene.get(), i, time);
                const float intensity = lights.intensity(scene.get(), i, time);
                for (const float channel : color)
                    EXPECT_LE(channel * intensity, 1.0f) << name << ' ' << i;
            }
        }
    }
}

TEST_F(FirstLight, GeneratorsRepeatThemselves) {
    const TemporaryDirectory directory;
    for (const char* name : {"night", "dawn", "letters"})
        fs::create_directory(name);
    ASSERT_EQ(std::system(FIRST_LIGHT_SCENES " ."), 0);
    ASSERT_EQ(std::system(FIRST_LIGHT_IMAGES " ."), 0);
    const std::map<std::string, std::string> built = contentOf(show);
    const std::map<std::string, std::string> again = contentOf(directory.path());
    ASSERT_GT(again.size(), 40u);
    for (const auto& [name, bytes] : again) {
        ASSERT_TRUE(built.contains(name)) << name;
        EXPECT_TRUE(built.at(name) == bytes) << name << " differs";
    }
}
