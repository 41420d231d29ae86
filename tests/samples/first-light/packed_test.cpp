// The sample show as one file: moved alone to another place it shows the same pictures as its script.

#include "support/files.h"
#include "support/temporary_directory.h"

#include <gtest/gtest.h>
#include <map>
#include <sys/wait.h>

namespace fs = std::filesystem;

namespace {

std::map<std::string, std::string> readFiles(const fs::path& directory) {
    std::map<std::string, std::string> files;
    for (const auto& entry : fs::directory_iterator(directory))
        files[entry.path().filename()] = readFile(entry.path());
    return files;
}

int run(const std::string& command) {
    const int status = std::system(command.c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

} // namespace

TEST(FirstLight, PackedShowsWhatItsScriptShows) {
    const TemporaryDirectory directory;
    const fs::path show = fs::path(QB_BINARY_DIR) / "samples/first-light";
    const std::string program = "'" QB_STEPPED_PROGRAM "' ";
    for (const char* name : {"script", "packed", "temporary", "hall"})
        fs::create_directory(name);
    fs::copy(show, "show", fs::copy_options::recursive);
    const std::string setup = "[Setup]\ndisplay=320 240 32\nwindowed=1\n";
    directory.write("show/quab-setup.ini", setup);
    directory.write("hall/quab-setup.ini", setup);

    ASSERT_EQ(run("cd show && " + program + "../script first-light.demo.ini >../out.txt 2>&1"), 0)
        << readFile("out.txt");
    // The status of packing is the same whether it went well or not.
    EXPECT_EQ(run(program + "- -demoexe show/packed show/first-light.demo.ini >out.txt 2>err.txt"), 255);
    EXPECT_EQ(readFile("err.txt"), "");
    EXPECT_NE(readFile("out.txt").find("Everything that the script names is packed."), std::string::npos)
        << readFile("out.txt");

    fs::rename("show/packed", "hall/another name");
    fs::remove_all("show");
    // Where mounts are allowed nothing can be written beside it, and the built-in shaders are out of its
    // sight.
    directory.write(
        "play.sh",
        "if [ $1 = alone ]; then\n"
        "  mount --bind hall hall && mount -o remount,ro,bind hall &&\n"
        "  mount -t tmpfs none '" QB_SOURCE_DIR "/shaders' || exit 99\n"
        "fi\n"
        "top=$PWD; cd /\n"
        "TMPDIR=$top/temporary \"$top/hall/another name\" $top/packed >$top/out.txt 2>$top/err.txt\n");
    const bool canMount = run("unshare -m mount -t tmpfs none temporary 2>err.txt") == 0;
    EXPECT_EQ(run(canMount ? "unshare -m sh play.sh alone" : "sh play.sh here"), 0);
    EXPECT_EQ(readFile("err.txt"), "");
    EXPECT_TRUE(fs::is_empty("temporary"));

    const auto expected = readFiles("script"), actual = readFiles("packed");
    ASSERT_EQ(expected.size(), 10U);
    ASSERT_EQ(actual.size(), 10U);
    for (const auto& [name, picture] : expected)
        EXPECT_TRUE(picture == actual.at(name)) << name;
}
