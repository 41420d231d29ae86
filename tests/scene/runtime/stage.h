#pragma once

#include "support/messages.h"
#include "support/temporary_directory.h"

#include <gtest/gtest.h>
#include <irrlicht/irrlicht.h>

// An engine without window or picture, in an empty current directory of its own, with the messages caught.
class Stage : public testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    // Nodes in the scene graph, cameras and all.
    unsigned nodes() const;

    irr::scene::ISceneManager* smgr = nullptr;
    irr::scene::ICameraSceneNode* camera = nullptr;
    irr::scene::ISceneNode* holder = nullptr;
    TemporaryDirectory directory;
    Messages sink;
    std::vector<std::string>& messages = Messages::texts();

private:
    irr::IrrlichtDevice* device = nullptr;
};
