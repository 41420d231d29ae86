#pragma once

#include "engine/engine.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <gtest/gtest.h>
#include <irrlicht/irrlicht.h>
#include <vector>

using Pixel = std::array<int, 3>; // red, green, blue

// A finished frame, rows from the top.
struct Picture {
    int width = 0, height = 0;
    std::vector<uint8_t> rgb;

    Pixel at(int x, int y) const {
        const uint8_t* p = &rgb.at(static_cast<size_t>((y * width + x) * 3));
        return {p[0], p[1], p[2]};
    }
    // Pixels of this colour in the rectangle from (left, top) up to but not at (right, bottom).
    int count(const Pixel& color, int left = 0, int top = 0, int right = 640, int bottom = 480) const {
        int found = 0;
        for (int y = top; y < bottom; ++y)
            for (int x = left; x < right; ++x)
                found += at(x, y) == color ? 1 : 0;
        return found;
    }
};

// Opens and closes one device for each test, and keeps the frame that was drawn last.
class EngineTest : public testing::Test {
protected:
    void SetUp() override {
        frames = now = 0;
        qbEngineSetFrameHook(takePicture);
        ASSERT_EQ(qbEngineOpen(&setup), 0);
    }
    void TearDown() override {
        qbEngineSetTimeSource(nullptr);
        qbEngineClose();
        qbEngineSetRenderer(nullptr);
    }
    static const Picture& draw() {
        qbEngineDrawFrame();
        return picture;
    }
    // Red pixels (200, 0, 0) as a file.
    static void writePicture(const char* name, unsigned width, unsigned height) {
        irr::video::IImage* image =
            qbEngineGet()->driver->createImage(irr::video::ECF_R8G8B8, {width, height});
        image->fill(irr::video::SColor(255, 200, 0, 0));
        qbEngineGet()->driver->writeImageToFile(image, name);
        image->drop();
    }
    static int steppedTime() { return now; } // a clock that tests turn by hand

    QbSetup setup;
    static inline Picture picture;
    static inline int frames = 0; // since the device was opened
    static inline int now = 0;    // milliseconds

private:
    static void takePicture() {
        ++frames;
        qbEngineFrameSize(&picture.width, &picture.height);
        picture.rgb.resize(static_cast<size_t>(picture.width * picture.height * 3));
        const auto capacity = static_cast<uint32_t>(picture.rgb.size());
        ASSERT_EQ(qbEngineReadPixels(picture.rgb.data(), capacity, &picture.width, &picture.height), 0);
    }
};
