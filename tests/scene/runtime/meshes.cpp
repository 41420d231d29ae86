#include "meshes.h"

// Its eight corners all look along -Z: right for light on the front alone.
std::string boxMesh(float edge) {
    static const std::string FACES = "6;\n4;0,2,3,1;,\n4;5,7,6,4;,\n4;4,6,2,0;,\n4;1,3,7,5;,\n"
                                     "4;2,6,7,3;,\n4;4,0,1,5;;\n";
    std::string vertices;
    std::string normals;
    for (unsigned corner = 0; corner < 8; corner++) {
        const auto side = [&](unsigned bit) {
            return std::to_string((corner & bit) != 0 ? edge / 2.0F : -edge / 2.0F) + ";";
        };
        const char* end = corner == 7 ? ";\n" : ",\n";
        vertices += side(1) + side(2) + side(4) + end;
        normals += std::string("0.0;0.0;-1.0;") + end;
    }
    return "xof 0303txt 0032\nMesh box {\n8;\n" + vertices + FACES + "MeshNormals {\n8;\n" + normals + FACES +
           "}\nMeshMaterialList {\n1;\n6;\n0,\n0,\n0,\n0,\n0,\n0;\nMaterial paint {\n1.0;1.0;1.0;1.0;;\n"
           "0.0;\n0.0;0.0;0.0;;\n0.0;0.0;0.0;;\n}\n}\n}\n";
}

std::string slidingMesh() {
    const std::string identity = "1.0,0.0,0.0,0.0, 0.0,1.0,0.0,0.0, 0.0,0.0,1.0,0.0, 0.0,0.0,0.0,1.0;;\n";
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
