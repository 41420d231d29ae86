#include "meshes.h"

#include <cstdio>

static const char IDENTITY[] = "1.0,0.0,0.0,0.0, 0.0,1.0,0.0,0.0, 0.0,0.0,1.0,0.0, 0.0,0.0,0.0,1.0;;\n";

static std::string point(float x, float y, float z, const char* end) {
    char text[96];
    snprintf(text, sizeof text, "%f;%f;%f;%s\n", static_cast<double>(x), static_cast<double>(y),
             static_cast<double>(z), end);
    return text;
}

std::string boxMesh(float edge, const std::string& diffuse) {
    // For each face its normal and the two directions that turn clockwise when seen from outside.
    static const float FACES[6][3][3] = {
        {{0, 0, -1}, {0, 1, 0}, {1, 0, 0}}, {{0, 0, 1}, {0, 1, 0}, {-1, 0, 0}},
        {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}},  {{-1, 0, 0}, {0, 1, 0}, {0, 0, -1}},
        {{0, 1, 0}, {0, 0, 1}, {1, 0, 0}},  {{0, -1, 0}, {0, 0, -1}, {1, 0, 0}},
    };
    static const float CORNERS[4][2] = {{-1, -1}, {1, -1}, {1, 1}, {-1, 1}};
    const float h = edge / 2.0F;
    std::string vertices;
    std::string normals;
    std::string faces;
    for (int f = 0; f < 6; f++) {
        const auto& [n, up, right] = FACES[f];
        for (int c = 0; c < 4; c++) {
            const float u = CORNERS[c][0];
            const float r = CORNERS[c][1];
            const char* end = f == 5 && c == 3 ? ";" : ",";
            vertices += point(h * (n[0] + u * up[0] + r * right[0]), h * (n[1] + u * up[1] + r * right[1]),
                              h * (n[2] + u * up[2] + r * right[2]), end);
            normals += point(n[0], n[1], n[2], end);
        }
        char face[64];
        snprintf(face, sizeof face, "4;%d,%d,%d,%d;%s\n", f * 4, f * 4 + 1, f * 4 + 2, f * 4 + 3,
                 f == 5 ? ";" : ",");
        faces += face;
    }
    return "xof 0303txt 0032\nMesh box {\n24;\n" + vertices + "6;\n" + faces + "MeshNormals {\n24;\n" +
           normals + "6;\n" + faces +
           "}\nMeshMaterialList {\n1;\n6;\n0,\n0,\n0,\n0,\n0,\n0;\nMaterial paint {\n" + diffuse +
           ";1.0;;\n0.0;\n0.0;0.0;0.0;;\n0.0;0.0;0.0;;\n}\n}\n}\n";
}

std::string slidingMesh() {
    const std::string identity = IDENTITY;
    return "xof 0303txt 0032\n"
           "Frame Root {\nFrameTransformMatrix {\n" +
           identity + "}\nFrame Bone {\nFrameTransformMatrix {\n" + identity +
           "}\n}\nMesh body {\n3;\n0.0;0.0;0.0;,\n0.0;1.0;0.0;,\n1.0;0.0;0.0;;\n1;\n3;0,1,2;;\n"
           "XSkinMeshHeader {\n1;\n1;\n1;\n}\n"
           "SkinWeights {\n\"Bone\";\n3;\n0,\n1,\n2;\n1.0,\n1.0,\n1.0;\n" +
           identity +
           "}\n}\n}\nAnimationSet Slide {\nAnimation {\n{ Bone }\n"
           "AnimationKey {\n2;\n2;\n0;3;0.0,0.0,0.0;;,\n10;3;10.0,0.0,0.0;;;\n}\n}\n}\n";
}
