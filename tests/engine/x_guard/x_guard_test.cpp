#include "engine/x_guard.h"

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <initializer_list>
#include <memory>
#include <vector>

// What damage does to the engine's reader behind the guard is for the fuzz target of meshes to find.

namespace {

const std::string TEXT = "xof 0303txt 0032\n";
const std::string BINARY = "xof 0303bin 0032";
const std::string UNIT = "1,0,0,0,0,1,0,0,0,0,1,0,0,0,0,1;;";
const std::string PAINT = "Material { 1;1;1;1;; 0; 0;0;0;; 0;0;0;; }";

// Three vertices and one face, in lines 2 to 7; `parts` begin in line 8.
std::string mesh(const std::string& parts) {
    return TEXT + "Mesh t {\n3;\n0;0;0;,\n0;1;0;,\n1;0;0;;\n1;3;0,1,2;;\n" + parts + "}\n";
}
std::string animation(const std::string& key) {
    return mesh("") + "AnimationSet { Animation { { t } AnimationKey { " + key + " } } }\n";
}
std::string repeat(const std::string& text, int count) {
    std::string all;
    for (int i = 0; i < count; i++)
        all += text;
    return all;
}

std::string number(uint64_t value, int bytes) {
    std::string text;
    for (int i = 0; i < bytes; i++)
        text += static_cast<char>(value >> (8 * i));
    return text;
}
std::string name(const std::string& text) {
    return number(1, 2) + number(text.size(), 4) + text;
}
std::string ints(std::vector<uint32_t> values) {
    const std::string bytes(reinterpret_cast<const char*>(values.data()), values.size() * 4);
    return number(6, 2) + number(values.size(), 4) + bytes;
}
template <class Float = float>
std::string floats(std::vector<Float> values) {
    const std::string bytes(reinterpret_cast<const char*>(values.data()), values.size() * sizeof(Float));
    return number(7, 2) + number(values.size(), 4) + bytes;
}
const std::string OPEN = number(0x0a, 2);
const std::string CLOSE = number(0x0b, 2);

template <class Float = float>
std::string binaryMesh(const std::string& parts, Float first = 0) {
    return name("Mesh") + OPEN + ints({3}) + floats<Float>({first, 0, 0, 0, 1, 0, 1, 0, 0}) +
           ints({1, 3, 0, 1, 2}) + parts + CLOSE;
}

struct Case {
    std::string bytes;
    const char* message; // between the file's name and the advice
};

void expectRefused(std::initializer_list<Case> cases) {
    for (const auto& [bytes, message] : cases) {
        const QbXVerdict verdict = qbXGuardCheck(bytes, "m.x");
        EXPECT_EQ(verdict.message, std::string("m.x") + message + "; save the mesh again as .x");
        EXPECT_FALSE(verdict.cut) << message;
    }
}

} // namespace

TEST(XGuard, RefusesDamagedMeshes) {
    expectRefused({
        {TEXT + "Frame f { }", " holds no Mesh"},
        {TEXT + "Mesh { 4; 0;0;0;, 1;1;1;; 1; 3;0,1,2;; }",
         ", line 2, in Mesh: a number is missing: a count before it is too large"},
        {TEXT + "Mesh { 4294967296; }", ", line 2, in Mesh: this is no whole number from 0 to 4294967295"},
        {TEXT + "Mesh { 1; 0;1e39;0;; 0;; }", ", line 2, in Mesh: this number is not finite"},
        {TEXT + "Mesh { 1; 0;0;0." + repeat("7", 39) + ";; 0;; }",
         ", line 2, in Mesh: this number has more than 38 digits"},
        {TEXT + "Mesh t { 3; 0;0;0;, 0;0;0;, 0;0;0;; 1;\n3;0,1,3;; }",
         ", line 3, in Mesh \"t\": a face has vertex 3, but the mesh has 3 vertices, from 0"},
        {mesh("MeshNormals { 1; 0;0;1;; 1; 3;0,1,0;; }"),
         ", line 8, in MeshNormals: a face has normal 1, but there are 1 normals, from 0"},
        {mesh("MeshVertexColors { 1; 3;1;1;1;1;;; }"),
         ", line 8, in MeshVertexColors: a colour for vertex 3, but the mesh has 3 vertices, from 0"},
        {mesh("\nMeshMaterialList { 1; 1; 1; " + PAINT + " }"),
         ", line 9, in Mesh \"t\": face 0 has material 1, but the list has 1, from 0"},
        {mesh("FVFData { 258; 5; 0,0,0,0,0; }"), ", line 8, in FVFData: 5 words are too few for 3 vertices"},
        {mesh("SkinWeights { \"b\"; 1; 3; 1.0; " + UNIT + " }"),
         ", line 8, in SkinWeights \"b\": a weight for vertex 3, but the mesh has 3 vertices, from 0"},
        {TEXT + "Mesh { 1; 0;0;0;; 0;; SkinWeights { \"b\"; 1; 0; 1.0; " + UNIT + " } }",
         ", line 2, in Mesh: SkinWeights in a mesh without faces"},
        {TEXT + "Mesh { 4; 0;0;0;, 0;0;0;, 0;0;0;, 0;0;0;; 1; 3;0,1,2;; MeshMaterialList { 2; 1; 1; " +
             PAINT + PAINT + " } SkinWeights { \"b\"; 1; 3; 1.0; " + UNIT + " } }",
         ", line 2: SkinWeights name vertices of no face, and no face has the first material"},
        {mesh("3;0,1,2;;"), ", line 8, in Mesh \"t\": more data than the counts say"},
    });
}

