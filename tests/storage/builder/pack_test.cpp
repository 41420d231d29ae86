#include "platform/cabinet/cabinet.h"
#include "platform/resource/resource.h"
#include "show.h"
#include "storage/builder/builder.h"
#include "support/messages.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <set>

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
}

} // namespace
