#include "scene/format/dump.h"

#include "scene/format/container/chunks.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <sstream>
#include <sys/wait.h>

namespace {

// One of every kind of chunk, unknown ones at three depths.
std::string everything() {
    const std::string prps =
        nested("PRPS", intProp("numPoints", -4) + prop(2, "framesPerSecond", beFloat(0.1f)) +
                           stringProp("image", "sky.png") +
                           prop(4, "zenith", beFloat(0) + beFloat(0.5f) + beFloat(1e9f)) +
                           prop(5, "resolution", be32(640) + be32(0xffffffff)) +
                           prop(6, "squeeze", beFloat(2) + beFloat(1.0f / 3)) + nested("ODDS", "12"));
    std::string chunks =
        top("SCEN", name("Ville") + fnam("ville.lws") + prps +
                        chan("renderCamera", 2, run(3, 1) + literals({1, 2.5f}) + nested("WHAT", "")));
    chunks += top("BKDR", nested("PRPS", "")) + top("PROC", "");
    chunks += top("OBJE", name("a:Layer2") + fnam("a.lwo") + nested("PRPS", ""));
    chunks += top("LIGH", name("sun")) + top("CAME", name("eye")) + top("FXEM", name("rain"));
    chunks += top("SOBJ", name("a") + fnam("a.lwo") + nested("SURF", name("stone") + nested("JUNK", "123")));
    chunks += top("CGRP", name("MC") + nested("CGRP", name("in") + chan("X", 3, "")));
    chunks += top("PROP", be32(3) + padded("ERROR") + padded("Image filename not found"));
    chunks += top("NEWS", "12");
    return form(chunks);
}

constexpr const char* everythingLabelled = R"({ QUAB
  { Scene
      Name "Ville"
      Filename "ville.lws"
    { Properties
        Property 1 "numPoints" -4
        Property 2 "framesPerSecond" 0.1
        Property 3 "image""sky.png"
        Property 4 "zenith" 0 0.5 1e+09
        Property 5 "resolution" 640 -1
        Property 6 "squeeze" 2 0.33333334
      ODDS
    }
    { Channel
        Name "renderCamera"
        Type 2
      { Values
          VRUN 3 1
          VDAT 2 1 2.5
        WHAT
      }
    }
  }
  { Backdrop
    { Properties
    }
  }
  { Processing
  }
  { Object
      Name "a:Layer2"
      Filename "a.lwo"
    { Properties
    }
  }
  { Light
      Name "sun"
  }
  { Camera
      Name "eye"
  }
  { FX_Emitter
      Name "rain"
  }
  { SceneObject
      Name "a"
      Filename "a.lwo"
    { Surface
        Name "stone"
      JUNK
    }
  }
  { ChannelGroup
      Name "MC"
    { ChannelGroup
        Name "in"
      { Channel
          Name "X"
          Type 3
        { Values
        }
      }
    }
  }
  Property
  NEWS
}
)";

std::string deepGroups() {
    std::string group = chan("X", 3, run(1, 2));
    for (int i = 0; i < 4; ++i)
        group = nested("CGRP", group);
    return form(top("CGRP", group));
}

std::string dump(const std::string& bytes, int mode) {
    const Image image(bytes);
    qbIffMode = mode;
    testing::internal::CaptureStdout();
    EXPECT_EQ(qbIffReadFile(image.file()), 0);
    qbIffMode = QB_DUMP_SILENT;
    return testing::internal::GetCapturedStdout();
}

std::string readFile(const std::string& path) {
    std::stringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

struct Ran {
    int status;
    std::string output, errors;
};

// In the current directory.
Ran runTool(const std::string& arguments) {
    const int status = std::system(("'" QB_DUMPQUAB "' " + arguments + " >out 2>err").c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, readFile("out"), readFile("err")};
}

} // namespace

TEST(DumpTest, EveryKindOfChunk) {
    EXPECT_EQ(dump(everything(), QB_DUMP_LABELS), everythingLabelled);
    EXPECT_EQ(dump(everything(), QB_DUMP_SILENT), "");
    // A chunk that is skipped is printed all the same.
    qbIffSetChunkCallback(
        [](QbFile*, int, uint32_t, uint32_t, uint32_t, uint32_t) { return int{QB_CHUNK_SKIP}; });
    EXPECT_EQ(dump(everything(), QB_DUMP_LABELS), everythingLabelled);
    qbIffSetChunkCallback(nullptr);
}

