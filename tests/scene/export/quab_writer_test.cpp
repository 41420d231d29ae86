#include "scene/export/quab_writer.h"
#include "support/temporary_directory.h"

#include <gtest/gtest.h>

#include <functional>
#include <limits>

// What the reader makes of the files is tested by the round trip; here are the bytes and the refusals.

namespace {

std::string written(const QbExportScene& scene) {
    std::vector<uint8_t> bytes;
    std::string error;
    EXPECT_EQ(qbSceneExportWrite(scene, bytes, error), 0) << error;
    return {bytes.begin(), bytes.end()};
}

size_t bigEndian(const std::string& bytes, size_t offset, size_t width) {
    size_t value = 0;
    for (size_t i = 0; i < width; i++)
        value = value << 8 | static_cast<uint8_t>(bytes.at(offset + i));
    return value;
}

// The chunks from an offset to an end, behind each of the sample chunks its count: "VDAT12 VRUN59 ".
std::string outline(const std::string& bytes, size_t at, size_t end, size_t sizeWidth) {
    std::string text;
    while (at < end) {
        const std::string tag = bytes.substr(at, 4);
        const size_t body = at + 4 + sizeWidth;
        text += tag + (tag[0] == 'V' ? std::to_string(bigEndian(bytes, body, 4)) : "") + " ";
        at = body + bigEndian(bytes, at + 4, sizeWidth);
    }
    EXPECT_EQ(at, end);
    return text;
}

TEST(QuabWriter, WritesTheseBytesInThisOrder) {
    QbExportScene scene;
    scene.name = "town.quab.lws"; // 13 letters, even with its zero
    scene.fileName = "sky";
    scene.numPoints = 4;
    scene.cameraSelector = 0.0f;
    scene.objects.emplace_back().name = "tree";
    scene.emitters.emplace_back().name = "tree"; // the object's group serves both
    scene.lights.emplace_back().name = "light";
    scene.lights[0].intensityChannel = 1.0f;
    scene.cameras.emplace_back().name = "camera";
    scene.sceneObjects.emplace_back().name = "file";
    scene.sceneObjects[0].surfaces.resize(2); // one surface twice: one group
    for (QbExportSurface& surface : scene.sceneObjects[0].surfaces) {
        surface.name = "surface";
        surface.shaderName = "glow.hlsl";
    }
    scene.groups.emplace_back().name = "further";
    const std::string bytes = written(scene);
    EXPECT_EQ(bytes.substr(0, 4) + bytes.substr(8, 8), "FORMQUABSCEN");
    EXPECT_EQ(bigEndian(bytes, 4, 4), bytes.size() - 8);
    const char EXPECTED[] =
        "NAME\0\16town.quab.lws\0FNAM\0\4sky\0PRPS\1\2PROP\0\22\0\0\0\1numPoints\0\0\0\0\4";
    EXPECT_EQ(bytes.substr(20, sizeof EXPECTED - 1), std::string(EXPECTED, sizeof EXPECTED - 1));
    EXPECT_EQ(outline(bytes, 12, bytes.size(), 4),
              "SCEN BKDR PROC OBJE FXEM LIGH CAME SOBJ CGRP CGRP CGRP CGRP CGRP CGRP CGRP ");
}

TEST(QuabWriter, CodesRunsOfFourAndMore) {
    const auto run = [](size_t length, float value) { return std::vector<float>(length, value); };
    const struct {
        std::vector<std::vector<float>> pieces;
        const char* expected;
    } CASES[] = {
        {{{1, 2, 3}, run(59, 4), {5, 6}, run(121, 7)}, "VDAT3 VRUN59 VDAT2 VRUN121 "},
        {{{7}}, "VRUN1 "},
        {{{7, 7}}, "VRUN2 "},
        {{{7, 8}}, "VDAT2 "},
        {{{1}, run(3, 2)}, "VDAT4 "},
        {{{1}, run(4, 2)}, "VDAT1 VRUN4 "},
        {{run(4, 0.0f), run(4, -0.0f), {1}}, "VRUN4 VRUN4 VDAT1 "},
    };
    for (const auto& entry : CASES) {
        QbExportScene scene;
        std::vector<float>& samples = scene.renderCamera.samples = {};
        for (const std::vector<float>& piece : entry.pieces)
            samples.insert(samples.end(), piece.begin(), piece.end());
        scene.frameEnd = static_cast<int32_t>(samples.size()) - 1;
        const std::string bytes = written(scene);
        const size_t vals = bytes.find("VALS");
        EXPECT_EQ(outline(bytes, vals + 6, vals + 6 + bigEndian(bytes, vals + 4, 2), 2), entry.expected);
    }
}

TEST(QuabWriter, RefusesWithAReason) {
    constexpr float NOT_A_NUMBER = std::numeric_limits<float>::quiet_NaN();
    const std::string WALL = "scene object \"file\": surface \"wall\": ", longest(256, 'x');
    const struct {
        std::function<void(QbExportScene&, QbExportSurface&)> damage;
        std::string expected;
    } CASES[] = {
        {[](auto& s, auto&) { s.frameStart = 10; }, "scene \"s\": frameEnd 9 lies before frameStart 10"},
        {[](auto& s, auto&) { s.framesPerSecond = NOT_A_NUMBER; },
         "scene \"s\": framesPerSecond must be above 0"},
        {[&](auto& s, auto&) { s.fileName = longest; },
         "scene \"s\": file name has 256 characters, at most 255 fit"},
        {[](auto& s, auto&) { s.cameras[0].name = "ball"; },
         "camera \"ball\": another item bears this name, choose another"},
        {[](auto& s, auto&) { s.emitters[0].motion.position[1] = 1.0f; },
         "emitter \"ball\": bears an object's name and moves with it, leave its motion empty"},
        {[](auto& s, auto&) { s.objects[0].motion.position[1].samples.resize(3); },
         "object \"ball\": channel \"Position.Y\": 3 samples, the scene has 10 frames: give one for each, or "
         "a single one"},
        {[](auto& s, auto&) { s.cameras[0].zoomChannel = NOT_A_NUMBER; },
         "camera \"eye\": channel \"ZoomFactor\": sample 0 is not a finite number"},
        {[](auto&, auto& wall) { qbExportSetFloat(wall, "Diffusion", 1); },
         WALL + "unknown surface property \"Diffusion\""},
        {[](auto&, auto& wall) { qbExportSetFloat(wall, "BaseColor", 1); },
         WALL + "\"BaseColor\" takes a colour"},
        {[](auto&, auto& wall) { qbExportParam(wall, "Diffuse").channels[1] = 1.0f; },
         WALL + "\"Diffuse\" has no channel 1 to be animated with"},
        {[](auto&, auto& wall) { wall.shaderName = "my shader.hlsl"; },
         WALL + "shader \"my shader.hlsl\" holds a blank"},
        {[](auto&, auto& wall) { wall.shaderParams.resize(11); },
         WALL + "11 shader parameters, at most 10 fit a surface"},
        {[](auto& s, auto& wall) {
             qbExportParam(wall, "Diffuse").channels[0] = 1.0f;
             s.sceneObjects[0].surfaces.emplace_back().name = "wall";
         },
         WALL + "an earlier surface of this name is animated in another way"},
        {[](auto& s, auto&) {
             for (const char* name : {"6", "5", "4", "3", "2", "1"})
                 s.groups = {{name, {}, s.groups}};
         },
         "group \"1\": group \"2\": group \"3\": group \"4\": group \"5\": group \"6\": lies 6 groups deep, "
         "at most 5 are read"},
        // Of n literals: NAME 6 + 12, TYPE 10, VALS 6, VDAT 10 + 4 n.
        {[](auto& s, auto&) {
             s.frameEnd = (65536 - 44) / 4 - 1;
             s.objects[0].motion.position[0] = qbExportByFrame(s, [](int32_t frame) { return frame; });
         },
         "object \"ball\": channel \"Position.X\": chunk CHAN takes 65536 bytes, at most 65535 fit: use "
         "fewer "
         "frames, or split it up"},
    };
    for (const auto& entry : CASES) {
        QbExportScene scene;
        scene.name = "s";
        scene.frameEnd = 9;
        scene.objects.emplace_back().name = "ball";
        scene.emitters.emplace_back().name = "ball";
        scene.cameras.emplace_back().name = "eye";
        scene.sceneObjects = {{"file", "", std::vector<QbExportSurface>(1)}};
        scene.sceneObjects[0].surfaces[0].name = "wall";
        written(scene);
        entry.damage(scene, scene.sceneObjects[0].surfaces[0]);
        std::vector<uint8_t> bytes = {1};
        std::string error;
        EXPECT_EQ(qbSceneExportWrite(scene, bytes, error), -1);
        EXPECT_TRUE(bytes.empty());
        EXPECT_EQ(error, entry.expected);
    }
}

TEST(QuabWriter, SavesOnlyWhatIsWhole) {
    const TemporaryDirectory dir;
    dir.write("a.quab", "old");
    QbExportScene scene;
    scene.framesPerSecond = -1;
    std::string error;
    EXPECT_EQ(qbSceneExportSave(scene, "a.quab", error), -1);
    EXPECT_EQ(std::filesystem::file_size("a.quab"), 3u);
    EXPECT_EQ(qbSceneExportSave(QbExportScene(), "no_such_folder/a.quab", error), -1);
    EXPECT_EQ(error,
              "cannot create \"no_such_folder/a.quab\": check that its folder exists and may be written");
}

} // namespace
