// What is read or written while memory runs out.

#include "demo/demo.h"
#include "engine/x_guard.h"
#include "materials/shader_file.h"
#include "platform/cabinet/cabinet.h"
#include "platform/memory.h"
#include "platform/resource/resource.h"
#include "scene/export/quab_writer.h"
#include "scene/export/x_writer.h"
#include "scene/format/tables.h"
#include "storage/cabinet.h"
#include "storage/file.h"
#include "storage/ini.h"
#include "support/files.h"
#include "support/memory_sweep.h"
#include "support/temporary_directory.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <memory>
#include <string>
#include <unistd.h>
#include <vector>

// It does not check what it asks for.
extern "C" {
dictionary* __real_iniparser_load(const char* name);
dictionary* __wrap_iniparser_load(const char* name) {
    allocationsSpare(true);
    dictionary* result = __real_iniparser_load(name);
    allocationsSpare(false);
    return result;
}
}

namespace {

QbExportScene scene() {
    QbExportScene made;
    made.frameEnd = 5;
    made.lights.emplace_back().name = "Lamp";
    made.cameras.emplace_back().name = "Camera";
    for (const char* name : {"a", "b", "c", "d", "e"}) { // one more than the builder's first capacity
        made.objects.emplace_back().name = name + std::string(":Layer1");
        made.objects.back().fileName = name + std::string(".lwo");
        QbExportSceneObject& file = made.sceneObjects.emplace_back();
        file.name = name;
        QbExportSurface& surface = file.surfaces.emplace_back();
        surface.name = "Wall";
        surface.shaderName = "glow.hlsl";
        surface.shaderParams.resize(2);
        surface.shaderParams[0].name = "Strength";
        surface.shaderParams[1].name = "Width";
    }
    return made;
}

QbExportMesh mesh() {
    QbExportMesh made;
    made.name = "box";
    made.vertices.resize(3);
    made.triangles.push_back({{0, 1, 2}, 0});
    made.materials.emplace_back().textureFileName = "brick.jpg";
    return made;
}

// All names and the shader's values of the scene.
uint64_t openScene() {
    QbSceneHandle* handle = qbSceneOpen("a.quab");
    if (!handle) return 0;
    uint64_t result = 1;
    const QbObjectInfo* info = handle->objectInfo;
    for (int32_t i = 0; i < info->count(handle); i++) {
        QbSurfaceValues surface = {};
        info->surfaces(handle, i, &surface, 1, 0.0F);
        const char* name = info->meshFileName(handle, i);
        result = fingerprint(name, strlen(name), result);
        result = fingerprint(&surface.shader.paramCount, sizeof surface.shader.paramCount, result);
    }
    qbSceneClose(handle);
    return result;
}

class Memory : public testing::Test {
protected:
    void TearDown() override { qbFileUseStdio(); }
    TemporaryDirectory directory;
};

} // namespace

TEST_F(Memory, Scenes) {
    std::string error;
    const QbExportScene made = scene();
    ASSERT_EQ(qbSceneExportSave(made, "a.quab", error), 0) << error;
    MemorySweep::run("plain file", openScene);
    qbFileUseMemory();
    MemorySweep::run("file in memory", openScene, 5);
    ASSERT_EQ(std::system("tar cf a.tar a.quab"), 0);
    tarlib_arch archive;
    ASSERT_EQ(tarlib_arch_open_file(&archive, "a.tar"), 0);
    qbFileUseTar(&archive);
    MemorySweep::run("archive", openScene, 5);
    tarlib_arch_close(&archive);
}

TEST_F(Memory, ScenesAndMeshesThatAreWritten) {
    const QbExportScene made = scene();
    MemorySweep::run(
        "scene",
        [&] {
            std::string error;
            if (qbSceneExportSave(made, "a.quab", error) == 0) return std::filesystem::file_size("a.quab");
            qbMessage("%s", error.c_str());
            EXPECT_FALSE(std::filesystem::exists("a.quab") && std::filesystem::file_size("a.quab") < 100);
            return uintmax_t{0};
        },
        3);
    const QbExportMesh box = mesh();
    for (const QbExportXFormat format : {QB_EXPORT_X_TEXT, QB_EXPORT_X_BINARY})
        MemorySweep::run("mesh", [&] {
            std::string error;
            if (qbMeshExportSave(box, format, "a.x", error) == 0) return std::filesystem::file_size("a.x");
            qbMessage("%s", error.c_str());
            return uintmax_t{0};
        });
}

