#pragma once

#include "scene/format/tables.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

// What holds for the scenes of every show: the files that they name are there, and their lights stay in
// range.
class SceneCheck {
public:
    explicit SceneCheck(const std::filesystem::path& path)
        : path_(path), scene_(qbSceneOpen(path.c_str()), qbSceneClose) {
        EXPECT_TRUE(scene_) << path;
        if (!scene_) return;
        for (int32_t i = 0; i < objects(); i++)
            checkObject(i);
        for (int32_t i = 0; i < scene_->emitterInfo->count(scene_.get()); i++)
            expectFile(scene_->emitterInfo->hyperVoxelImage(scene_.get(), i));
        checkLights();
    }
    QbSceneHandle* scene() const { return scene_.get(); }
    int32_t objects() const { return scene_ ? scene_->objectInfo->count(scene_.get()) : 0; }

private:
    void expectFile(const char* name) const {
        EXPECT_TRUE(!name || std::filesystem::exists(path_.parent_path() / name))
            << path_ << " names " << name;
    }
    // A terrain stands for the files beside its name.
    void expectMesh(const std::string& name) const {
        const std::string base = name.substr(0, name.find(".layer"));
        if (base.find(".terrain") == std::string::npos) return expectFile(name.c_str());
        const auto is = [&](const char* end) {
            return std::filesystem::exists(path_.parent_path() / (base + end));
        };
        EXPECT_TRUE((is("_height.raw") || is("_height.bmp")) && is("_texture.jpg") && is("_details.jpg"))
            << name;
    }
    void checkObject(int32_t i) const {
        expectMesh(scene_->objectInfo->meshFileName(scene_.get(), i));
        std::vector<QbSurfaceValues> surfaces(
            static_cast<size_t>(scene_->objectInfo->surfaceCount(scene_.get(), i)));
        scene_->objectInfo->surfaces(scene_.get(), i, surfaces.data(), static_cast<int32_t>(surfaces.size()),
                                     0);
        for (const QbSurfaceValues& surface : surfaces) {
            if (surface.hasShader) expectFile(surface.shader.shaderName);
            for (const QbSurfaceParamValue& param : surface.params)
                expectFile(param.textureImage);
        }
    }
    // A light's colour times its intensity is kept in one byte a channel: above 1 it would wrap round.
    void checkLights() const {
        const QbLightInfo& lights = *scene_->lightInfo;
        for (int32_t i = 0; i < lights.count(scene_.get()); i++)
            for (float time = 0; time <= 16000; time += 125) {
                float color[3];
                lights.color(color, scene_.get(), i, time);
                for (const float channel : color)
                    EXPECT_LE(channel * lights.intensity(scene_.get(), i, time), 1.0f) << path_ << ' ' << i;
            }
    }

    std::filesystem::path path_;
    std::unique_ptr<QbSceneHandle, decltype(&qbSceneClose)> scene_;
};
