#pragma once

#include "engine/gpu_program.h"
#include "materials/shader_file.h"

#include <array>
#include <irrlicht/irrlicht.h>

// Sends the variables of a shader's record at each draw: plain values from the record, automatic ones worked
// out from camera, lights and surface of that draw. docs/shader-annotations.md lists them. Irrlicht holds it
// with the material type.
class MyShaderCallBack : public irr::video::IShaderConstantSetCallBack {
public:
    // Reads the record, and owns nothing until it adopts.
    explicit MyShaderCallBack(QbIrrShader* shader);
    ~MyShaderCallBack() override;
    // From here on owns both: they go with the material type.
    void adopt(QbIrrShader* shader, QbGpuProgramPtr program);
    void OnSetMaterial(const irr::video::SMaterial& material) override;
    void OnSetConstants(irr::video::IMaterialRendererServices* services, irr::s32 userData) override;

private:
    struct Target {
        int vertex = -1, pixel = -1; // constants of the program
    };
    void findTargets();
    void sendHighLevel(irr::video::IMaterialRendererServices* services);
    void sendAssembly(irr::video::IMaterialRendererServices* services);

    QbIrrShader* shader_;
    QbGpuProgramPtr program_; // null until adopted
    bool targetsFound_ = false;
    std::array<Target, QB_SHADER_VARIABLES_MAX> targets_;
};
