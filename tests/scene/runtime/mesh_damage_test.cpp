#include "damage_meshes.h"
#include "engine/engine.h"
#include "scene/runtime/objects.h"
#include "stage.h"

#include <algorithm>
#include <csignal>
#include <cstring>
#include <functional>
#include <random>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

// Damaged mesh files, through the guard and the engine's reader into a node that is animated and drawn. Each
// row of files runs in a process of its own, which a crash, 5 s of work on one file or 1 GiB ends; the next
// process goes on behind the file that did it.

namespace {

enum Fate : char { NOT_RUN, LOADED, REFUSED, WITHOUT_ONE_MESSAGE, TOO_LARGE };

const size_t MEMORY_MAX = size_t{1} << 30;

class DamagedMesh : public Stage {
protected:
    // The fates of `count` files.
    std::vector<Fate> run(size_t count, const std::function<std::string(size_t)>& file);

private:
    struct Progress {
        size_t at;
        Fate fates[1 << 16];
    };
    [[noreturn]] void child(size_t first, size_t count, const std::function<std::string(size_t)>& file,
                            Progress* progress);
    Fate load(const std::string& bytes);
};

Fate DamagedMesh::load(const std::string& bytes) {
    messages.clear();
    directory.write("case.x", bytes);
    qbObjectLoad("case.x", 1);
    const bool loaded = qbObjectExists(1);
    for (const float frame : {0.0F, 7.5F}) {
        qbObjectSetFrame(1, frame);
        smgr->drawAll();
    }
    qbObjectFree(1);
    smgr->getMeshCache()->clear();
    std::filesystem::remove("case.x"); // a file that is cut and written anew may wait for the disk
    rusage used = {};
    getrusage(RUSAGE_SELF, &used);
    if (static_cast<size_t>(used.ru_maxrss) * 1024 > MEMORY_MAX) return TOO_LARGE;
    if (loaded) return LOADED;
    return messages.size() == 1 ? REFUSED : WITHOUT_ONE_MESSAGE;
}

void DamagedMesh::child(size_t first, size_t count, const std::function<std::string(size_t)>& file,
                        Progress* progress) {
    stderr = fopen("/dev/null", "w"); // a message for each file
#ifndef __SANITIZE_ADDRESS__
    const rlimit memory = {MEMORY_MAX, MEMORY_MAX};
    setrlimit(RLIMIT_AS, &memory);
#endif
    for (size_t i = first; i < count; i++) {
        progress->at = i;
        const itimerval seconds = {{0, 0}, {5, 0}};
        setitimer(ITIMER_PROF, &seconds, nullptr);
        progress->fates[i] = load(file(i));
    }
    _exit(0);
}

std::vector<Fate> DamagedMesh::run(size_t count, const std::function<std::string(size_t)>& file) {
    void* shared = mmap(nullptr, sizeof(Progress), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    auto* progress = static_cast<Progress*>(shared);
    for (size_t first = 0; first < count; first = progress->at + 1) {
        const pid_t process = fork();
        if (process == 0) child(first, count, file, progress);
        int status = 0;
        waitpid(process, &status, 0);
        if (WIFEXITED(status) && WEXITSTATUS(status) == 0) break;
        ADD_FAILURE() << "file " << progress->at
                      << (WIFSIGNALED(status) ? std::string(" ended by ") + strsignal(WTERMSIG(status))
                                              : std::string(" ended the process"));
    }
    std::vector<Fate> fates(progress->fates, progress->fates + count);
    munmap(shared, sizeof(Progress));
    return fates;
}

// Boxes and skins, text and binary.
std::vector<std::string> sources() {
    return {soundBox(false), soundBox(true), soundSkin(false), soundSkin(true)};
}

bool isBinary(const std::string& bytes) {
    return bytes.compare(8, 3, "bin") == 0;
}

bool endsBetweenObjects(const std::string& text) {
    return text.find("Mesh ") != std::string::npos &&
           std::count(text.begin(), text.end(), '{') == std::count(text.begin(), text.end(), '}') &&
           text.find_last_not_of(" \r\n") == text.rfind('}');
}

} // namespace

TEST_F(DamagedMesh, IsRefusedWhereverItIsCut) {
    for (const std::string& bytes : sources()) {
        const std::vector<Fate> fates =
            run(bytes.size() + 1, [&](size_t length) { return bytes.substr(0, length); });
        EXPECT_EQ(fates.back(), LOADED) << "the whole file";
        // What stands behind the mesh can be missing as a whole: nothing, or the ticks and the animations.
        if (isBinary(bytes)) {
            EXPECT_EQ(std::count(fates.begin(), fates.end(), LOADED), bytes == soundBox(true) ? 1 : 3);
        }
        for (size_t length = 0; length < bytes.size(); length++) {
            const bool sound =
                isBinary(bytes) ? fates[length] == LOADED : endsBetweenObjects(bytes.substr(0, length));
            EXPECT_EQ(fates[length], sound ? LOADED : REFUSED) << isBinary(bytes) << ", cut to " << length;
        }
    }
}

// Half of the new bytes are random, half come from elsewhere in the file: digits, commas, kinds of tokens.
TEST_F(DamagedMesh, NeverEndsTheProgram) {
    enum { CHANGES = 2000 };
    for (const std::string& sound : sources()) {
        const std::vector<Fate> fates = run(CHANGES, [&](size_t number) {
            std::mt19937 random(static_cast<unsigned>(number));
            std::string bytes = sound;
            const auto any = [&](size_t below) { return random() % below; };
            for (size_t left = 1 + any(3); left > 0; left--)
                bytes[any(bytes.size())] = any(2) ? static_cast<char>(random()) : sound[any(bytes.size())];
            return bytes;
        });
        for (size_t number = 0; number < fates.size(); number++)
            EXPECT_TRUE(fates[number] == LOADED || fates[number] == REFUSED)
                << sound.substr(0, 16) << ", change " << number << ": " << int{fates[number]};
        EXPECT_GT(std::count(fates.begin(), fates.end(), LOADED), 100);
        EXPECT_GT(std::count(fates.begin(), fates.end(), REFUSED), 100);
    }
}
