// Builds the show's scenes, meshes and script: dusk_scenes <directory of the show>.

#include "script.h"
#include "shots.h"

#include <cstdio>

namespace {

constexpr std::string_view script =
    R"(; Dusk: a show of 28 seconds. Times are milliseconds.

[setup]
musicdirectory=music

; 0 s: the valley
[part.1]
time=0
timereset=1
music=dusk.mp3
directory=valley
filename=valley.quab
camerarange=4 4600
flushobjects=1
fader.1.time=0
fader.1.length=3000
fader.1.fadelength=3000
fader.1.color=0x060A1C
fader.1.fadein=1
fader.2.time=15000
fader.2.length=1500
fader.2.fadelength=1000
fader.2.color=0x060A1C
extra.1.directory=title
extra.1.filename=title.quab
extra.1.time=2500
extra.1.length=5000

; 16 s: the crater
[part.2]
time=16000
timereset=1
directory=crater
filename=crater.quab
camerarange=8 6500
flushobjects=1
fader.1.time=0
fader.1.length=1500
fader.1.fadelength=1500
fader.1.color=0x060A1C
fader.1.fadein=1
fader.2.time=9000
fader.2.length=4000
fader.2.fadelength=3000
fader.2.color=0x000000

; 28 s: where the show ends
[part.3]
time=12000
)";

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fputs("usage: dusk_scenes <directory of the show>\n", stderr);
        return 1;
    }
    const std::string directory = argv[1];
    makeValley(directory + "/valley");
    makeCrater(directory + "/crater");
    makeTitle(directory + "/title");
    return saveScript(directory + "/dusk.demo.ini", script, "dusk_scenes") == 0 ? 0 : 1;
}
