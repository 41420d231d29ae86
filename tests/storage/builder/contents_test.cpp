#include "storage/builder/contents.h"

#include "show.h"
#include "support/messages.h"

#include <gtest/gtest.h>
#include <memory>

namespace {

class Contents : public testing::Test {
protected:
    void SetUp() override {
        writeShow(directory);
        ASSERT_EQ(qbDemoParse(demo.get(), SHOW_SCRIPT), 0);
        for (const std::string& file : showFiles())
            data.push_back({file, 1});
    }
    // "path (owner)" of each missing file.
    std::vector<std::string> missing() const {
        std::vector<std::string> lines;
        for (const QbMissingFile& file : qbShowCheck(*demo, directory.path() + "/show/", data, music).missing)
            lines.push_back(file.path + " (" + file.owner + ")" + file.remedy);
        return lines;
    }
    void drop(const std::string& name) {
        std::erase_if(data, [&](const QbCabinetFile& file) { return file.name == name; });
    }
    using Lines = std::vector<std::string>;

    TemporaryDirectory directory;
    Messages messages;
    std::unique_ptr<QbDemo> demo = std::make_unique<QbDemo>();
    std::vector<QbCabinetFile> data, music = {{"music/Tune.MP3", 1}};
};

TEST_F(Contents, WhateverIsMissingIsNamedWithWhoNamesIt) {
    EXPECT_EQ(missing(), Lines());
    const char* const wall = "surface \"Wall\" of xport/room.quab";
    const char* const roof = "surface \"Roof\" of xport/room.quab";
    const struct {
        const char *file, *path;
        std::string owner;
    } cases[] = {
        {"xport/Room.quab", "xport/room.quab", "part 1 of the script"},
        {"deep/yard/yard.quab", "Deep/Yard/yard.quab", "extra 1 of part 1 of the script"},
        {"fx/blur.hlsl", "fx/blur.hlsl", "shader window 1 of part 1 of the script"},
        {"xport/ville.layer1.x", "xport/ville.layer1.x", "object \"ville:Layer1\" of xport/room.quab"},
        {"xport/brick.jpg", "C:\\art\\brick.jpg", "mesh xport/ville.layer1.x"},
        {"deep/yard/tile.png", "Deep/Yard/tile.png", "mesh deep/yard/prop.layer1.x"},
        {"xport/wall.png", "xport/WALL.png", wall},
        {"xport/bump.jpeg", "xport/bump.jpeg", wall},
        {"xport/glow.hlsl", "xport/glow.hlsl", wall},
        {"xport/noise.bmp", "xport/noise.bmp", "shader xport/glow.hlsl"},
        {"xport/sky05.jpg", "xport/sky05.jpg", "shader xport/glow.hlsl"},
        {"xport/old.psh", "xport/old.psh", roof},
        {"xport/isle.terrain_height.raw", "xport/isle.terrain_height.raw",
         "object \"isle.terrain:Layer1\" of xport/room.quab"},
        {"xport/puff.gif", "xport/puff.gif", "emitter \"Smoke\" of xport/room.quab"},
    };
    const std::vector<QbCabinetFile> all = data;
    for (const auto& c : cases) {
        data = all;
        drop(c.file);
        EXPECT_EQ(missing(), Lines{std::string(c.path) + " (" + c.owner + ")"}) << c.file;
    }
    data = all;
    music.clear();
    EXPECT_EQ(missing(), Lines{"music/tune.mp3 (tune of part 1 of the script)"});
    EXPECT_EQ(Messages::texts(), Lines());
}

TEST_F(Contents, EitherHeightMapAndTheShadersFolderOfTheSceneWillDo) {
    drop("xport/isle.terrain_height.raw");
    drop("xport/glow.hlsl");
    data.push_back({"xport/isle.terrain_height.bmp", 1});
    data.push_back({"xport/shaders/glow.hlsl", 1});
    EXPECT_EQ(missing(), Lines());
}

TEST_F(Contents, WhatLeadsOutOfTheScriptsDirectoryIsMissing) {
    demo->partCount = 1;
    for (const char* outside : {"../xport", "\\xport", "xport/../..", "C:/xport"}) {
        snprintf(demo->parts[0].directory, sizeof demo->parts[0].directory, "%s", outside);
        ASSERT_EQ(missing().size(), 1U) << outside;
        EXPECT_TRUE(missing()[0].ends_with(")leads out of the script's directory: move it below")) << outside;
    }
}

} // namespace
