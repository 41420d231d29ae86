// Builds the show's scenes, meshes and script: first_light_scenes <directory of the show>.

#include "script.h"
#include "shots.h"

#include <cstdio>

namespace {

// Twelve bars are 24 s: see tune.cpp. Every time below is a whole number of beats of 500 ms. A part that
// resets the clock gives as its `time` how long the part before it plays; the others count from the last
// reset.
constexpr std::string_view script =
    R"(; First Light: a show of 84 seconds. Times are milliseconds, the beat is 500.

[setup]
musicdirectory=music

; 0 s
[part.1]
time=0
timereset=1
music=first-light.mp3
directory=night
filename=spark.quab
camerarange=0.5 3000
flushobjects=1
fader.1.time=0
fader.1.length=3000
fader.1.fadelength=3000
fader.1.color=0x000000
fader.1.fadein=1
fader.2.time=11500
fader.2.length=1000
fader.2.fadelength=500
fader.2.color=0xFFE9C9
extra.1.directory=letters
extra.1.filename=one_spark.quab
extra.1.time=3000
extra.1.length=6000

; 12 s
[part.2]
time=12000
timereset=1
directory=night
filename=stones.quab
camerarange=1 4000
reuseobjects=1
fader.1.time=0
fader.1.length=1000
fader.1.fadelength=1000
fader.1.color=0xFFE9C9
fader.1.fadein=1
fader.2.time=11750
fader.2.length=1000
fader.2.fadelength=250
fader.2.color=0xFF6F61
extra.1.directory=letters
extra.1.filename=twelve_stones.quab
extra.1.time=1000
extra.1.length=6000
extra.2.directory=letters
extra.2.filename=count.quab
extra.2.time=0
extra.2.length=12000

; 24 s: the flight round the block, and its second lap in the part that follows
[part.3]
time=12000
timereset=1
directory=night
filename=city.quab
camerarange=1 1200
reuseobjects=1
fader.1.time=0
fader.1.length=500
fader.1.fadelength=500
fader.1.color=0xFF6F61
fader.1.fadein=1
extra.1.directory=letters
extra.1.filename=many_windows.quab
extra.1.time=1000
extra.1.length=6000

; 32 s: no scene, so the city goes on; no reset, so its time counts from the third part
[part.4]
time=8000
camerarange=1 1200
fader.1.time=8000
fader.1.length=500
fader.1.fadelength=500
fader.1.color=0xFFC857
fader.1.fadein=1
fader.2.time=14000
fader.2.length=500
fader.2.fadelength=500
fader.2.color=0xFF6F61
fader.2.fadein=1
fader.3.time=15000
fader.3.length=2000
fader.3.fadelength=1000
fader.3.color=0x241B5E

; 40 s, still on the clock of the third part
[part.5]
time=16000
directory=dawn
filename=swimmer.quab
camerarange=1 4000
flushobjects=1
fader.1.time=16000
fader.1.length=1500
fader.1.fadelength=1500
fader.1.color=0x241B5E
fader.1.fadein=1
fader.2.time=27000
fader.2.length=2000
fader.2.fadelength=1000
fader.2.color=0x7A3B86
extra.1.directory=letters
extra.1.filename=frame.quab
extra.1.time=16000
extra.1.length=12000
extra.2.directory=letters
extra.2.filename=deep_swimmer.quab
extra.2.time=18000
extra.2.length=6000

; 52 s
[part.6]
time=28000
timereset=1
directory=dawn
filename=sunrise.quab
camerarange=1 5000
reuseobjects=1
fader.1.time=0
fader.1.length=2000
fader.1.fadelength=2000
fader.1.color=0x7A3B86
fader.1.fadein=1
fader.2.time=11000
fader.2.length=2000
fader.2.fadelength=1000
fader.2.color=0xFFE9C9
extra.1.directory=letters
extra.1.filename=the_lake_wakes.quab
extra.1.time=2000
extra.1.length=6000

; 64 s: the second tune
[part.7]
time=12000
timereset=1
music=afterglow.mp3
directory=dawn
filename=title.quab
camerarange=1 5000
reuseobjects=1
fader.1.time=0
fader.1.length=2000
fader.1.fadelength=2000
fader.1.color=0xFFE9C9
fader.1.fadein=1
extra.1.directory=letters
extra.1.filename=title.quab
extra.1.time=500
extra.1.length=11500

; 76 s: the tune goes on, the clock too
[part.8]
time=12000
directory=dawn
filename=afterglow.quab
camerarange=1 5000
reuseobjects=1
fader.1.time=12000
fader.1.length=1000
fader.1.fadelength=1000
fader.1.color=0xFF9E4A
fader.1.fadein=1
fader.2.time=17500
fader.2.length=3000
fader.2.fadelength=2500
fader.2.color=0x0E0B2A
extra.1.directory=letters
extra.1.filename=made_with_quab.quab
extra.1.time=13000
extra.1.length=6000

; 84 s: where the show ends
[part.9]
time=20000
)";

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fputs("usage: first_light_scenes <directory of the show>\n", stderr);
        return 1;
    }
    const std::string directory = argv[1];
    makeNight(directory + "/night");
    makeDawn(directory + "/dawn");
    makeLetters(directory + "/letters");
    return saveScript(directory + "/first-light.demo.ini", script, "first_light_scenes") == 0 ? 0 : 1;
}
