// What the program meets that is no fault of the show: a poor driver, a full disk, a broken installation.

#include "shell/program_stage.h"

namespace fs = std::filesystem;

using Fault = Program;

TEST_F(Fault, APoorDriverIsToldByWhatItLacks) {
    const struct {
        const char *environment, *message;
    } table[] = {
        {"LIBGL_DRIVERS_PATH=/none", "the display offers no OpenGL (GLX)"},
        {"MESA_EXTENSION_OVERRIDE=-GL_EXT_framebuffer_object", "multiple render targets (ARB_draw_buffers)"},
        {"MESA_EXTENSION_OVERRIDE=-GL_ARB_texture_rg", "lacks ARB_texture_rg (OpenGL 3.0), which"},
        {"MESA_EXTENSION_OVERRIDE=-GL_ARB_texture_float", "lacks ARB_texture_float (OpenGL 3.0), which"},
        {"MESA_EXTENSION_OVERRIDE=-GL_ARB_vertex_shader", "lacks ARB_vertex_shader (OpenGL 2.0), which"},
        {"MESA_EXTENSION_OVERRIDE=-GL_ARB_clip_control", "lacks ARB_clip_control (OpenGL 4.5), which"},
        {"MESA_GL_VERSION_OVERRIDE=2.1", "lacks OpenGL 3.0 with GLSL 1.30, which"},
    };
    for (const auto& [environment, message] : table) {
        const Result result = run("--unattended some.x", environment);
        EXPECT_EQ(result.status, 255) << environment;
        EXPECT_NE(result.err.find(message), std::string::npos) << environment << ": " << result.err;
    }
}

TEST_F(Fault, AProgramWithoutItsShadersSaysWhereTheyBelong) {
    fs::copy_file(QB_PROGRAM, "quab");
    EXPECT_EQ(WEXITSTATUS(std::system("./quab --unattended some.x >out.txt 2>err.txt")), 255);
    EXPECT_EQ(
        readFile("err.txt"),
        "the built-in shader LppDepthClear.hlsl is missing or can not be used: put the directory \"shaders\" "
        "that comes with the program beside it\n"
        "failed to create shader LppDepthClear.hlsl\nfails to create renderer\n");
}

// Here /dev/full is the full disk.
TEST_F(Fault, AFullDiskIsNoticedAndKeepsNothingHalf) {
    directory.write("tiny.demo.ini", "[part.1]\ntime=0\n[part.2]\ntime=200\n");
    fs::create_directory("shots");
    fs::create_symlink("/dev/full", "shots/contact-sheet.png");
    const Result result = run("--unattended --pictures=shots tiny.demo.ini");
    EXPECT_EQ(result.status, 255);
    EXPECT_NE(result.err.find("contact-sheet.png' could not be written. Is the disk full"), std::string::npos)
        << result.err;
    EXPECT_FALSE(fs::is_symlink("shots/contact-sheet.png"));

    writeScene("box.quab", "box", {1, 0, 0});
    const std::string dump = "'" + fs::path(QB_PROGRAM).replace_filename("dumpquab").string() + "' box.quab ";
    EXPECT_EQ(WEXITSTATUS(std::system((dump + ">/dev/full 2>err.txt").c_str())), 255);
    EXPECT_EQ(readFile("err.txt"), "The dump can not be written: No space left on device\n");
}
