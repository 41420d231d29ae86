#pragma once

#include "scene/export/quab_writer.h"
#include "scene/format/tables.h"
#include "support/temporary_directory.h"

#include <gtest/gtest.h>

// A scene filled by the test, written to a file and opened.
struct OpenedScene {
    TemporaryDirectory directory;
    QbExportScene scene;
    QbSceneHandle* h = nullptr;

    OpenedScene() = default;
    OpenedScene(const OpenedScene&) = delete;
    OpenedScene& operator=(const OpenedScene&) = delete;
    ~OpenedScene() { qbSceneClose(h); }
    void open(const char* name = "a.quab") {
        std::string error;
        ASSERT_EQ(qbSceneExportSave(scene, name, error), 0) << error;
        qbSceneClose(h);
        h = qbSceneOpen(name);
        ASSERT_NE(h, nullptr);
    }
};
