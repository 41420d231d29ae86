#include "platform/temporary.h"

#include "support/in_process.h"
#include "support/temporary_directory.h"

#include <cerrno>
#include <fcntl.h>
#include <functional>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

mode_t modeOf(const std::string& path) {
    struct stat info = {};
    return lstat(path.c_str(), &info) == 0 ? info.st_mode & 07777U : 0;
}

class Temporary : public testing::Test {
protected:
    QbHoldResult hold() { return qbDirectoryHold(path.c_str(), &held); }
    TemporaryDirectory directory;
    std::string path = directory.path() + "/held";
    QbHeldDirectory* held = nullptr;
};

} // namespace

TEST_F(Temporary, HoldsADirectoryForOneAndDeletesItWithoutFollowingLinks) {
    directory.write("outside/kept", "text");
    directory.write("held/left/behind", "text"); // by an earlier run, open to everybody
    fs::permissions(path, fs::perms::all);
    ASSERT_EQ(hold(), QB_HOLD_DONE);
    EXPECT_EQ(modeOf(path), 0700U);
    EXPECT_TRUE(fs::exists(path + "/left/behind"));
    QbHeldDirectory* second = held;
    EXPECT_EQ(qbDirectoryHold(path.c_str(), &second), QB_HOLD_BUSY);
    EXPECT_EQ(second, nullptr);

    directory.write("held/a/b/c/file");
    fs::create_directory(path + "/empty");
    fs::create_symlink("../outside", path + "/link");
    fs::create_symlink("../../outside/kept", path + "/a/link");
    fs::create_symlink("nowhere", path + "/a/b/dangling");
    inProcess([&] {
        qbDirectoryRemove(held); // is not that process's to delete
        return 0;
    });
    EXPECT_TRUE(fs::exists(path + "/a/b/c/file"));
    EXPECT_EQ(qbDirectoryHold(path.c_str(), &second), QB_HOLD_BUSY);
    qbDirectoryRemove(held);
    EXPECT_FALSE(fs::exists(fs::symlink_status(path)));
    EXPECT_TRUE(fs::exists(directory.path() + "/outside/kept"));
    qbDirectoryRemove(nullptr);
}

TEST_F(Temporary, NeverDeletesWhatTookTheNameOfItsDirectory) {
    ASSERT_EQ(hold(), QB_HOLD_DONE);
    directory.write("held/own");
    fs::rename(path, path + ".moved");
    fs::create_directory(path);
    qbDirectoryRemove(held);
    EXPECT_TRUE(fs::exists(path));
    EXPECT_TRUE(fs::is_empty(path + ".moved"));
}

TEST_F(Temporary, RefusesWhatIsNoDirectoryOfThisUser) {
    fs::create_directory("target");
    const struct {
        std::function<void()> make;
        QbHoldResult result;
        int error;
    } cases[] = {
        {[&] { fs::create_directory_symlink("target", path); }, QB_HOLD_REFUSED, ELOOP},
        {[&] { fs::create_symlink("nowhere", path); }, QB_HOLD_REFUSED, ELOOP},
        {[&] { directory.write("held"); }, QB_HOLD_REFUSED, ENOTDIR},
        {[&] { path = directory.path() + "/missing/held"; }, QB_HOLD_NOT_CREATED, ENOENT},
    };
    for (const auto& [make, result, error] : cases) {
        make();
        EXPECT_EQ(hold(), result);
        EXPECT_EQ(errno, error) << path;
        EXPECT_EQ(held, nullptr);
        fs::remove(path);
    }
}

TEST_F(Temporary, TellsThatItIsAnotherUsersToOneWhoMayNotEvenOpenIt) {
    if (geteuid() != 0) GTEST_SKIP() << "only root can become somebody else";
    ASSERT_EQ(mkdir(path.c_str(), 0700), 0);
    ASSERT_EQ(chmod(directory.path().c_str(), 0755), 0);
    EXPECT_EQ(inProcess([&] { return setuid(12345) == 0 && hold() == QB_HOLD_REFUSED && errno == EPERM; }),
              W_EXITCODE(1, 0));
}

// Each time it gets the directory a process makes a file that nobody else may have made or remove.
TEST_F(Temporary, IsHeldByOneAtATimeWhileOthersMakeAndRemoveIt) {
    const auto race = [&] {
        const std::string mark = path + "/mark";
        for (int done = 0; done < 300;) {
            if (hold() == QB_HOLD_BUSY) continue;
            const int file = held ? open(mark.c_str(), O_CREAT | O_EXCL | O_WRONLY, 0600) : -1;
            if (file < 0 || close(file) != 0 || access(mark.c_str(), F_OK) != 0) return 1;
            qbDirectoryRemove(held);
            ++done;
        }
        return 0;
    };
    pid_t processes[3];
    for (pid_t& process : processes) {
        process = fork();
        if (process == 0) _exit(race());
    }
    for (const pid_t process : processes) {
        int status = -1;
        waitpid(process, &status, 0);
        EXPECT_EQ(status, 0);
    }
    EXPECT_FALSE(fs::exists(path));
}

TEST_F(Temporary, MakesFilesInPlaceOfLinks) {
    directory.write("target", "kept");
    fs::create_symlink("target", path);
    std::FILE* file = qbTemporaryFile(path.c_str());
    ASSERT_TRUE(file);
    fputs("new", file);
    fclose(file);
    EXPECT_EQ(modeOf(path), 0600U);
    EXPECT_EQ(fs::file_size(path), 3U);
    EXPECT_EQ(fs::file_size(directory.path() + "/target"), 4U);
    EXPECT_EQ(qbTemporaryFile(directory.path().c_str()), nullptr);
    EXPECT_EQ(errno, EEXIST);
}