TEST(DumpTest, LevelsBelowTheSixthKeepTwelveBlanks) {
    const std::string text = dump(deepGroups(), QB_DUMP_LABELS);
    EXPECT_NE(text.find("\n          { ChannelGroup\n            { Channel\n            Name \"X\"\n"
                        "            Type 3\n            { Values\n            VRUN 1 2\n            }\n"),
              std::string::npos)
        << text;
}

TEST(DumpTest, RawForm) {
    const std::string bytes =
        form(top("SCEN", name("sky") + nested("PRPS", intProp("a", 5) + nested("ODDS", ""))) +
             top("CGRP", chan("X", 3, literals({1}))) + top("NEWS", ""));
    EXPECT_EQ(dump(bytes, QB_DUMP_RAW), "FORM [110]\n"
                                        "QUAB\n"
                                        "SCEN [38]\n"
                                        "\tNAME [4] \"sky\"\n"
                                        "\tPRPS [22]\n"
                                        "\t\tPROP [10] 1 \"a\" 5\n"
                                        "\tODDS [0]\n"
                                        "CGRP [44]\n"
                                        "\tCHAN [38]\n"
                                        "\t\tNAME [2] \"X\"\n"
                                        "\t\tTYPE [4] 3\n"
                                        "\tVALS [14]\n"
                                        "\t\t\tVDAT [8] 1 1\n"
                                        "NEWS [0]\n");
    const std::string deep = dump(deepGroups(), QB_DUMP_RAW);
    EXPECT_NE(deep.find("\n\t\t\t\tCHAN [38]\n\t\t\t\t\t\tNAME [2]"), std::string::npos) << deep;
    EXPECT_NE(deep.find("\n\t\t\t\t\tVALS [14]\n\t\t\t\t\t\tVRUN [8] 1 2"), std::string::npos) << deep;
}

TEST(DumpToolTest, WrongArgumentsGiveTheUsage) {
    const TemporaryDirectory dir;
    for (const char* arguments : {"", "a.quab b.quab"}) {
        const Ran ran = runTool(arguments);
        EXPECT_EQ(ran.status, 1);
        EXPECT_EQ(ran.output, "");
        EXPECT_EQ(ran.errors, "Usage: " QB_DUMPQUAB " [> dump.dat] scene.quab\n");
    }
}

TEST(DumpToolTest, GoodAndRefusedFiles) {
    const TemporaryDirectory dir;
    const struct {
        const char* what;
        std::string bytes;
        int status;
        std::string output, errors;
    } cases[] = {
        {"good", everything(), 0, everythingLabelled, ""},
        {"no scene", "PNG", 255, "", "Not an IFF file (Missing FORM tag)"},
        {"another form", "FORM" + be32(4) + "ILBM", 255, "", "Not a QUAB scene file (Missing QUAB tag)"},
        {"wrong name", form(top("SCEN", nested("NAME", padded("sky") + "12"))), 1, "{ QUAB\n  { Scene\n",
         "Error: read_name: bytesread(4)  != nbytes expected(6)\n"},
        {"wrong file name", form(top("SCEN", nested("FNAM", ""))), 1, "{ QUAB\n  { Scene\n",
         "Error: read_fnam: bytesread(2)  != nbytes expected(0)\n"},
        {"property of type 7", form(top("BKDR", nested("PRPS", prop(7, "a", be32(1))))), 1,
         "{ QUAB\n  { Backdrop\n    { Properties\n",
         "Error: read_prop: bytesread(6)  != nbytes expected(10)\n"},
        {"other damage", form("SCEN"), 255, "{ QUAB\n",
         "a scene.quab: damaged scene file, byte 12: 4 bytes are left in QUAB, a chunk's header has 8\n"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        dir.write("a scene.quab", c.bytes);
        const Ran ran = runTool("'a scene.quab'");
        EXPECT_EQ(ran.status, c.status);
        EXPECT_EQ(ran.output, c.output);
        EXPECT_EQ(ran.errors, c.errors);
    }
    const Ran absent = runTool("absent.quab");
    EXPECT_EQ(absent.status, 255);
    EXPECT_EQ(absent.errors, "Cannot open file absent.quab");
}