TEST(XGuard, RefusesDamagedFramesAnimationsAndTokens) {
    // Each frame stands twice in the one before it: 2^20 ways lead to the last one.
    std::string pairs;
    for (int i = 0; i < 20; i++)
        pairs += repeat("Frame f" + std::to_string(i) + " { Frame f" + std::to_string(i + 1) + " { } }\n", 2);
    expectRefused({
        {TEXT + "Frame f { FrameTransformMatrix { 1e40," + UNIT + " } }",
         ", line 2, in FrameTransformMatrix: this number is not finite"},
        {animation("0; 1; 0;3;1,0,0;;;"),
         ", line 9, in AnimationKey: a key of this type has 4 numbers, not 3"},
        {animation("2; 1; 1000000001;3;1,0,0;;;"),
         ", line 9, in AnimationKey: the time 1000000001 is too large: at most 1000000000"},
        {mesh("") + "Frame a { Frame b { Frame a { } } }\n",
         ", line 9, in Frame \"a\": it stands inside a frame of its own name"},
        {mesh("") + pairs, ", line 48: frames of the same names repeat each other"},
        {BINARY + binaryMesh("") + number(0x63, 2), ", byte 108: 99 is no kind of token"},
        {BINARY + name("Mesh") + OPEN + ints({0, 0, 7}) + CLOSE,
         ", byte 42, in Mesh: a list holds 1 numbers more than the counts say"},
        {BINARY + name("Mesh") + OPEN + ints({1, 0, 0, 0}),
         ", byte 38, in Mesh: floats are missing: a count before them is wrong"},
        {BINARY + binaryMesh("", INFINITY), ", byte 44, in Mesh: this number is not finite"},
    });
}

TEST(XGuard, TellsWhereAFileIsCut) {
    static const char ADVICE[] = ": the file ends here; copy the file again or save the mesh again as .x";
    const std::pair<std::string, const char*> cases[] = {
        {TEXT + "Mesh a\x01" + std::string(60, 'b') + " {\n1;\n0.0;0.0;0.",
         ", line 4, in Mesh \"a?bbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbb\""},
        {TEXT + "Odd thing /", ", line 2"},
        {BINARY + "\1", ", byte 17"},
        {BINARY + name("Mesh") + name("long") + OPEN + number(6, 2) + number(0xffffffff, 4),
         ", byte 44, in Mesh \"long\""},
        {BINARY + number(2, 2) + number(0xffffffff, 4), ", byte 22"},
    };
    for (const auto& [bytes, place] : cases)
        EXPECT_EQ(qbXGuardCheck(bytes, "m.x").message, std::string("m.x") + place + ADVICE);
    const std::string sound = BINARY + binaryMesh(name("MeshNormals") + OPEN + ints({0, 0}) + CLOSE);
    for (size_t size = BINARY.size() + 1; size < sound.size(); size++)
        EXPECT_TRUE(qbXGuardCheck(std::string(sound, 0, size), "m.x").cut) << size;
}

