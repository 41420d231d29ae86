#include "demo/demo.h"
#include "samples/show_check.h"

namespace fs = std::filesystem;

namespace {

const fs::path show = fs::path(QB_BINARY_DIR) / "samples/first-light";

// Counts its objects.
int checkScene(const fs::path& path) {
    const SceneCheck check(path);
    if (!check.scene()) return 0;
    const QbLightInfo& lights = *check.scene()->lightInfo;
    if (lights.count(check.scene()) > 1) {
        EXPECT_EQ(lights.type(check.scene(), 1), 1)
            << "shaders take the second light for the spark's: " << path;
    }
    return check.objects();
}

} // namespace

// All scenes of a show are loaded at once; their objects share 999 ids, from 1.
TEST(FirstLight, EveryNamedFileIsThereAndObjectsFitTheIds) {
    const auto demo = std::make_unique<QbDemo>();
    ASSERT_EQ(qbDemoParse(demo.get(), (show / "first-light.demo.ini").c_str()), 0);
    int objects = 0;
    for (int32_t i = 0; i < demo->partCount; i++) {
        const QbDemoPart& part = demo->parts[i];
        if (part.filename[0] != '\0') objects += checkScene(show / part.directory / part.filename);
        EXPECT_TRUE(fs::exists(show / demo->musicDirectory / part.music)) << part.music;
        for (int32_t k = 0; k < part.extraCount; k++)
            objects += checkScene(show / part.extras[k].directory / part.extras[k].filename);
    }
    EXPECT_GT(objects, 500);
    EXPECT_LE(objects, 999);
}
