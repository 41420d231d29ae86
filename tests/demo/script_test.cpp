#include "demo/demo.h"

#include "support/messages.h"
#include "support/temporary_directory.h"

#include <gtest/gtest.h>
#include <memory>

namespace {

class Script : public testing::Test {
protected:
    int parse(const std::string& text) {
        directory.write("show.demo.ini", text);
        messages.texts().clear();
        return qbDemoParse(demo.get(), "show.demo.ini");
    }
    // The one part of a script with these keys.
    const QbDemoPart& part(const std::string& keys) {
        EXPECT_EQ(parse("[part]\n" + keys), 0) << keys;
        EXPECT_EQ(demo->partCount, 1);
        return demo->parts[0];
    }
    std::string message() const {
        return messages.texts().size() == 1 ? messages.texts()[0] : "none or many";
    }

    TemporaryDirectory directory;
    Messages messages;
    std::unique_ptr<QbDemo> demo = std::make_unique<QbDemo>();
};

std::string entries(const char* list, int first, int last, const char* keys) {
    std::string text;
    for (int number = first; number <= last; number++) {
        std::string entry = keys;
        for (size_t at; (at = entry.find('@')) != std::string::npos;)
            entry.replace(at, 1, std::string(list) + "." + std::to_string(number) + ".");
        text += entry;
    }
    return text;
}

} // namespace

TEST_F(Script, ReadsACompletePart) {
    ASSERT_EQ(
        parse("# a show\n[Setup]\nMusicDirectory=tunes\npalettedirectory=pal\nshadersdirectory=fx files\n"
              "[part.2]\n; a comment\ntime=16000 ; another\ntimereset=1\nmusic=a b.mp3\npalette=p.pal\n"
              "directory=xport\nFILENAME=scene_tst_2_v002.quab\ncamerarange=0.1 500\nreuseobjects=1\n"
              "flushobjects=2\npalette.b=9\n"
              "fader.1.time=0\nfader.1.length=500\nfader.1.fadelength=600\nfader.1.color=0xFFFFFF\n"
              "fader.1.fadein=0\nextra.1.directory=xport\nextra.1.filename=x.quab\nextra.1.time=010\n"
              "extra.1.length=3000\nextra.1.reuseobjects=1\nextra.1.flushobjects=1\n"
              "shader.0.name=Blur.hlsl\nshader.0.time=-5\nshader.0.length=7\n"),
        0);
    EXPECT_STREQ(demo->musicDirectory, "tunes");
    EXPECT_STREQ(demo->paletteDirectory, "pal");
    EXPECT_STREQ(demo->shadersDirectory, "fx files");
    ASSERT_EQ(demo->partCount, 1);
    const QbDemoPart& p = demo->parts[0];
    EXPECT_EQ(p.time, 16000);
    EXPECT_EQ(p.timeReset, 1);
    EXPECT_EQ(p.timeBase, 0);
    EXPECT_STREQ(p.music, "a b.mp3");
    EXPECT_STREQ(p.palette, "p.pal");
    EXPECT_STREQ(p.directory, "xport");
    EXPECT_STREQ(p.filename, "scene_tst_2_v002.quab");
    EXPECT_FLOAT_EQ(p.cameraNear, 0.1F);
    EXPECT_FLOAT_EQ(p.cameraFar, 500.0F);
    EXPECT_EQ(p.reuseObjects, 1);
    EXPECT_EQ(p.flushObjects, 2);
    EXPECT_EQ(p.paletteChannel, 2);
    EXPECT_EQ(p.paletteValue, 9);
    ASSERT_EQ(p.faderCount, 1);
    EXPECT_EQ(p.faders[0].length, 500);
    EXPECT_EQ(p.faders[0].fadeLength, 600);
    EXPECT_EQ(p.faders[0].color, 0xFFFFFF);
    EXPECT_EQ(p.faders[0].fadeOut, 0); // the key counts, not its value
    ASSERT_EQ(p.extraCount, 1);
    EXPECT_STREQ(p.extras[0].directory, "xport");
    EXPECT_STREQ(p.extras[0].filename, "x.quab");
    EXPECT_EQ(p.extras[0].time, 8); // octal
    EXPECT_EQ(p.extras[0].length, 3000);
    EXPECT_EQ(p.extras[0].reuseObjects, 0); // a script can not set these two
    EXPECT_EQ(p.extras[0].flushObjects, 0);
    ASSERT_EQ(p.shaderCount, 1);
    EXPECT_STREQ(p.shaders[0].name, "Blur.hlsl");
    EXPECT_EQ(p.shaders[0].time, -5);
    EXPECT_EQ(p.shaders[0].length, 7);
}

TEST_F(Script, FillsInDefaults) {
    const QbDemoPart& p = part("fader.3.time=7\nextra.0.directory=\nextra.0.filename=\nshader.1.name=s\n");
    EXPECT_EQ(p.time, -1);
    EXPECT_EQ(p.timeBase, -1);
    EXPECT_STREQ(p.filename, "");
    EXPECT_FLOAT_EQ(p.cameraNear, 0.01F);
    EXPECT_FLOAT_EQ(p.cameraFar, 3000.0F);
    EXPECT_EQ(p.paletteChannel, -1);
    EXPECT_EQ(p.paletteValue, -1);
    EXPECT_EQ(p.faders[0].length, 1000);
    EXPECT_EQ(p.faders[0].fadeLength, 1000);
    EXPECT_EQ(p.faders[0].color, 0);
    EXPECT_EQ(p.faders[0].fadeOut, 1);
    EXPECT_EQ(p.extraCount, 1);
    EXPECT_EQ(p.extras[0].length + p.shaders[0].length, 0);
    EXPECT_STREQ(demo->musicDirectory, "");
}

