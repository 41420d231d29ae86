#pragma once

#include "engine/gpu_program.h"
#include "materials/shader_file.h"

#include <array>
#include <irrlicht/irrlicht.h>
#include <string>
#include <vector>

// Sends the variables of a shader's record at each draw: plain values from the record, automatic ones worked
// out from camera, lights and surface of that draw. docs/shader-annotations.md lists them. Irrlicht holds it
// with the material type, which all records of one text share: the number in MaterialTypeParam2 says whose
// values a draw takes.
class MyShaderCallBack : public irr::video::IShaderConstantSetCallBack {
public:
    // `key` stands for the text. One that is not shared has one record at a time.
    MyShaderCallBack(std::string key, bool isShared);
    ~MyShaderCallBack() override;
    // The callback of a text that has a material type and takes one more record; null without one.
    static MyShaderCallBack* find(const std::string& key);
    // The type and program of its records, from now on its own.
    void start(int materialType, QbGpuProgramPtr program);
    // Owns the record from here on: it goes with the material type, or by release. Numbers it and tells it
    // type and program.
    void adopt(QbIrrShader* shader);
    static void release(QbIrrShader* shader);
    static int recordCount(); // of all callbacks
    // Writes whose values the material's draws take.
    static void choose(const QbIrrShader* shader, irr::video::SMaterial* material);
    void OnSetMaterial(const irr::video::SMaterial& material) override;
    void OnSetConstants(irr::video::IMaterialRendererServices* services, irr::s32 userData) override;

private:
    struct Target {
        int vertex = -1, pixel = -1; // constants of the program
    };
    void findTargets();
    const QbIrrShader& recordOfDraw() const;
    void bindCubeMaps(const QbIrrShader& shader);
    void sendHighLevel(const QbIrrShader& shader, irr::video::IMaterialRendererServices* services);

    std::string key_;
    bool isShared_;
    int materialType_ = -1;
    QbGpuProgramPtr program_;           // null until started
    std::vector<QbIrrShader*> records_; // of one text, so of the same variables
    bool targetsFound_ = false;
    std::array<Target, QB_SHADER_VARIABLES_MAX> targets_;
};
