#include "scene/format/dump.h"

#include "scene/format/container/chunks.h"
#include "support/files.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <sys/wait.h>

namespace {

constexpr const char* EVERYTHING = R"({ QUAB
  NONE
  { Scene
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
  }
  { Object
      Name "a:Layer2"
      Filename "a.lwo"
  }
  { SceneObject
      Filename "a.lwo"
    { Surface
        Name "stone"
      JUNK
      Values
    }
  }
  { ChannelGroup
      Name "Quab.World:a:Layer2"
    { Channel
        Name "Scale.X"
        Type 3
      { Values
          VRUN 3 1
          VDAT 2 1 2.5
          VRUN 4 7
        WHAT
      }
    }
    { ChannelGroup
        Name "in"
      { ChannelGroup
        { Channel
            Name "X"
            Type 2
          { Values
            VRUN 8 2
          }
        }
      }
    }
  }
  Property
  NEWS
}
)";

std::string dump(const std::string& bytes, int mode) {
    qbIffMode = mode;
    testing::internal::CaptureStdout();
    EXPECT_EQ(qbIffReadFile(Image(bytes).file()), 0);
    qbIffMode = QB_DUMP_SILENT;
    return testing::internal::GetCapturedStdout();
}

TEST(DumpTest, LabelsChunksAndTheirValues) {
    EXPECT_EQ(dump(everything(), QB_DUMP_LABELS), EVERYTHING);
    EXPECT_EQ(dump(everything(), QB_DUMP_SILENT), "");
    EXPECT_EQ(
        dump(form(top("BKDR", "") + top("PROC", "") + top("LIGH", "") + top("CAME", "") + top("FXEM", "")),
             QB_DUMP_LABELS),
        "{ QUAB\n  { Backdrop\n  }\n  { Processing\n  }\n  { Light\n  }\n  { Camera\n  }\n"
        "  { FX_Emitter\n  }\n}\n");
}

// The program, in a process of its own: what it prints, and its exit status.
TEST(DumpToolTest, ReportsByTextAndStatus) {
    const TemporaryDirectory dir;
    dir.write("a scene.quab", everything());
    dir.write("other.quab", "PNG");
    dir.write("name.quab", form(top("SCEN", nested("NAME", padded("sky") + "12"))));
    const std::string usage = "Usage: " QB_DUMPQUAB " [> dump.dat] scene.quab\n";
    const struct {
        const char* arguments;
        int status;
        std::string output, errors;
    } CASES[] = {
        {"", 1, "", usage},
        {"a.quab b.quab", 1, "", usage},
        {"absent.quab", 255, "", "Cannot open file absent.quab"},
        {"'a scene.quab'", 0, EVERYTHING, ""},
        {"other.quab", 255, "", "Not an IFF file (Missing FORM tag)"},
        {"name.quab", 1, "{ QUAB\n  { Scene\n",
         "Error: read_name: bytesread(4)  != nbytes expected(6)\n"
         "name.quab: damaged scene file, byte 20: export it again\n"},
    };
    for (const auto& c : CASES) {
        SCOPED_TRACE(c.arguments);
        const std::string command = std::string("'" QB_DUMPQUAB "' ") + c.arguments + " >out 2>err";
        EXPECT_EQ(WEXITSTATUS(std::system(command.c_str())), c.status);
        EXPECT_EQ(readFile("out"), c.output);
        EXPECT_EQ(readFile("err"), c.errors);
    }
}

} // namespace
