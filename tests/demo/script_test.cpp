#include "demo/demo.h"

#include "support/messages.h"
#include "support/temporary_directory.h"

#include <gtest/gtest.h>
#include <memory>
#include <span>
#include <sstream>

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

std::string allOf(const QbDemo& demo) {
    std::ostringstream text;
    text << demo.musicDirectory << '|' << demo.paletteDirectory << '|' << demo.shadersDirectory;
    for (const QbDemoPart& p : std::span(demo.parts, static_cast<size_t>(demo.partCount))) {
        text << "\npart " << p.time << ' ' << p.timeReset << ' ' << p.timeBase << ' ' << p.music << '|'
             << p.palette << '|' << p.directory << '|' << p.filename << ' ' << p.cameraNear << ' '
             << p.cameraFar << ' ' << p.reuseObjects << ' ' << p.flushObjects << ' ' << p.paletteChannel
             << ' ' << p.paletteValue;
        for (const QbDemoFader& f : std::span(p.faders, static_cast<size_t>(p.faderCount)))
            text << "\nfader " << f.time << ' ' << f.length << ' ' << f.fadeLength << ' ' << f.color << ' '
                 << f.fadeOut;
        for (const QbDemoExtra& e : std::span(p.extras, static_cast<size_t>(p.extraCount)))
            text << "\nextra " << e.directory << '|' << e.filename << ' ' << e.time << ' ' << e.length << ' '
                 << e.reuseObjects << ' ' << e.flushObjects;
        for (const QbDemoShader& f : std::span(p.shaders, static_cast<size_t>(p.shaderCount)))
            text << "\nshader " << f.name << ' ' << f.time << ' ' << f.length;
    }
    return text.str();
}

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
    EXPECT_EQ(allOf(*demo), "tunes|pal|fx files"
                            "\npart 16000 1 0 a b.mp3|p.pal|xport|scene_tst_2_v002.quab 0.1 500 1 2 2 9"
                            // The key fadein counts, not its value.
                            "\nfader 0 500 600 16777215 0"
                            // An octal time; the last two can not be set by a script.
                            "\nextra xport|x.quab 8 3000 0 0"
                            "\nshader Blur.hlsl -5 7");
}

TEST_F(Script, FillsInDefaults) {
    ASSERT_EQ(
        parse("[part]\nfader.3.time=7\nextra.0.directory=\nextra.0.filename=\nshader.1.name=s\nmusic=m\n"),
        0);
    EXPECT_EQ(allOf(*demo), "||\npart -1 0 -1 m||| 0.01 3000 0 0 -1 -1\nfader 7 1000 1000 0 1\n"
                            "extra | 0 0 0 0\nshader s 0 0");
}

TEST_F(Script, TakesEverySectionWithPartInItsNameInFileOrder) {
    ASSERT_EQ(parse("[part.9]\ntime=1\n[setup]\ntime=5\n[Apartment]\ntime=2\n[art]\n[part.1]\ntime=3\n"), 0);
    ASSERT_EQ(demo->partCount, 3);
    for (int index = 0; index < 3; index++)
        EXPECT_EQ(demo->parts[index].time, index + 1);
}

TEST_F(Script, ReadsTheFirstPaletteChannelThatIsSet) {
    const std::tuple<const char*, int, int> cases[] = {
        {"palette.r=-1\npalette.g=7\npalette.b=8\n", 1, 7},
        {"palette.r=0\npalette.g=7\n", 0, 0},
        {"palette.b=0x10\n", 2, 16},
        {"palette.b=-1\n", -1, -1},
    };
    for (const auto& [keys, channel, value] : cases) {
        EXPECT_EQ(part(keys).paletteChannel, channel) << keys;
        EXPECT_EQ(demo->parts[0].paletteValue, value) << keys;
    }
}

TEST_F(Script, LeavesAMalformedCameraRangeAtZero) {
    const std::tuple<const char*, float, float> cases[] = {
        {"1.5 20", 1.5F, 20.0F}, {"1.5", 1.5F, 0.0F}, {"1,5 20", 1.0F, 0.0F},
        {"far", 0.0F, 0.0F},     {"", 0.0F, 0.0F},    {"nan inf", 0.0F, 0.0F},
    };
    for (const auto& [value, near, far] : cases) {
        EXPECT_EQ(part("camerarange=" + std::string(value) + "\n").cameraNear, near) << value;
        EXPECT_EQ(demo->parts[0].cameraFar, far) << value;
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
    EXPECT_EQ(parse("[part]\nno key\n"), -1);
    EXPECT_EQ(message(), "Fail to parse ini");
    EXPECT_EQ(parse("[setup]\n"), -1);
    EXPECT_EQ(message(), "No parts!");
    messages.texts().clear();
    EXPECT_EQ(qbDemoParse(demo.get(), nullptr), -1);
    EXPECT_EQ(qbDemoParse(demo.get(), "missing.demo.ini"), -1);
    EXPECT_EQ(messages.texts(), (std::vector<std::string>{"Fail to load (null)", "Fail to parse ini"}));
}