TEST_F(Script, TakesEverySectionWithPartInItsNameInFileOrder) {
    ASSERT_EQ(parse("[part.9]\ntime=1\n[setup]\ntime=5\n[Apartment]\ntime=2\n[art]\n[part.1]\ntime=3\n"), 0);
    ASSERT_EQ(demo->partCount, 3);
    for (int index = 0; index < 3; index++)
        EXPECT_EQ(demo->parts[index].time, index + 1);
}

TEST_F(Script, ReadsTheFirstPaletteChannelThatIsSet) {
    struct Case {
        const char* keys;
        int channel, value;
    };
    for (const Case& c :
         {Case{"palette.r=-1\npalette.g=7\npalette.b=8\n", 1, 7}, Case{"palette.r=0\npalette.g=7\n", 0, 0},
          Case{"palette.b=0x10\n", 2, 16}, Case{"palette.b=-1\n", -1, -1}}) {
        EXPECT_EQ(part(c.keys).paletteChannel, c.channel) << c.keys;
        EXPECT_EQ(demo->parts[0].paletteValue, c.value) << c.keys;
    }
}

TEST_F(Script, LeavesAMalformedCameraRangeAtZero) {
    struct Case {
        const char* value;
        float near, far;
    };
    for (const Case& c : {Case{"1.5 20", 1.5F, 20.0F}, Case{"1.5", 1.5F, 0.0F}, Case{"1,5 20", 1.0F, 0.0F},
                          Case{"far", 0.0F, 0.0F}, Case{"", 0.0F, 0.0F}, Case{"nan inf", 0.0F, 0.0F}}) {
        EXPECT_EQ(part("camerarange=" + std::string(c.value) + "\n").cameraNear, c.near) << c.value;
        EXPECT_EQ(demo->parts[0].cameraFar, c.far) << c.value;
    }
}

TEST_F(Script, PacksEntriesAndStopsAtTheirLimits) {
    const char* extra = "@directory=d\n@filename=f\n@time=1\n";
    const QbDemoPart& gaps =
        part("extra.2.directory=d\nextra.4.filename=f\n" + entries("extra", 6, 6, extra) +
             entries("extra", 19, 21, extra) + entries("shader", 20, 20, "@name=n\n") +
             "fader.5.time=-1\nfader.7.time=70\nfader.20.time=1\nfader.8.fadeout=1\n");
    EXPECT_EQ(gaps.extraCount, 2); // 6 and 19
    EXPECT_EQ(gaps.extras[1].time, 1);
    EXPECT_EQ(gaps.shaderCount, 0);
    EXPECT_EQ(gaps.faderCount, 1);
    EXPECT_EQ(gaps.faders[0].time, 70);
    const QbDemoPart& full = part(entries("extra", 0, 19, extra) + entries("shader", 0, 19, "@name=n\n") +
                                  entries("fader", 0, 19, "@time=1\n"));
    EXPECT_EQ(full.extraCount, 15);
    EXPECT_EQ(full.shaderCount, 10);
    EXPECT_EQ(full.faderCount, 20);
}

TEST_F(Script, HoldsSixtyFourParts) {
    std::string text;
    for (int index = 0; index < 64; index++)
        text += "[part." + std::to_string(index) + "]\n";
    EXPECT_EQ(parse(text), 0);
    EXPECT_EQ(demo->partCount, 64);
    EXPECT_EQ(parse(text + "[setup]\n[One Part Too Many]\n"), -1);
    EXPECT_EQ(message(), "show.demo.ini: [one part too many] is one part too many, 64 at most");
    EXPECT_EQ(demo->partCount, 0);
}

TEST_F(Script, HoldsTextsOf127Characters) {
    const std::string text(127, 't');
    const char* const cases[][2] = {{"setup", "musicdirectory"},    {"setup", "palettedirectory"},
                                    {"setup", "shadersdirectory"},  {"part.3", "music"},
                                    {"part.3", "palette"},          {"part.3", "directory"},
                                    {"part.3", "filename"},         {"part.3", "extra.1.directory"},
                                    {"part.3", "extra.1.filename"}, {"part.3", "shader.2.name"}};
    for (const auto& [section, key] : cases) {
        // The other keys that an entry needs stand ahead, and the last value of a key counts.
        const std::string script = "[part.3]\nextra.1.directory=d\nextra.1.filename=f\n[" +
                                   std::string(section) + "]\n" + key + "=" + text;
        EXPECT_EQ(parse(script), 0) << key;
        EXPECT_EQ(parse(script + "t"), -1) << key;
        EXPECT_EQ(message(), "show.demo.ini: [" + std::string(section) + "] " + key +
                                 " holds 128 characters, 127 at most");
    }
    parse("[part]\nfilename=" + text);
    EXPECT_EQ(demo->parts[0].filename, text);
}

TEST_F(Script, RefusesWhatIsNoScript) {
    EXPECT_EQ(qbDemoParse(demo.get(), nullptr), -1);
    EXPECT_EQ(message(), "Fail to load (null)");
    EXPECT_EQ(parse("[part]\nno key\n"), -1);
    EXPECT_EQ(message(), "Fail to parse ini");
    EXPECT_EQ(parse("[setup]\n"), -1);
    EXPECT_EQ(message(), "No parts!");
    messages.texts().clear();
    EXPECT_EQ(qbDemoParse(demo.get(), "missing.demo.ini"), -1);
    EXPECT_EQ(message(), "Fail to parse ini");
}