TEST_F(Memory, Scripts) {
    directory.write("a.demo.ini", "[setup]\nmusicdirectory=music\n[part.1]\ntime=0\nfilename=a.quab\n"
                                  "extra.1.directory=.\nextra.1.filename=b.quab\nfader.1.time=1\n"
                                  "[part.2]\ntime=1000\n");
    const auto demo = std::make_unique<QbDemo>();
    MemorySweep::run("script", [&] {
        return qbDemoParse(demo.get(), "a.demo.ini") == 0 ? fingerprint(demo.get(), sizeof *demo) : 0;
    });
}

TEST_F(Memory, Archives) {
    directory.write("d/a", "first");
    directory.write("d/b", "second");
    ASSERT_EQ(std::system("tar cf a.tar d"), 0);
    MemorySweep::run("archive", [] {
        return qbUnlessOutOfMemory("a.tar", uint64_t{0}, [] {
            tarlib_arch archive;
            char text[6] = "";
            if (tarlib_arch_open_file(&archive, "a.tar") == 0) {
                tarlib_file* file = tarlib_arch_fopen(&archive, "d/b", "rb");
                if (file && tarlib_fread(text, 6, 1, file) != 1) ADD_FAILURE();
                tarlib_fclose(file);
            }
            tarlib_arch_close(&archive);
            if (!*text) throw std::bad_alloc();
            return fingerprint(text, sizeof text);
        });
    });
}

TEST_F(Memory, ShaderFiles) {
    directory.write(
        "a.hlsl",
        "//[QUAB_BEGIN]\n//texture 0 : Color;\n//variable 0 : float4 Tint vs ps;\n//[QUAB_END]\n"
        "//QUAB_PP:D:A:float4 extra;\nfloat4 vertexMain(float4 p : POSITION) : POSITION { return p; }\n"
        "float4 pixelMain() : COLOR0 { return 1; }\n");
    const char* const defines[] = {"A", nullptr};
    MemorySweep::run("shader file", [&]() -> uint64_t {
        QbIrrShader* shader = qbIrrShaderCreate("a.hlsl", defines);
        if (!shader) return 0;
        const uint64_t result = fingerprint(shader->vertexText, strlen(shader->vertexText));
        qbIrrShaderFree(shader);
        return result;
    });
}

TEST_F(Memory, MeshGuard) {
    for (const QbExportXFormat format : {QB_EXPORT_X_TEXT, QB_EXPORT_X_BINARY}) {
        std::vector<uint8_t> bytes;
        std::string error;
        ASSERT_EQ(qbMeshExportWrite(mesh(), format, bytes, error), 0) << error;
        const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
        MemorySweep::run("guard", [text] {
            return qbUnlessOutOfMemory("a.x", uint64_t{0}, [text] {
                const QbXVerdict verdict = qbXGuardCheck(text, "a.x");
                EXPECT_EQ(verdict.message, "");
                return uint64_t{verdict.size};
            });
        });
    }
}

TEST_F(Memory, Cabinets) {
    directory.write("in/d/one", "first");
    directory.write("in/two", "second");
    QbCabinetPacking packing;
    packing.cabinet = directory.path() + "/a.cab";
    packing.baseDirectory = "in";
    packing.files = {"d/one", "two"};
    packing.output = "out.txt";
    std::string command, reason;
    ASSERT_EQ(qbCabinetPack(packing, command, reason), 0) << reason;
    ASSERT_EQ(qbResourceCopyProgram(nullptr, "program"), 0);
    const std::string cabinet = readFile("a.cab");
    QbResourceUpdate* update = qbResourceUpdateBegin("program");
    ASSERT_EQ(qbResourceUpdatePut(update, "CAB", QB_CAB_DATA, cabinet.data(), cabinet.size()), 0);
    ASSERT_EQ(qbResourceUpdateEnd(update, 0), 0);
    qbResourceSetProgram((directory.path() + "/program").c_str());
    directory.write("temporary/x");
    setenv("TMPDIR", (directory.path() + "/temporary").c_str(), 1);
    const std::string base = directory.path();
    const auto unpack = [&]() -> uint64_t {
        const int code = qbCabOpen(1, QB_CAB_DATA);
        char text[6] = "";
        const int file = code == 0 ? open("d/one", O_RDONLY) : -1;
        const bool whole = file >= 0 && read(file, text, 5) == 5;
        close(file);
        qbCabClose(1);
        if (chdir(base.c_str()) != 0) return 1;
        if (code == ENOMEM) qbMessage("out of memory"); // the caller tells the code
        return whole ? fingerprint(text, sizeof text) : 0;
    };
    MemorySweep::run("packed data", unpack, 97); // most allocations are the names of directories looked for
    qbCabCloseAll();
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator("temporary"), {}), 1)
        << "directories left behind";
    unsetenv("TMPDIR");
    qbResourceSetProgram(nullptr);
}
