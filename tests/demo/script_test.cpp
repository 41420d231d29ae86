#include "demo/demo.h"

#include "support/messages.h"
#include "support/temporary_directory.h"

#include <gtest/gtest.h>
#include <memory>
#include <sstream>

namespace {

class Script : public testing::Test {
protected:
    int parse(const std::string& text) {
        directory.write("show.demo.ini", text);
        messages.texts().assign(1, "");
        return qbDemoParse(demo.get(), "show.demo.ini");
    }
    // The one part of a script with these keys.
    const QbDemoPart& part(const std::string& keys) {
        EXPECT_EQ(parse("[part]\n" + keys), 0) << keys;
        return demo->parts[0];
    }
    TemporaryDirectory directory;
    Messages messages;
    std::unique_ptr<QbDemo> demo = std::make_unique<QbDemo>();
};

// A part with its first fader, extra and shader.
std::string allOf(const QbDemoPart& p) {
    std::ostringstream text;
    const QbDemoFader& f = p.faders[0];
    const QbDemoExtra& e = p.extras[0];
    const QbDemoShader& s = p.shaders[0];
    text << p.time << ' ' << p.timeReset << ' ' << p.timeBase << ' ' << p.music << '|' << p.palette << '|'
         << p.directory << '|' << p.filename << ' ' << p.cameraNear << ' ' << p.cameraFar << ' '
         << p.reuseObjects << ' ' << p.flushObjects << ' ' << p.paletteChannel << ' ' << p.paletteValue
         << "\nfader " << f.time << ' ' << f.length << ' ' << f.fadeLength << ' ' << f.color << ' '
         << f.fadeOut << "\nextra " << e.directory << '|' << e.filename << ' ' << e.time << ' ' << e.length
         << ' ' << e.reuseObjects << "\nshader " << s.name << ' ' << s.time << ' ' << s.length;
    return text.str();
}

std::string entries(const char* list, int first, int last, const char* keys) {
    std::string text;
    for (int number = first; number <= last; number++)
        for (const char* key = keys; *key; key++)
            text +=
                *key == '@' ? std::string(list) + "." + std::to_string(number) + "." : std::string(1, *key);
    return text;
}

} // namespace

TEST_F(Script, ReadsACompletePartAndFillsInDefaults) {
    ASSERT_EQ(parse("# a show\n[Setup]\nMusicDirectory=tunes\n"
                    "[part.2]\n; a comment\ntime=16000 ; another\ntimereset=1\nmusic=a b.mp3\npalette=p.pal\n"
                    "directory=xport\nFILENAME=scene_tst_2_v002.quab\ncamerarange=0.1 500\nreuseobjects=1\n"
                    "flushobjects=2\npalette.g=-1\npalette.b=9\n"
                    "fader.1.time=0\nfader.1.length=500\nfader.1.fadelength=600\nfader.1.color=0xFFFFFF\n"
                    "fader.1.fadein=0\nextra.1.directory=xport\nextra.1.filename=x.quab\nextra.1.time=010\n"
                    "extra.1.length=3000\nextra.1.reuseobjects=1\n"
                    "shader.0.name=Blur.hlsl\nshader.0.time=-5\nshader.0.length=7\n"
                    "[Apartment]\ncamerarange=1,5 "
                    "20\nfader.3.time=7\nextra.0.directory=\nextra.0.filename=\nshader.1.name=s\n[art]\n"),
              0);
    EXPECT_STREQ(demo->musicDirectory, "tunes");
    EXPECT_EQ(demo->partCount, 2); // each section with "part" in its name, in the order of the file
    EXPECT_EQ(allOf(demo->parts[0]), "16000 1 0 a b.mp3|p.pal|xport|scene_tst_2_v002.quab 0.1 500 1 2 2 9"
                                     // The key fadein counts, not its value.
                                     "\nfader 0 500 600 16777215 0"
                                     // An octal time; the last can not be set by a script.
                                     "\nextra xport|x.quab 8 3000 0"
                                     "\nshader Blur.hlsl -5 7");
    EXPECT_EQ(allOf(demo->parts[1]), "-1 0 -1 ||| 1 0 0 0 -1 -1\nfader 7 1000 1000 0 1"
                                     "\nextra | 0 0 0\nshader s 0 0");
}

TEST_F(Script, PacksEntriesAndStopsAtTheirLimits) {
    const char* extra = "@directory=d\n@filename=f\n@time=1\n";
    const QbDemoPart& gaps = part("extra.2.directory=d\nextra.4.filename=f\n" +
                                  entries("extra", 19, 21, extra) + entries("shader", 20, 20, "@name=n\n") +
                                  "fader.5.time=-1\nfader.7.time=70\nfader.20.time=1\nfader.8.fadeout=1\n");
    EXPECT_EQ(gaps.extraCount * 100 + gaps.shaderCount * 10 + gaps.faderCount, 101);
    EXPECT_EQ(gaps.extras[0].time + gaps.faders[0].time, 71);
    const QbDemoPart& full = part(entries("extra", 0, 19, extra) + entries("shader", 0, 19, "@name=n\n") +
                                  entries("fader", 0, 19, "@time=1\n"));
    EXPECT_EQ(full.extraCount, 15);
    EXPECT_EQ(full.shaderCount, 10);
    EXPECT_EQ(full.faderCount, 20);
}

TEST_F(Script, HoldsTextsOf127Characters) {
    const std::string text(127, 't');
    const char* const cases[][2] = {{"setup", "shadersdirectory"},
                                    {"part.3", "filename"},
                                    {"part.3", "extra.1.filename"},
                                    {"part.3", "shader.2.name"}};
    for (const auto& [section, key] : cases) {
        // The other keys that an entry needs stand ahead, and the last value of a key counts.
        const std::string where = "[" + std::string(section) + "]";
        const std::string script =
            "[part.3]\nextra.1.directory=d\nextra.1.filename=f\n" + where + "\n" + key + "=" + text;
        EXPECT_EQ(parse(script), 0) << key;
        EXPECT_EQ(parse(script + "t"), -1) << key;
        EXPECT_EQ(messages.texts().back(),
                  "show.demo.ini: " + where + " " + key + " holds 128 characters, 127 at most");
    }
}

TEST_F(Script, RefusesWhatIsNoScript) {
    std::string full;
    for (int index = 0; index < 64; index++)
        full += "[part." + std::to_string(index) + "]\n";
    const std::pair<std::string, const char*> cases[] = {
        {full, ""},
        {full + "[One Part Too Many]\n",
         "show.demo.ini: [one part too many] is one part too many, 64 at most"},
        {"[part]\nno key\n", "Fail to parse ini"},
        {"[setup]\n", "No parts!"}};
    for (const auto& [text, message] : cases) {
        EXPECT_EQ(parse(text), *message ? -1 : 0);
        EXPECT_EQ(messages.texts().back(), message);
        EXPECT_EQ(demo->partCount, *message ? 0 : 64);
    }
    EXPECT_EQ(qbDemoParse(demo.get(), nullptr), -1);
    EXPECT_EQ(messages.texts().back(), "Fail to load (null)");
    EXPECT_EQ(qbDemoParse(demo.get(), "missing.demo.ini"), -1);
    EXPECT_EQ(messages.texts().back(), "Fail to parse ini");
}
