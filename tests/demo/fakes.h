#pragma once

#include <string>
#include <vector>

// What stands in for engine, scenes (3 objects, 2 lights and 1 emitter each), tunes and shader hooks: each
// call is written down.
struct Fakes {
    std::vector<std::string> calls; // "sceneStart 3", in order
    std::vector<int> frames;        // the clock in each pass of the loop; after the last the engine is over
    int clock = 0;                  // milliseconds
    std::string failing;            // a call that begins with this text fails
    std::string ending;             // a call that begins with this text gets the process a SIGTERM
};

extern Fakes fakes;

// Takes the calls written down until now that begin with one of these words, joined by "; ".
std::string takeCalls(const std::vector<std::string>& words = {""});
