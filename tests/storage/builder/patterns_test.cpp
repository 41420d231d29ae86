#include "storage/builder/patterns.h"

#include "support/temporary_directory.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <memory>

namespace {

using Names = std::vector<std::string>;

TEST(Patterns, AreThoseOfEachDirectoryThenShadersThenTheScript) {
    EXPECT_EQ(qbPatternText(qbDataPatterns({"d"}, "fx", "my show.demo.ini")),
              "d\\*.x d\\*.lws.ini.bin d\\*.quab d\\*.jpg d\\*.png d\\*.jpeg d\\*.bmp d\\*.gif d\\*.hlsl "
              "d\\*.vsh d\\*.psh d\\*.raw fx\\*.dbs fx\\*.fx fx\\*.hlsl my show.demo.ini ");
    EXPECT_EQ(qbDataPatterns({"d", "a/b"}, "", "s")[12], "a/b\\*.x");
    EXPECT_EQ(qbPatternText(qbDataPatterns({}, "", "s.demo.ini")), "s.demo.ini ");
    EXPECT_EQ(qbPatternText(qbMusicPatterns("music")), "music\\*.mp3 music\\*.mpg music\\*.mpeg ");
    EXPECT_EQ(qbPatternText(qbMusicPatterns("")), "\\*.mp3 \\*.mpg \\*.mpeg ");
    EXPECT_EQ(qbPatternText(qbLoadingPatterns()), "loading.png ");
    EXPECT_EQ(qbPatternText(qbShaderPatterns()),
              "shaders\\*.fx shaders\\*.hlsl shaders\\*.vsh shaders\\*.psh ");
}

TEST(Patterns, DirectoriesKeepTheOrderAndTheSpellingOfTheFirst) {
    const auto demo = std::make_unique<QbDemo>();
    demo->partCount = 10;
    size_t part = 0;
    for (const char* directory :
         {"Xport", "", "a\\b", "./xport", "XPORT/", "xport\\", ".", "A//b", "a/../xport", "x/port"})
        snprintf(demo->parts[part++].directory, QB_DEMO_STRING_SIZE, "%s", directory);
    Names found;
    ASSERT_TRUE(qbShowDirectories(*demo, found));
    EXPECT_EQ(found, (Names{"Xport", "a\\b", ".", "x/port"}));
}

TEST(Patterns, MatchWhatTheToolOfOldDid) {
    const TemporaryDirectory directory;
    for (const char* name :
         {"base/Xport/b.X", "base/Xport/a.x", "base/Xport/a.hlsl.x~", "base/Xport/ax", "base/Xport/.x",
          "base/Xport/-o \"p\".x", "base/Xport/folder.x/inner.x", "base/Xport/c.quab", "base/up.x",
          "base/show.demo.ini", "base/SHOW.demo.ini", "base/LOADING.png", "base/*.demo.ini",
          "base/xport\\b.demo.ini", "out/c.quab", "out/d.quab", "base/out/d.quab"})
        directory.write(name, name);
    std::filesystem::create_symlink("a.x", "base/Xport/link.x");
    std::filesystem::create_symlink("nowhere", "base/Xport/broken.x");
    std::filesystem::create_directory_symlink("Xport", "base/linked");

    const Names meshes = {"Xport/-o \"p\".x", "Xport/.x", "Xport/a.x", "Xport/b.X", "Xport/link.x"};
    Names withScene = meshes;
    withScene.emplace_back("Xport/c.quab");
    const struct {
        QbPatternList list;
        Names files, leftOut;
    } cases[] = {
        {{"xport\\*.x"}, meshes, {}},
        {{".\\XPORT\\\\*.x", "Xport\\*.x", "Xport/*.x"}, meshes, {}},
        {{"xport\\*.x", "xport\\*.quab", "xport\\*.QUAB"}, withScene, {}},
        {{"linked\\*.quab"}, {"linked/c.quab"}, {}},
        {{"\\*.x"}, {"up.x"}, {}},
        {{"Show.demo.ini"}, {"SHOW.demo.ini"}, {}},
        {{"show.demo.ini"}, {"show.demo.ini"}, {}},
        {{"loading.png"}, {"LOADING.png"}, {}},
        {{"*.demo.ini"}, {"*.demo.ini"}, {}},
        {{"xport\\b.demo.ini"}, {"xport\\b.demo.ini"}, {}},
        {{"nowhere\\*.x", "xport\\*.jpg"}, {}, {}},
        {{"..\\out\\*.quab"}, {"../out/c.quab", "../out/d.quab"}, {}},
        {{"..\\OUT\\*.quab", "out\\*.quab"}, {"../out/c.quab", "out/d.quab"}, {"../out/d.quab"}},
        {{"out\\*.quab", "..\\out\\*.quab"}, {"out/d.quab", "../out/c.quab"}, {"../out/d.quab"}},
        {{directory.path() + "/out\\*.quab"},
         {directory.path() + "/out/c.quab", directory.path() + "/out/d.quab"},
         {}},
    };
    for (const auto& c : cases) {
        const QbMatchedFiles matched = qbPatternFiles(directory.path() + "/base/", c.list);
        EXPECT_EQ(matched.files, c.files) << qbPatternText(c.list);
        EXPECT_EQ(matched.leftOut, c.leftOut) << qbPatternText(c.list);
    }
}

} // namespace
