#pragma once

#include "demo/demo.h"

#include <span>

// The filled places of the demo's tables.

inline std::span<QbDemoPart> qbDemoParts(QbDemo* demo) {
    return {demo->parts, static_cast<size_t>(demo->partCount)};
}

inline std::span<QbDemoExtra> qbDemoExtras(QbDemoPart& part) {
    return {part.extras, static_cast<size_t>(part.extraCount)};
}

inline std::span<QbDemoShader> qbDemoShaders(QbDemoPart& part) {
    return {part.shaders, static_cast<size_t>(part.shaderCount)};
}

inline std::span<QbDemoFader> qbDemoFaders(QbDemoPart& part) {
    return {part.faders, static_cast<size_t>(part.faderCount)};
}
