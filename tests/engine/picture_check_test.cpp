#include "engine/fixture.h"
#include "support/messages.h"
#include "support/temporary_directory.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

using PictureCheckTest = EngineTest;

// One small picture of each kind and packing; the first letter is not of the picture.
static std::string seed(const std::string& name) {
    std::ifstream file(QB_SOURCE_DIR "/tests/fuzz/corpus/picture_fuzz/" + name, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {}).erase(0, 1);
}

static bool loads(const std::string& name, const std::string& bytes) {
    std::ofstream(name, std::ios::binary) << bytes;
    irr::video::IImage* image = qbEngineGet()->driver->createImageFromFile(name.c_str());
    return image && image->drop();
}

TEST_F(PictureCheckTest, TakesWholePicturesOnly) {
    const TemporaryDirectory directory;
    const Messages messages;
    for (const char* name : {"baseline.jpg",
                             "progressive.jpg",
                             "grey.jpg",
                             "colors.png",
                             "palette.png",
                             "interlaced-alpha.png",
                             "grey-16-bits.png",
                             "24-bits.bmp",
                             "32-bits.bmp",
                             "8-bits-few-colors.bmp",
                             "runs-of-8-bits.bmp",
                             "1-bit.bmp",
                             "24-bits.tga",
                             "runs-of-24-bits.tga",
                             "palette-few-colors.tga",
                             "grey.tga",
                             "runs-of-32-bits.tga",
                             "24-bits.pcx",
                             "palette.pcx",
                             "plain.psd",
                             "runs.psd"}) {
        const std::string whole = seed(name);
        EXPECT_TRUE(loads(name, whole)) << name;
        // The padding of the last row may be missing.
        for (size_t length = 0; length + 4 < whole.size(); length += 1 + length / 16)
            EXPECT_FALSE(loads(name, whole.substr(0, length)) || loads("other", whole.substr(0, length)))
                << name << ' ' << length;
    }
}

TEST_F(PictureCheckTest, TellsOnceWhatIsWrong) {
    static const char CUT[] = "is cut short; copy it again", DAMAGED[] = "is damaged; save it anew";
    static const char SIDE[] = "has a side of no or more than 16384 pixels; save it at another size";
    static const char UNKNOWN[] = "is of a kind that can not be read; save it as a .png or .jpg";
    static const char LARGE[] = "has too many pixels for its kind; save it smaller, or as a .png";
    const struct {
        const char* name;
        size_t place; // of the bytes that are changed
        std::string bytes;
        const char* problem;
    } CASES[] = {
        {"baseline.jpg", 4, {"\xFF\xFF", 2}, CUT},             // longer than the file
        {"baseline.jpg", 4, {"\0\1", 2}, DAMAGED},             // shorter than its length
        {"colors.png", 16, {"\0\0\x40\1", 4}, SIDE},           // width
        {"colors.png", 45, "\1", DAMAGED},                     // checksum
        {"24-bits.bmp", 22, "\x6", CUT},                       // one row more
        {"24-bits.bmp", 22, {"\xFB\xFF\xFF\xFF", 4}, UNKNOWN}, // rows from the top
        {"runs-of-8-bits.bmp", 1102, "\x2E", DAMAGED},         // a pixel more than there are
        {"24-bits.tga", 12, {"\x01\x40", 2}, SIDE},
        {"24-bits.tga", 12, {"\xFF\x3F\xFF\x3F", 4}, LARGE},
        {"24-bits.tga", 16, "\x8", UNKNOWN}, // numbers without a palette
        {"24-bits.pcx", 66, "\x8", DAMAGED}, // lines shorter than the width
        {"24-bits.pcx", 65, "\x4", UNKNOWN},
        {"runs.psd", 13, "\2", UNKNOWN},
    };
    const TemporaryDirectory directory;
    for (const auto& c : CASES) {
        const std::string name = std::to_string(&c - CASES) + c.name;
        const Messages messages;
        const std::string bytes = seed(c.name).replace(c.place, c.bytes.size(), c.bytes);
        EXPECT_FALSE(loads(name, bytes) || loads(name, bytes)) << name;
        const std::string path = (std::filesystem::current_path() / name).string();
        EXPECT_EQ(Messages::texts(), std::vector{"The picture '" + path + "' " + c.problem}) << name;
    }
}

// A plain file that opens, and whose first byte can not be read.
TEST_F(PictureCheckTest, TellsOnceWhatCanNotBeRead) {
    const TemporaryDirectory directory;
    const Messages messages;
    std::filesystem::create_symlink("/proc/self/mem", "memory.png");
    for (int i = 0; i < 2; i++)
        EXPECT_EQ(qbEngineGet()->driver->createImageFromFile("memory.png"), nullptr);
    const std::string path = std::filesystem::canonical("memory.png").string();
    EXPECT_EQ(Messages::texts(), std::vector{path + ": the file can not be read: " + strerror(EIO)});
}
