#include "platform/cabinet/cabinet.h"
#include "platform/resource/resource.h"
#include "show.h"
#include "storage/builder/builder.h"
#include "support/messages.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <random>
#include <sched.h>
#include <set>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using Names = std::vector<std::string>;

// What the executable carries under a number, in byte order.
Names stored(int id) {
    QbResource* resource = qbResourceOpen("CAB", id);
    if (!resource) return {"nothing"};
    std::FILE* file = std::fopen("stored.cab", "wb");
    EXPECT_EQ(qbResourceCopy(resource, file), QB_RESOURCE_COPIED);
    std::fclose(file);
    qbResourceClose(resource);
    std::vector<QbCabinetFile> files;
    EXPECT_EQ(qbCabinetList("stored.cab", files), 0);
    std::set<std::string> names;
    for (const QbCabinetFile& packed : files)
        names.insert(packed.name);
    return {names.begin(), names.end()};
}

// With the real tool.
TEST(Pack, TheTargetCarriesTheFourCabinets) {
    const TemporaryDirectory directory;
    const Messages messages;
    writeShow(directory);
    qbDemoExe("target", SHOW_SCRIPT);
    EXPECT_EQ(Messages::texts(), Names());
    qbResourceSetProgram("target");
    Names data = showFiles();
    data.emplace_back("-my \"show\" one.demo.ini");
    std::sort(data.begin(), data.end());
    EXPECT_EQ(stored(500), data);
    EXPECT_EQ(stored(501), Names{"music/Tune.MP3"});
    EXPECT_EQ(stored(502), Names{"loading.png"});
    const Names shaders = stored(503);
    EXPECT_GT(shaders.size(), 5U);
    EXPECT_TRUE(shaders[0].starts_with("shaders/")) << shaders[0];
    qbResourceSetProgram(nullptr);
    EXPECT_EQ(std::system("./target --gtest_also_run_disabled_tests --gtest_filter=PackChild.* >out.txt"), 0);
}

// A packed program that stands alone packs what it carries, and keeps the tool's words of it.
TEST(PackChild, DISABLED_PacksAgain) {
    qbDemoExe("again", SHOW_SCRIPT);
    qbResourceSetProgram("again");
    EXPECT_GT(stored(503).size(), 5U);
    EXPECT_TRUE(std::filesystem::exists("out-503.txt"));
}

// A disk with room for the program and one cabinet; as root a real one.
int packOntoFullDisk(size_t room) {
    const bool mounted = unshare(CLONE_NEWNS) == 0 &&
                         mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
                         mount("none", "disk", "tmpfs", 0, ("size=" + std::to_string(room)).c_str()) == 0;
    const rlimit limit = {room, room};
    std::signal(SIGXFSZ, SIG_IGN);
    if (!mounted) setrlimit(RLIMIT_FSIZE, &limit);
    const std::string target = std::filesystem::absolute("disk/target").string();
    qbDemoExe("disk/target", SHOW_SCRIPT);
    Names told = Messages::texts();
    EXPECT_EQ(told.size(), 3U);
    told.resize(3);
    EXPECT_EQ(told[0], target + ": " + std::strerror(mounted ? ENOSPC : EFBIG));
    EXPECT_EQ(told[1], "Failed to UpdateResource " + target);
    EXPECT_TRUE(told[2].starts_with("Failed to add music to cab ")) << told[2];
    qbResourceSetProgram("disk/target");
    EXPECT_EQ(stored(500).size(), showFiles().size() + 1);
    EXPECT_EQ(stored(501), Names{"nothing"});
    return testing::Test::HasFailure();
}

TEST(Pack, AFullDiskKeepsWhatWasStoredUntilThen) {
    const TemporaryDirectory directory;
    const Messages messages;
    writeShow(directory);
    std::filesystem::create_directory("disk");
    std::string noise(400'000, '\0');
    std::generate(noise.begin(), noise.end(), std::minstd_rand());
    directory.write("show/music/Tune.MP3", noise);
    const pid_t child = fork();
    if (child == 0) _exit(packOntoFullDisk(std::filesystem::file_size("/proc/self/exe") + 200'000));
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
}

} // namespace
