#pragma once

#include "engine/hlsl.h"

#include <gtest/gtest.h>
#include <string>
#include <string_view>

// Both programs from one text, with the entry points "vertexMain" and "pixelMain".
inline QbHlslSource sourceOf(std::string_view text) {
    QbHlslSource source;
    source.file = "test.hlsl";
    source.vertexText = source.pixelText = text;
    source.vertexMain = "vertexMain";
    source.pixelMain = "pixelMain";
    return source;
}

inline std::string errorsOf(const QbHlslProgram& program) {
    std::string text;
    for (const QbHlslError& error : program.errors)
        text += qbHlslErrorText(error) + "\n";
    return text;
}

inline QbHlslProgram translated(std::string_view text) {
    QbHlslProgram program;
    EXPECT_EQ(qbHlslTranslate(sourceOf(text), &program), 0) << errorsOf(program);
    return program;
}

// With a vertex program that passes one coordinate set on.
inline std::string withPlainVertex(const std::string& text) {
    return text + "\nvoid vertexMain(float4 p : POSITION, float2 t : TEXCOORD0, "
                  "out float4 o : POSITION, out float2 uv : TEXCOORD0) { o = p; uv = t; }\n";
}
