#pragma once

#include "fake_scene.h"
#include "stage.h"

// The stage for scenes made of plain values; each that was opened must be closed in the end.
class FakeStage : public Stage {
protected:
    void TearDown() override {
        Stage::TearDown();
        EXPECT_EQ(fakeOpenScenes, 0);
        fakeReset();
    }
};
