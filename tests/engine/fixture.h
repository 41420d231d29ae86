#pragma once

#include "engine/engine.h"

#include <cstddef>
#include <cstdint>
#include <gtest/gtest.h>
#include <irrlicht/irrlicht.h>
#include <ostream>
#include <vector>

struct Pixel {
    int r, g, b;
    bool operator==(const Pixel& other) const { return r == other.r && g == other.g && b == other.b; }
};

inline std::ostream& operator<<(std::ostream& out, const Pixel& pixel) {
    return out << pixel.r << ' ' << pixel.g << ' ' << pixel.b;
}

// A finished frame, rows from the top.
struct Picture {
    int width = 0, height = 0;
    std::vector<uint8_t> rgb;

    Pixel at(int x, int y) const {
        const uint8_t* p =
            &rgb.at((static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x)) * 3);
        return {p[0], p[1], p[2]};
    }
    // Pixels of this colour in the rectangle from (left, top) up to but not at (right, bottom).
    int count(const Pixel& color, int left, int top, int right, int bottom) const {
        int found = 0;
        for (int y = top; y < bottom; ++y)
            for (int x = left; x < right; ++x)
                found += at(x, y) == color ? 1 : 0;
        return found;
    }
    int count(const Pixel& color) const { return count(color, 0, 0, width, height); }
};

// Opens and closes one device for each test, and keeps the frame that was drawn last.
class EngineTest : public testing::Test {
protected:
    void SetUp() override {
        frames = 0;
        qbEngineSetFrameHook(takePicture);
        ASSERT_EQ(qbEngineOpen(&setup), 0);
    }
    void TearDown() override {
        qbEngineSetFrameHook(nullptr);
        qbEngineSetTimeSource(nullptr);
        qbEngineSetRenderer(nullptr);
        qbEngineClose();
    }

    static const Picture& draw() {
        qbEngineDrawFrame();
        return picture;
    }

    // Red pixels (200, 0, 0) as a file.
    static void writePicture(const char* name, int width, int height) {
        irr::video::IVideoDriver* driver = qbEngineGet()->driver;
        const irr::core::dimension2du size(static_cast<unsigned>(width), static_cast<unsigned>(height));
        irr::video::IImage* image = driver->createImage(irr::video::ECF_R8G8B8, size);
        image->fill(irr::video::SColor(255, 200, 0, 0));
        driver->writeImageToFile(image, name);
        image->drop();
    }

    // A clock that tests turn by hand.
    static int steppedTime() { return now; }

    QbSetup setup;
    static inline Picture picture;
    static inline int frames = 0; // since the device was opened
    static inline int now = 0;    // milliseconds

private:
    static void takePicture() {
        ++frames;
        qbEngineFrameSize(&picture.width, &picture.height);
        picture.rgb.resize(static_cast<size_t>(picture.width) * static_cast<size_t>(picture.height) * 3);
        ASSERT_EQ(qbEngineReadPixels(picture.rgb.data(), static_cast<uint32_t>(picture.rgb.size()),
                                     &picture.width, &picture.height),
                  0);
    }
};