TEST(XGuard, PassesWhatTheEngineReads) {
    const std::string bone = "SkinWeights { \"b\"; 1; 0; 0.0; " + UNIT + " }";
    const std::string cases[] = {
        "xof 0303txt 0032 a company {\n// Mesh {\n# }\nMesh{0;//3\n;#4\n0;;}",
        TEXT + "Mesh { 2; -.5; +3.; 1e-3;, 1E+2;-0; 0.5e38;; 0;; }",
        TEXT + "template Mesh {\n <3D82AB44>\n DWORD n;\n [...]\n}\n" + mesh("").substr(17),
        mesh("VertexDuplicationIndices { 3; 3; 0,1,2; }\nOdd { a { 1; } \"{\" } }"),
        TEXT + "Material brass {" + PAINT.substr(10) +
            mesh("MeshMaterialList { 1; 1; 0; { brass } }").substr(17),
        mesh("DeclData { 1; 2;0;3;0; 9; 0,0,0,0,0,0,0,0,0; } FVFData { 258; 6; 0,0,0,0,0,0; }"),
        mesh(bone) + "Frame b { }\nFrame b { Frame c { } Frame c { } }",
        animation("4; 1; 0;16;" + UNIT + ";"),
        BINARY + name("Mesh") + OPEN + number(3, 2) + number(0, 4) + number(3, 2) + number(0, 4) + CLOSE,
        "xof 0303bin 0064" + binaryMesh<double>(""),
        BINARY + binaryMesh(name("MeshNormals") + OPEN + ints({1}) + floats<float>({NAN, 0, 0}) + ints({0}) +
                            CLOSE),
    };
    for (const std::string& bytes : cases) {
        const QbXVerdict verdict = qbXGuardCheck(bytes + std::string("\0\r\n\x1a", 4), "m.x");
        EXPECT_EQ(verdict.message, "") << bytes;
        EXPECT_EQ(verdict.size, bytes.find_last_not_of('\n') + 1) << bytes;
    }
}

TEST(XGuard, HasLimits) {
    const auto depth = [](int frames) { return mesh("") + repeat("Frame {", frames) + repeat("}", frames); };
    const auto frames = [](int count) { return mesh("") + repeat("Frame {}", count); };
    const auto materials = [](int count) {
        return mesh("MeshMaterialList { 1; 1; 0; " + repeat(PAINT, count) + " }");
    };
    // Frames that hang on each other by name, none of them inside more than one brace.
    const auto chain = [](int joints) {
        std::string text = mesh("");
        for (int i = 1; i < joints; i++)
            text += "Frame f" + std::to_string(i) + " { Frame f" + std::to_string(i + 1) + " {} }";
        return text;
    };
    // The engine's reader moves all three indices of each square once more for each square.
    const auto squares = [](int count) {
        return TEXT + "Mesh { 4; 0;0;0;, 0;0;0;, 0;0;0;, 0;0;0;; " + std::to_string(count) + "; " +
               repeat("4;0,1,2,3;,", count - 1) + "4;0,1,2,3;; }";
    };
    const auto lists = [](const char* kind, int count) {
        return mesh(repeat(kind + std::string(" { 0; 0; }"), count));
    };
    for (const std::string& sound : {depth(256), chain(256), frames(10000), materials(10000), squares(65000),
                                     lists("MeshMaterialList", 8), lists("FVFData", 8)})
        EXPECT_EQ(qbXGuardCheck(sound, "m.x").message, "");
    expectRefused({
        {depth(257), ", line 9, in Frame: more than 256 frames inside each other"},
        {chain(257), ", line 9: more than 256 frames inside each other"},
        {frames(10001), ", line 9, in Frame: more than 10000 frames and bones"},
        {materials(10001), ", line 8, in MeshMaterialList: more than 10000 materials"},
        {lists("MeshMaterialList", 9), ", line 8, in MeshMaterialList: more than 8 of them in a mesh"},
        {lists("FVFData", 9), ", line 8, in FVFData: more than 8 DeclData and FVFData in a mesh"},
        {squares(70000), ", line 2, in Mesh: the engine would take too long to read it: too many faces have "
                         "more than 3 corners; make triangles"},
        {TEXT + std::string(1'000'000, 'w') + " { }",
         ", line 2: the engine would take too long to read it: a word of the text is too long"},
    });
    const std::unique_ptr<char, void (*)(void*)> huge(static_cast<char*>(calloc(QB_X_FILE_MAX + 1, 1)), free);
    memcpy(huge.get(), BINARY.data(), BINARY.size());
    EXPECT_EQ(qbXGuardCheck({huge.get(), QB_X_FILE_MAX + 1}, "m.x").message,
              "m.x is larger than 256 MiB; divide the mesh");
}
