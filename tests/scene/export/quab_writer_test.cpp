#include "scene/export/quab_writer.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <fstream>
#include <functional>
#include <iterator>
#include <limits>

namespace {

using Bytes = std::vector<uint8_t>;

uint32_t bigEndian(const Bytes& bytes, size_t offset, size_t width) {
    uint32_t value = 0;
    for (size_t i = 0; i < width; i++)
        value = value << 8 | bytes.at(offset + i);
    return value;
}

std::string tagAt(const Bytes& bytes, size_t offset) {
    return std::string(bytes.begin() + static_cast<std::ptrdiff_t>(offset),
                       bytes.begin() + static_cast<std::ptrdiff_t>(offset) + 4);
}

// A walker of its own: "SCEN(NAME FNAM PRPS(PROP ...))", with the counts of the chunks that hold samples.
// Fails the test unless every container is filled exactly and every size is even.
std::string outline(const Bytes& bytes, size_t begin, size_t end, size_t sizeWidth) {
    static const std::string CONTAINERS = "SCEN BKDR PROC OBJE LIGH CAME FXEM SOBJ SURF CGRP CHAN VALS PRPS";
    std::string text;
    while (begin < end) {
        std::string tag = tagAt(bytes, begin);
        size_t size = bigEndian(bytes, begin + 4, sizeWidth), body = begin + 4 + sizeWidth;
        EXPECT_EQ(size % 2, 0u) << tag << " at " << begin;
        text += (text.empty() ? "" : " ") + tag;
        if (tag == "VRUN" || tag == "VDAT") text += std::to_string(bigEndian(bytes, body, 4));
        if (CONTAINERS.find(tag) != std::string::npos)
            text += "(" + outline(bytes, body, body + size, 2) + ")";
        begin = body + size;
    }
    EXPECT_EQ(begin, end);
    return text;
}

std::string outline(const Bytes& bytes) {
    EXPECT_EQ(tagAt(bytes, 0), "FORM");
    EXPECT_EQ(bigEndian(bytes, 4, 4), bytes.size() - 8);
    EXPECT_EQ(tagAt(bytes, 8), "QUAB");
    return outline(bytes, 12, bytes.size(), 4);
}

Bytes written(const QbExportScene& scene) {
    Bytes bytes;
    std::string error;
    EXPECT_EQ(qbSceneExportWrite(scene, bytes, error), 0) << error;
    EXPECT_EQ(error, "");
    return bytes;
}

std::string refusal(const QbExportScene& scene) {
    Bytes bytes = {1};
    std::string error;
    EXPECT_EQ(qbSceneExportWrite(scene, bytes, error), -1);
    EXPECT_TRUE(bytes.empty());
    return error;
}

std::string valuesOf(const std::vector<float>& samples, int32_t frames) {
    QbExportScene scene;
    scene.frameEnd = frames - 1;
    scene.renderCamera.samples = samples;
    std::string text = outline(written(scene));
    size_t begin = text.find("VALS(") + 5;
    return text.substr(begin, text.find(')', begin) - begin);
}

std::vector<float> pieces(const std::vector<std::pair<size_t, bool>>& lengths) {
    std::vector<float> samples;
    float next = 1;
    for (auto [count, literal] : lengths)
        for (size_t i = 0; i < count; i++)
            samples.push_back(literal || i == 0 ? next++ : samples.back());
    return samples;
}

TEST(QuabWriter, StartsWithTheseBytes) {
    QbExportScene scene;
    scene.name = "town.quab.lws"; // 13 letters, even with its zero
    scene.fileName = "sky";
    scene.numPoints = 4;
    const uint8_t EXPECTED[] = {'t', 'o', 'w', 'n', '.', 'q', 'u', 'a', 'b', '.', 'l', 'w',
                                's', 0,   'F', 'N', 'A', 'M', 0,   4,   's', 'k', 'y', 0};
    Bytes bytes = written(scene);
    EXPECT_EQ(tagAt(bytes, 12), "SCEN");
    EXPECT_EQ(tagAt(bytes, 20), "NAME");
    EXPECT_EQ(bigEndian(bytes, 24, 2), 14u);
    EXPECT_EQ(Bytes(bytes.begin() + 26, bytes.begin() + 26 + sizeof EXPECTED),
              Bytes(std::begin(EXPECTED), std::end(EXPECTED)));
    const uint8_t PROPERTY[] = {'P', 'R', 'O', 'P', 0,   18,  0,   0, 0, 1, 'n', 'u',
                                'm', 'P', 'o', 'i', 'n', 't', 's', 0, 0, 0, 0,   4};
    EXPECT_EQ(tagAt(bytes, 50), "PRPS");
    EXPECT_EQ(Bytes(bytes.begin() + 56, bytes.begin() + 56 + sizeof PROPERTY),
              Bytes(std::begin(PROPERTY), std::end(PROPERTY)));
}

TEST(QuabWriter, KeepsTheOrderOfTheTopLevel) {
    QbExportScene scene;
    scene.renderCamera = {};
    scene.cameraSelector = 0.0f;
    scene.objects.emplace_back().name = "object";
    scene.emitters.emplace_back().name = "emitter";
    scene.lights.emplace_back().name = "light";
    scene.lights[0].intensityChannel = 1.0f;
    scene.cameras.emplace_back().name = "camera";
    scene.sceneObjects.emplace_back().name = "file";
    scene.sceneObjects[0].surfaces.emplace_back().name = "surface";
    scene.sceneObjects[0].surfaces[0].shaderName = "glow.hlsl";
    scene.groups.emplace_back().name = "further";
    std::string text = outline(written(scene)), top;
    int depth = 0;
    for (char c : text) {
        depth -= c == ')';
        if (depth == 0 && c != '(' && c != ')') top += c;
        depth += c == '(';
    }
    EXPECT_EQ(top, "SCEN BKDR PROC OBJE FXEM LIGH CAME SOBJ CGRP CGRP CGRP CGRP CGRP CGRP CGRP CGRP");
    EXPECT_NE(text.find("CGRP(NAME CGRP(NAME CGRP(NAME CGRP(NAME CGRP(NAME))))) CGRP(NAME)"),
              std::string::npos);
}

TEST(QuabWriter, CodesRuns) {
    const struct {
        std::vector<float> samples;
        const char* expected;
    } CASES[] = {
        {pieces({{12, true}, {59, false}, {19, true}, {121, false}}), "VDAT12 VRUN59 VDAT19 VRUN121"},
        {{7}, "VRUN1"},
        {{7, 7}, "VRUN2"},
        {{7, 8}, "VDAT2"},
        {pieces({{1, true}, {3, false}}), "VDAT4"},
        {pieces({{1, true}, {4, false}}), "VDAT1 VRUN4"},
        {pieces({{4, false}, {4, false}, {1, true}}), "VRUN4 VRUN4 VDAT1"},
        {{0.0f, 0.0f, -0.0f, -0.0f}, "VDAT4"},
        {{0.0f, 0.0f, 0.0f, 0.0f, -0.0f, -0.0f, -0.0f, -0.0f}, "VRUN4 VRUN4"},
    };
    for (const auto& entry : CASES)
        EXPECT_EQ(valuesOf(entry.samples, static_cast<int32_t>(entry.samples.size())), entry.expected);
    EXPECT_EQ(valuesOf({0.5f}, 7000), "VRUN7000");
}

TEST(QuabWriter, RefusesWithAReason) {
    constexpr float NOT_A_NUMBER = std::numeric_limits<float>::quiet_NaN();
    constexpr float INFINITE = std::numeric_limits<float>::infinity();
    auto surface = [](QbExportScene& scene) -> QbExportSurface& {
        scene.sceneObjects.emplace_back().name = "file";
        scene.sceneObjects[0].surfaces.emplace_back().name = "wall";
        return scene.sceneObjects[0].surfaces[0];
    };
    const std::string WALL = "scene object \"file\": surface \"wall\": ";
    const struct {
        std::function<void(QbExportScene&)> damage;
        std::string expected;
    } CASES[] = {
        {[](auto& s) { s.frameStart = 10; }, "scene \"s\": frameEnd 9 lies before frameStart 10"},
        {[](auto& s) { s.framesPerSecond = 0; }, "scene \"s\": framesPerSecond must be above 0"},
        {[](auto& s) { s.framesPerSecond = NOT_A_NUMBER; }, "scene \"s\": framesPerSecond must be above 0"},
        {[](auto& s) {
             s.frameStart = -1;
             s.frameEnd = INT32_MAX;
         },
         "scene \"s\": has more than 2147483647 frames"},
        {[](auto& s) { s.name = std::string(256, 'x'); },
         "scene \"" + std::string(256, 'x') + "\": name has 256 characters, at most 255 fit"},
        {[](auto& s) { s.fileName = std::string("a\0b", 3); }, "scene \"s\": file name holds a zero byte"},
        {[](auto& s) { s.cameras.emplace_back(); }, "camera \"\": needs a name"},
        {[](auto& s) { s.lights.emplace_back().name = "Global"; },
         "light \"Global\": the scene's own groups bear this name, choose another"},
        {[](auto& s) {
             s.lights.emplace_back().name = "lamp";
             s.cameras.emplace_back().name = "lamp";
         },
         "camera \"lamp\": another item bears this name, choose another"},
        {[](auto& s) {
             s.objects.emplace_back().name = "fountain";
             s.emitters.emplace_back().name = "fountain";
             s.emitters[0].motion.position[1] = 1.0f;
         },
         "emitter \"fountain\": bears an object's name and moves with it, leave its motion empty"},
        {[](auto& s) {
             s.objects.emplace_back().name = "ball";
             s.objects[0].motion.position[1].samples = {1, 2, 3};
         },
         "object \"ball\": channel \"Position.Y\": 3 samples, the scene has 10 frames: give one for each, or "
         "a single one"},
        {[](auto& s) {
             s.cameras.emplace_back().name = "eye";
             s.cameras[0].zoomChannel.samples.assign(10, 1);
             s.cameras[0].zoomChannel.samples[7] = INFINITE;
         },
         "camera \"eye\": channel \"ZoomFactor\": sample 7 is not a finite number"},
        {[](auto& s) { s.processing.glowIntensityChannel = NOT_A_NUMBER; },
         "scene \"s\": channel \"GlowIntensity\": sample 0 is not a finite number"},
        {[](auto& s) { s.backdrop.sky[1] = NOT_A_NUMBER; },
         "section \"backdrop\": \"sky\" is not a finite number"},
        {[&](auto& s) { qbExportSetFloat(surface(s), "Diffusion", 1); },
         WALL + "unknown surface property \"Diffusion\""},
        {[&](auto& s) { qbExportSetFloat(surface(s), "BaseColor", 1); },
         WALL + "\"BaseColor\" takes a colour"},
        {[&](auto& s) { qbExportParam(surface(s), "Sidedness").channels[0] = 1.0f; },
         WALL + "\"Sidedness\" has no channel to be animated with"},
        {[&](auto& s) { qbExportParam(surface(s), "Diffuse").channels[1] = 1.0f; },
         WALL + "\"Diffuse\" has no channel 1 to be animated with"},
        {[&](auto& s) {
             surface(s).params.resize(2, {"Bump", {}, {}, {}, {}, "", {}});
         },
         WALL + "\"Bump\" is given twice"},
        {[&](auto& s) { surface(s).shaderName = "my shader.hlsl"; },
         WALL + "shader \"my shader.hlsl\" holds a blank"},
        {[&](auto& s) {
             for (int i = 0; i < 11; i++)
                 surface(s).shaderParams.push_back({"p" + std::to_string(i), {}});
         },
         WALL + "11 shader parameters, at most 10 fit a surface"},
        {[&](auto& s) {
             qbExportParam(surface(s), "Diffuse").channels[0] = 1.0f;
             s.sceneObjects[0].surfaces.push_back(s.sceneObjects[0].surfaces[0]);
             s.sceneObjects[0].surfaces[1].params.clear();
         },
         WALL + "an earlier surface of this name is animated in another way"},
        {[&](auto& s) {
             surface(s);
             s.sceneObjects.push_back(s.sceneObjects[0]);
         },
         "scene object \"file\": another scene object bears this name, choose another"},
        {[](auto& s) {
             std::vector<QbExportGroup>* groups = &s.groups;
             for (const char* name : {"1", "2", "3", "4", "5", "6"}) {
                 groups->emplace_back().name = name;
                 groups = &groups->back().groups;
             }
         },
         "group \"1\": group \"2\": group \"3\": group \"4\": group \"5\": group \"6\": lies 6 groups deep, "
         "at most 5 are read"},
    };
    for (const auto& entry : CASES) {
        QbExportScene scene;
        scene.name = "s";
        scene.frameEnd = 9;
        written(scene);
        entry.damage(scene);
        EXPECT_EQ(refusal(scene), entry.expected);
    }
}

// A CHAN of n literals: NAME 6 + 12, TYPE 10, VALS 6, VDAT 10 + 4 n.
TEST(QuabWriter, RefusesAChannelThatOutgrowsItsChunk) {
    auto withSamples = [](int32_t count) {
        QbExportScene scene;
        scene.frameEnd = count - 1;
        scene.objects.emplace_back().name = "ball";
        scene.objects[0].motion.position[0] = qbExportByFrame(scene, [](int32_t frame) { return frame; });
        return scene;
    };
    constexpr int32_t MOST = (65535 - 44) / 4;
    written(withSamples(MOST));
    EXPECT_EQ(
        refusal(withSamples(MOST + 1)),
        "object \"ball\": channel \"Position.X\": chunk CHAN takes 65536 bytes, at most 65535 fit: use fewer "
        "frames, or split it up");
    EXPECT_EQ(
        refusal(withSamples(20000)),
        "object \"ball\": channel \"Position.X\": chunk VDAT takes 80004 bytes, at most 65535 fit: use fewer "
        "frames, or split it up");
}

// The group of one object file has a 16-bit size; a group at the top level has not.
TEST(QuabWriter, RefusesAGroupThatOutgrowsItsChunk) {
    QbExportScene scene;
    scene.frameEnd = 7999;
    QbExportGroup group;
    group.name = "big";
    for (int i = 0; i < 3; i++)
        group.channels.push_back(
            {"c" + std::to_string(i), qbExportByFrame(scene, [](int32_t frame) { return std::sin(frame); })});
    scene.groups = {group};
    written(scene);
    scene.groups[0] = {"outer", {}, {group}};
    // NAME 6 + 4, and three CHANs of 6 + NAME 10 + TYPE 10 + VALS 6 + VDAT 10 + 32000.
    EXPECT_EQ(refusal(scene),
              "group \"outer\": group \"big\": chunk CGRP takes 96136 bytes, at most 65535 fit: "
              "use fewer frames, or split it up");
}

TEST(QuabWriter, FillsChannels) {
    QbExportScene scene;
    scene.frameStart = 10;
    scene.frameEnd = 12;
    scene.framesPerSecond = 4;
    EXPECT_EQ(qbExportByFrame(scene, [](int32_t frame) { return frame; }).samples,
              (std::vector<float>{10, 11, 12}));
    EXPECT_EQ(qbExportBySeconds(scene, [](double seconds) { return seconds; }).samples,
              (std::vector<float>{0, 0.25f, 0.5f}));
    QbExportMotion motion;
    qbExportRotationBySeconds(scene, motion, [](double s) {
        return std::array<float, 3>{static_cast<float>(360 * s), 0, 90};
    });
    EXPECT_FLOAT_EQ(motion.rotation[0].samples[1], 1.5707964f);
    EXPECT_FLOAT_EQ(motion.rotation[2].samples[0], 1.5707964f);
    scene.frameEnd = 9;
    EXPECT_EQ(qbExportFrameCount(scene), 0u);
}

TEST(QuabWriter, FillsChannelsUpToTheLastFrameNumber) {
    QbExportScene scene;
    scene.frameStart = INT32_MAX - 1;
    scene.frameEnd = INT32_MAX;
    EXPECT_EQ(qbExportByFrame(scene, [](int32_t frame) { return frame - (INT32_MAX - 1); }).samples,
              (std::vector<float>{0, 1}));
    scene.frameEnd = INT32_MAX - 2;
    EXPECT_TRUE(qbExportByFrame(scene, [](int32_t frame) { return frame; }).samples.empty());
}

// Turning +Z by bank, pitch, heading must give the direction asked for.
TEST(QuabWriter, AimsAlongZ) {
    const std::array<float, 3> TARGETS[] = {{0, 0, 1}, {1, 0, 0}, {-3, 0, -4},
                                            {1, 2, 3}, {0, 5, 0}, {-1, -7, 2}};
    for (const auto& target : TARGETS) {
        std::array<float, 3> angles =
            qbExportAim({1, 1, 1}, {target[0] + 1, target[1] + 1, target[2] + 1}, 33);
        double h = qbExportRadians(angles[0]), p = qbExportRadians(angles[1]);
        double length = std::hypot(target[0], target[1], target[2]);
        EXPECT_NEAR(std::cos(p) * std::sin(h), target[0] / length, 1e-6);
        EXPECT_NEAR(-std::sin(p), target[1] / length, 1e-6);
        EXPECT_NEAR(std::cos(p) * std::cos(h), target[2] / length, 1e-6);
        EXPECT_EQ(angles[2], 33);
    }
}

TEST(QuabWriter, SavesOnlyWhatIsWhole) {
    std::string path = testing::TempDir() + "quab_writer_saved.quab", error;
    std::ofstream(path) << "old";
    QbExportScene scene;
    scene.framesPerSecond = -1;
    EXPECT_EQ(qbSceneExportSave(scene, path, error), -1);
    std::ifstream kept(path);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(kept), {}), "old");
    EXPECT_EQ(qbSceneExportSave(QbExportScene(), testing::TempDir() + "no_such_folder/a.quab", error), -1);
    EXPECT_EQ(error, "cannot create \"" + testing::TempDir() +
                         "no_such_folder/a.quab\": check that its folder exists and may be written");
    EXPECT_EQ(qbSceneExportSave(QbExportScene(), path, error), 0);
    std::ifstream saved(path, std::ios::binary);
    std::string text(std::istreambuf_iterator<char>(saved), {});
    EXPECT_EQ(Bytes(text.begin(), text.end()), written(QbExportScene()));
    std::remove(path.c_str());
}

} // namespace
