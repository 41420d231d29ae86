#include "engine/x_guard.h"

#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <initializer_list>
#include <limits>
#include <memory>
#include <vector>

namespace {

const std::string TEXT = "xof 0303txt 0032\n";
const std::string BINARY = "xof 0303bin 0032";

// Three vertices and one face: lines 2 to 7 of a file that begins with them.
const std::string TRIANGLE = "Mesh t {\n3;\n0;0;0;,\n0;1;0;,\n1;0;0;;\n1;3;0,1,2;;\n";
const std::string UNIT = "1,0,0,0,0,1,0,0,0,0,1,0,0,0,0,1;;";
const std::string PAINT = "Material { 1;1;1;1;; 0; 0;0;0;; 0;0;0;; }";

std::string mesh(const std::string& parts) {
    return TEXT + TRIANGLE + parts + "}\n";
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
std::string quoted(const std::string& text) {
    return number(2, 2) + number(text.size(), 4) + text + number(0x14, 2);
}
std::string ints(std::initializer_list<uint32_t> values) {
    std::string text = number(6, 2) + number(values.size(), 4);
    for (uint32_t value : values)
        text += number(value, 4);
    return text;
}
template <class Float>
std::string floats(std::initializer_list<Float> values) {
    std::string text = number(7, 2) + number(values.size(), 4);
    for (Float value : values)
        text.append(reinterpret_cast<const char*>(&value), sizeof value);
    return text;
}
const std::string OPEN = number(0x0a, 2);
const std::string CLOSE = number(0x0b, 2);

template <class Float = float>
std::string binaryMesh(const std::string& parts, Float first = 0) {
    return name("Mesh") + OPEN + ints({3}) + floats<Float>({first, 0, 0, 0, 1, 0, 1, 0, 0}) +
           ints({1, 3, 0, 1, 2}) + parts + CLOSE;
}

struct Case {
    const char* what;
    std::string bytes;
    const char* message; // between the file's name and the advice
};

void expectRefused(std::initializer_list<Case> cases) {
    for (const Case& entry : cases) {
        const QbXVerdict verdict = qbXGuardCheck(entry.bytes, "m.x");
        EXPECT_EQ(verdict.message, std::string("m.x") + entry.message + "; save the mesh again as .x")
            << entry.what;
        EXPECT_FALSE(verdict.cut) << entry.what;
        EXPECT_EQ(verdict.size, 0U) << entry.what;
    }
}

} // namespace

TEST(XGuard, RefusesDamagedGeometry) {
    expectRefused({
        {"no mesh", TEXT + "Frame f { }", " holds no Mesh"},
        {"count above the vertices", TEXT + "Mesh { 4; 0;0;0;, 1;1;1;; 1; 3;0,1,2;; }",
         ", line 2, in Mesh: a number is missing: a count before it is too large"},
        {"count below the vertices",
         TEXT + "Mesh m {\n2;\n0.5;0.5;0.5;,\n1.5;0;0;,\n2.5;0;0;;\n1;3;0,1,1;; }",
         ", line 6, in Mesh \"m\": this is no whole number from 0 to 4294967295"},
        {"negative count", TEXT + "Mesh { -1; }",
         ", line 2, in Mesh: this is no whole number from 0 to 4294967295"},
        {"count of 33 bits", TEXT + "Mesh { 4294967296; }",
         ", line 2, in Mesh: this is no whole number from 0 to 4294967295"},
        {"vertex outside", TEXT + "Mesh t { 3; 0;0;0;, 0;0;0;, 0;0;0;; 1;\n3;0,1,3;; }",
         ", line 3, in Mesh \"t\": a face has vertex 3, but the mesh has 3 vertices, from 0"},
        {"face of two corners", TEXT + "Mesh { 1; 0;0;0;; 1; 2;0,0;; }",
         ", line 2, in Mesh: face 0 has 2 corners, not 3 to 21847"},
        {"face of too many corners", TEXT + "Mesh { 1; 0;0;0;; 1; 21848;0,0;; }",
         ", line 2, in Mesh: face 0 has 21848 corners, not 3 to 21847"},
        {"infinite position", TEXT + "Mesh { 1; 0;1e39;0;; 0;; }",
         ", line 2, in Mesh: this number is not finite"},
        {"position that is no number", TEXT + "Mesh { 1; 0;1.#QNAN;0;; 0;; }",
         ", line 2, in Mesh: this is no number"},
        {"39 digits", TEXT + "Mesh { 1; 0;0;0." + repeat("7", 39) + ";; 0;; }",
         ", line 2, in Mesh: this number has more than 38 digits"},
        {"no brace", TEXT + "Mesh a b { 0;; 0;; }", ", line 2, in Mesh \"a\": \"{\" is missing"},
        {"list longer than its count", mesh("") + "Mesh {\n0;; 0;;\n3;0,1,2;; }",
         ", line 11, in Mesh: more data than the counts say"},
    });
}

TEST(XGuard, RefusesDamagedPartsOfAMesh) {
    expectRefused({
        {"normals of a face too many", mesh("MeshNormals { 1; 0;0;1;; 2; 3;0,0,0;, 3;0,0,0;; }"),
         ", line 8, in MeshNormals: normals for 2 faces, but the mesh has 1"},
        {"normals of a square", mesh("MeshNormals { 1; 0;0;1;; 1; 4;0,0,0,0;; }"),
         ", line 8, in MeshNormals: face 0 has 4 normals, but 3 corners"},
        {"normal outside", mesh("MeshNormals { 1; 0;0;1;; 1; 3;0,1,0;; }"),
         ", line 8, in MeshNormals: a face has normal 1, but there are 1 normals, from 0"},
        {"coordinates too many", mesh("MeshTextureCoords { 4; 0;0;, 0;0;, 0;0;, 0;0;; }"),
         ", line 8, in MeshTextureCoords: coordinates for 4 vertices, but the mesh has 3"},
        {"coordinates not closed", mesh("MeshTextureCoords { 1; 0;0;;\nMeshNormals { 0;;0;; } }"),
         ", line 9, in MeshTextureCoords: \"}\" is missing: a count before it is wrong"},
        {"colour outside", mesh("MeshVertexColors { 1; 3;1;1;1;1;;; }"),
         ", line 8, in MeshVertexColors: a colour for vertex 3, but the mesh has 3 vertices, from 0"},
        {"materials of faces too many", mesh("MeshMaterialList { 1; 2; 0,0; " + PAINT + " }"),
         ", line 8, in MeshMaterialList: materials for 2 faces, but the mesh has 1"},
        {"material outside", mesh("\nMeshMaterialList { 1; 1; 1; " + PAINT + " }"),
         ", line 9, in Mesh \"t\": face 0 has material 1, but the list has 1, from 0"},
        {"material nowhere defined", mesh("MeshMaterialList { 1; 1; 1; { brass } }"),
         ", line 8, in Mesh \"t\": face 0 has material 1, but the list has 1, from 0"},
        {"many materials announced", mesh("MeshMaterialList { 10001; 1; 0; }"),
         ", line 8, in MeshMaterialList: 10001 materials: at most 10000"},
        {"file name without quotation marks",
         mesh("MeshMaterialList { 1; 1; 0; Material m { 1;1;1;1;; 0; "
              "0;0;0;; 0;0;0;; TextureFilename { wood.png; } } }"),
         ", line 8, in TextureFilename: a text in quotation marks is missing"},
        {"declaration without data", mesh("DeclData { 1; 2;0;3;0; 8; 0,0,0,0,0,0,0,0; }"),
         ", line 8, in DeclData: 8 words are too few for 3 vertices"},
        {"second coordinates without data", mesh("FVFData { 258; 5; 0,0,0,0,0; }"),
         ", line 8, in FVFData: 5 words are too few for 3 vertices"},
        {"ninth list of materials", mesh(repeat("MeshMaterialList { 0; 0; }", 9)),
         ", line 8, in MeshMaterialList: more than 8 of them in a mesh"},
        {"ninth extra data", mesh(repeat("FVFData { 0; 0; }", 9)),
         ", line 8, in FVFData: more than 8 DeclData and FVFData in a mesh"},
    });
}

TEST(XGuard, RefusesDamagedBonesAndAnimations) {
    // Each frame stands twice in the one before it: 2^20 ways lead to the last one.
    std::string pairs;
    for (int i = 0; i < 20; i++)
        pairs += repeat("Frame f" + std::to_string(i) + " { Frame f" + std::to_string(i + 1) + " { } }\n", 2);
    expectRefused({
        {"weight outside", mesh("SkinWeights { \"b\"; 1; 3; 1.0; " + UNIT + " }"),
         ", line 8, in SkinWeights \"b\": a weight for vertex 3, but the mesh has 3 vertices, from 0"},
        {"weights too few", mesh("SkinWeights { \"b\"; 2; 0,1; 1.0; " + UNIT + " }"),
         ", line 8, in SkinWeights \"b\": a number is missing: a count before it is too large"},
        {"weights without faces",
         TEXT + "Mesh { 1; 0;0;0;; 0;; SkinWeights { \"b\"; 1; 0; 1.0; " + UNIT + " } }",
         ", line 2, in Mesh: SkinWeights in a mesh without faces"},
        {"weight of a lone vertex, first material unused",
         TEXT + "Mesh { 4; 0;0;0;, 0;0;0;, 0;0;0;, 0;0;0;; 1; 3;0,1,2;; MeshMaterialList { 2; 1; 1; " +
             PAINT + PAINT + " } SkinWeights { \"b\"; 1; 3; 1.0; " + UNIT + " } }",
         ", line 2: SkinWeights name vertices of no face, and no face has the first material"},
        {"infinite matrix", TEXT + "Frame f { FrameTransformMatrix { 1e40," + UNIT + " } }",
         ", line 2, in FrameTransformMatrix: this number is not finite"},
        {"type of key", animation("5; 0;;"), ", line 9, in AnimationKey: 5 is no type of key: 0 to 4 are"},
        {"numbers of a rotation", animation("0; 1; 0;3;1,0,0;;;"),
         ", line 9, in AnimationKey: a key of this type has 4 numbers, not 3"},
        {"late key", animation("2; 1; 1000000001;3;1,0,0;;;"),
         ", line 9, in AnimationKey: the time 1000000001 is too large: at most 1000000000"},
        {"keys too many", animation("2; 1; 0;3;1,0,0;;, 1;3;1,0,0;;;"),
         ", line 9, in AnimationKey: \"}\" is missing: a count before it is wrong"},
        {"frame in itself", mesh("") + "Frame a { Frame b { Frame a { } } }\n",
         ", line 9, in Frame \"a\": it stands inside a frame of its own name"},
        {"frames that repeat each other", mesh("") + pairs,
         ", line 48: frames of the same names repeat each other"},
    });
}

TEST(XGuard, RefusesDamagedTokens) {
    const float infinite = std::numeric_limits<float>::infinity();
    expectRefused({
        {"unknown kind", BINARY + binaryMesh("") + number(0x63, 2), ", byte 108: 99 is no kind of token"},
        {"empty name", BINARY + name(""), ", byte 16: a name is empty"},
        {"list longer than its count", BINARY + name("Mesh") + OPEN + ints({0, 0, 7}) + CLOSE,
         ", byte 42, in Mesh: a list holds 1 numbers more than the counts say"},
        {"integers for floats", BINARY + name("Mesh") + OPEN + ints({1, 0, 0, 0}),
         ", byte 38, in Mesh: floats are missing: a count before them is wrong"},
        {"text for integers", BINARY + name("Mesh") + OPEN + quoted("1"),
         ", byte 28, in Mesh: integers are missing: a count before them is wrong"},
        {"empty list", BINARY + name("Mesh") + OPEN + ints({}),
         ", byte 28, in Mesh: a list of integers is empty"},
        {"infinite position", BINARY + binaryMesh("", infinite),
         ", byte 44, in Mesh: this number is not finite"},
        {"declared data", BINARY + binaryMesh(name("DeclData") + OPEN),
         ", byte 106, in DeclData: the engine reads it in text files only"},
    });
}

TEST(XGuard, TellsWhereAFileIsCut) {
    const struct {
        std::string bytes;
        const char* place;
        bool binary;
    } cases[] = {
        {TEXT + "Mesh box {\n1;\n0.0;0.0;0.", ", line 4, in Mesh \"box\"", false},
        {TEXT + "Frame a\n{ FrameTransformMatrix", ", line 3, in FrameTransformMatrix", false},
        {mesh("MeshMaterialList { 1; 1; 0; Material { 1;1;1;1;; 0; 0;0;0;; 0;0;0;; TextureFilename { \"a"),
         ", line 9, in TextureFilename", false},
        {TEXT + "Odd thing", ", line 2", false},
        {TEXT + "Mesh { 0;; 0;; } /", ", line 2", false},
        {BINARY + "\1", ", byte 17", true},
        {BINARY + name("Mesh").substr(0, 9), ", byte 25", true},
        {BINARY + name("Mesh") + OPEN + ints({3}).substr(0, 9), ", byte 37, in Mesh", true},
        {BINARY + name("Mesh") + name("long") + OPEN + number(6, 2) + number(0xffffffff, 4),
         ", byte 44, in Mesh \"long\"", true},
        {BINARY + number(2, 2) + number(0xffffffff, 4), ", byte 22", true},
    };
    for (const auto& entry : cases) {
        const QbXVerdict verdict = qbXGuardCheck(entry.bytes, "m.x");
        EXPECT_EQ(verdict.message,
                  std::string("m.x") + entry.place +
                      ": the file ends here; copy the file again or save the mesh again as .x");
        EXPECT_EQ(verdict.cut, entry.binary) << entry.place;
    }
}

TEST(XGuard, PassesWhatTheEngineReads) {
    const std::string material = "Material brass { 1;1;1;1; 0; 0;0;0; 0;0;0; }\n";
    const std::string bone = "SkinWeights { \"b\"; 1; 0; 0.0; " + UNIT + " }";
    const Case cases[] = {
        {"header with company", "xof 0303txt 0032 Mesh {\n" + TRIANGLE + "}", ""},
        {"comments", TEXT + "// Mesh {\n# }\nMesh{0;//3\n;#4\n0;;}", ""},
        {"no vertices", TEXT + "Mesh { 0;; 0;; }", ""},
        {"numbers of all kinds", TEXT + "Mesh { 2; -.5; +3.; 1e-3;, 1E+2;-0; 0.5e38;; 0;; }", ""},
        {"template", TEXT + "template Mesh {\n <3D82AB44>\n DWORD n;\n [...]\n}\n" + mesh("").substr(17), ""},
        {"unknown objects", mesh("VertexDuplicationIndices { 3; 3; 0,1,2; }\nOdd { a { 1; } \"{\" } }"), ""},
        {"one material for all", mesh("MeshMaterialList { 1; 1; 0;; " + PAINT + " }"), ""},
        {"material by name", TEXT + material + TRIANGLE + "MeshMaterialList { 1; 1; 0; { brass } } }", ""},
        {"no material in the list", mesh("MeshMaterialList { 0; 0; }"), ""},
        {"declared data", mesh("DeclData { 1; 2;0;3;0; 9; 0,0,0,0,0,0,0,0,0; }"), ""},
        {"second coordinates", mesh("FVFData { 258; 6; 0,0,0,0,0,0; }"), ""},
        {"frame named again", mesh(bone) + "Frame b { }\nFrame b { Frame c { } Frame c { } }", ""},
        {"animation of no frame", animation("4; 1; 0;16;" + UNIT + ";"), ""},
        {"binary", BINARY + binaryMesh(""), ""},
        {"binary with single numbers",
         BINARY + name("Mesh") + OPEN + number(3, 2) + number(0, 4) + number(3, 2) + number(0, 4) + CLOSE,
         ""},
        {"64-bit floats", "xof 0303bin 0064" + binaryMesh<double>(""), ""},
        {"normal that is no number",
         BINARY +
             binaryMesh(name("MeshNormals") + OPEN + ints({1}) +
                        floats<float>({std::numeric_limits<float>::quiet_NaN(), 0, 0}) + ints({0}) + CLOSE),
         ""},
    };
    for (const Case& entry : cases) {
        const QbXVerdict verdict = qbXGuardCheck(entry.bytes, "m.x");
        EXPECT_EQ(verdict.message, "") << entry.what;
        const size_t size = entry.bytes.find_last_not_of('\n') + 1;
        EXPECT_EQ(verdict.size, size) << entry.what;
        const std::string padded = entry.bytes + std::string("\0\r\n\x1a", 4);
        EXPECT_EQ(qbXGuardCheck(padded, "m.x").message, "") << entry.what;
        EXPECT_EQ(qbXGuardCheck(padded, "m.x").size, size) << entry.what;
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
    for (const std::string& sound : {depth(256), chain(256), frames(10000), materials(10000), squares(65000)})
        EXPECT_EQ(qbXGuardCheck(sound, "m.x").message, "");
    expectRefused({
        {"depth", depth(257), ", line 9, in Frame: more than 256 frames inside each other"},
        {"depth by names", chain(257), ", line 9: more than 256 frames inside each other"},
        {"frames", frames(10001), ", line 9, in Frame: more than 10000 frames and bones"},
        {"materials", materials(10001), ", line 8, in MeshMaterialList: more than 10000 materials"},
        {"squares", squares(70000),
         ", line 2, in Mesh: the engine would take too long to read it: too many faces have more than 3 "
         "corners; make triangles"},
        {"long word", TEXT + std::string(1'000'000, 'w') + " { }",
         ", line 2: the engine would take too long to read it: a word of the text is too long"},
    });
    const std::unique_ptr<char, void (*)(void*)> huge(static_cast<char*>(calloc(QB_X_FILE_MAX + 1, 1)),
                                                      &free);
    memcpy(huge.get(), BINARY.data(), BINARY.size());
    EXPECT_EQ(qbXGuardCheck({huge.get(), QB_X_FILE_MAX + 1}, "m.x").message,
              "m.x is larger than 256 MiB; divide the mesh");
}

TEST(XGuard, ShowsNamesOfOneLine) {
    EXPECT_EQ(qbXGuardCheck(TEXT + "Mesh a\x01" + std::string(60, 'b') + " { x", "m.x").message,
              "m.x, line 2, in Mesh \"a?" + std::string(38, 'b') +
                  "\": a number is missing: a count before it is too large; save the mesh again as .x");
}
