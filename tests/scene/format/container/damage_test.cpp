#include "scene/format/channel.h"
#include "scene/format/dump.h"
#include "scene/format/scene.h"

#include "scene/format/container/chunks.h"

#include <bit>
#include <cstring>
#include <gtest/gtest.h>
#include <random>
#include <span>

// Damaged scenes must be refused or read as far as they make sense: no crash, no hang, no read outside.

namespace {

std::string goodScene() {
    std::string motion;
    for (const char* key : {"Position.X", "Position.Y", "Position.Z", "Rotation.H", "Rotation.P",
                            "Rotation.B", "Scale.X", "Scale.Y", "Scale.Z"})
        motion += chan(key, 3, literals({1, 2}) + run(5, 3) + literals({4}));
    const std::string node = nested("CGRP", name("ShaderParam:speed (1)") + chan("Scalar", 2, run(8, 1)));
    const std::string shader = nested("CGRP", name("Shader:blur.hlsl (1)"));
    const std::string surface = nested("CGRP", name("stone") + chan("Color.R", 4, run(8, 1)) +
                                                   nested("CGRP", name("Nodes") + shader + node));
    return form(
        top("SCEN", name("s") + fnam("s.lws") +
                        nested("PRPS", intProp("frameEnd", 7) + prop(2, "framesPerSecond", beFloat(25))) +
                        chan("renderCamera", 2, run(8, 0))) +
        top("BKDR", nested("PRPS", prop(4, "sky", beFloat(0) + beFloat(0.5f) + beFloat(1)))) +
        top("OBJE", name("a:Layer2") + fnam("a.lwo") + nested("PRPS", intProp("flags", 1))) +
        top("FXEM", name("rain") + nested("PRPS", stringProp("HyperVoxelImage", "drop.png"))) +
        top("LIGH", name("sun") + nested("PRPS", prop(6, "coneAngles", beFloat(1) + beFloat(2)))) +
        top("CAME", name("eye") + nested("PRPS", prop(5, "resolution", be32(640) + be32(480)))) +
        top("SOBJ",
            name("a") + fnam("a.lwo") +
                nested("SURF", name("stone") + nested("PRPS", stringProp("BaseColor_tex_image", "a.png")))) +
        top("CGRP", name("Quab.World:a:Layer2") + motion) +
        top("CGRP", name("Surfaces") + nested("CGRP", name("a") + surface)));
}

// Reads a text to its end.
void use(const char* text) {
    EXPECT_LE(text ? std::strlen(text) : 0, 255u);
}

// The samples of a channel, by both ways of asking.
void use(const QbScene& scene, const QbChannelRef& channel) {
    for (const int32_t index : {0, 1, 2, 6, 7, 8, 3, 2147483647, -1}) {
        const float remembered = qbChannelSample(&scene, &channel, index);
        const float walked =
            channel.vals ? dumpquab_ext_vals_get_value(scene.file, channel.vals, index) : 0.0f;
        EXPECT_EQ(std::bit_cast<uint32_t>(remembered), std::bit_cast<uint32_t>(walked)) << index;
    }
}

void use(const QbScene& scene, const QbChannelGroup& group) {
    use(group.name);
    for (const QbChannel& channel : std::span(group.channels, static_cast<size_t>(group.channelCount))) {
        use(channel.name);
        use(scene, {channel.vals, {}});
    }
    for (int32_t i = 0; i < group.groupCount; ++i)
        use(scene, group.groups[i]);
}

// Looks at everything that a reader of the scene looks at.
void use(const QbScene& scene) {
    use(scene.globals->name);
    use(scene.globals->fileName);
    use(scene, scene.globals->renderChannel);
    for (int32_t i = 0; i < scene.objectCount; ++i) {
        use(scene.objects[i].name);
        use(qbSceneMeshFileName(&scene.objects[i]));
        for (const QbChannelRef& channel : scene.objects[i].motion.channels)
            use(scene, channel);
    }
    for (int32_t i = 0; i < scene.emitterCount; ++i) {
        use(scene.emitters[i].name);
        use(scene.emitters[i].hyperVoxelImage);
    }
    for (int32_t i = 0; i < scene.sceneObjectCount; ++i)
        for (int32_t j = 0; j < scene.sceneObjects[i].surfaceCount; ++j)
            for (const QbSurfaceParam& param : scene.sceneObjects[i].surfaces[j].params)
                use(param.textureImage);
    for (int32_t i = 0; i < scene.groupCount; ++i)
        use(scene, scene.groups[i]);
}

class DamageTest : public testing::Test {
protected:
    void SetUp() override {
        qbIffSetFatalHandler([](int) {});
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
    }
    void TearDown() override {
        qbIffSetFatalHandler(nullptr);
        testing::internal::GetCapturedStdout();
        testing::internal::GetCapturedStderr();
    }

    // True when the scene was read.
    static bool read(const std::string& bytes) {
        // A copy that ends where the bytes do, so that a read past them is noticed.
        std::vector<uint8_t> copy(bytes.begin(), bytes.end());
        QbFile* image = qbFileOpenMemory(copy.data(), static_cast<int32_t>(copy.size()));
        QbScene* scene = qbSceneReadImage(image, "damaged.quab");
        if (!scene) return false;
        qbSceneBindChannels(scene);
        use(*scene);
        qbSceneRecordFree(scene);
        return true;
    }

    static void dump(const std::string& bytes) {
        const Image image(bytes);
        qbIffMode = QB_DUMP_LABELS;
        qbIffReadFile(image.file());
        qbIffMode = QB_DUMP_SILENT;
    }
};

} // namespace

TEST_F(DamageTest, EveryTruncationIsRefused) {
    const std::string good = goodScene();
    ASSERT_TRUE(read(good));
    for (size_t length = 0; length < good.size(); ++length) {
        const std::string cut = good.substr(0, length);
        EXPECT_FALSE(read(cut)) << length;
        dump(cut);
        // The same with a form that knows how long the file is.
        if (length < 12) continue;
        const std::string shorter = form(good.substr(12, length - 12));
        read(shorter);
        dump(shorter);
    }
}

TEST_F(DamageTest, RandomChangesDoNoHarm) {
    const std::string good = goodScene();
    std::mt19937 random(20);
    int readCount = 0;
    for (int round = 0; round < 20'000; ++round) {
        std::string bad = good;
        for (auto change = random() % 3 + 1; change > 0; --change)
            bad[random() % bad.size()] =
                static_cast<char>(random() % 4 ? random() % 256 : 255 * (random() % 2));
        readCount += read(bad) ? 1 : 0;
        if (round % 8 == 0) dump(bad);
    }
    // Most bytes are values, so both ways must have been gone often.
    EXPECT_GT(readCount, 2'000);
    EXPECT_LT(readCount, 18'000);
}
