#include <cmath>
#include <filesystem>
#include <fstream>
#include <limits>

#include <gtest/gtest.h>

#include "errors.h"
#include "height_map_file.h"
#include "images.h"
#include "support/case_files.h"
#include "support/file_text.h"
#include "support/images.h"

namespace {

namespace fs = std::filesystem;

app::HeightMap SampleMap() {
    app::HeightMap map{7, 130, {}};
    for (int i = 0; i < 7 * 130; ++i) map.Values.push_back(static_cast<float>(i) * 0.37F - 100.0F);
    map.Values[3] = std::numeric_limits<float>::quiet_NaN();
    return map;
}

void WriteBytes(const fs::path& file, const std::string& bytes) {
    std::ofstream(file, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

TEST(HeightMapFile, ReadsBackWhatWasWritten) {
    const test::TemporaryFolder folder;
    const fs::path file = folder.Path() / "map.tif";
    const app::HeightMap map = SampleMap();
    app::SaveHeightMap(file, map, "heights in um");
    EXPECT_TRUE(app::IsHeightMapFile(file));
    EXPECT_NE(std::string::npos, test::ReadText(file).find("heights in um"));
    const app::HeightMap loaded = app::LoadHeightMap(file);
    EXPECT_EQ(7, loaded.Width);
    EXPECT_EQ(130, loaded.Height);
    ASSERT_EQ(map.Values.size(), loaded.Values.size());
    EXPECT_TRUE(std::isnan(loaded.Values[3]));
    for (std::size_t i = 4; i < map.Values.size(); ++i) ASSERT_EQ(map.Values[i], loaded.Values[i]) << i;
}

TEST(HeightMapFile, TellsTheUnitInItsDescription) {
    const test::TemporaryFolder folder;
    const fs::path file = folder.Path() / "map.tif";
    const auto unitOf = [&](const std::string& description) {
        app::SaveHeightMap(file, SampleMap(), description);
        return app::HeightUnit(file);
    };
    EXPECT_EQ("um", unitOf("Height map. Heights in um. unit=um"));
    EXPECT_EQ("\xC2\xB5m", unitOf("unit=\xC2\xB5m"));
    EXPECT_EQ("micron", unitOf("made elsewhere\nunit=micron\nmin=0\n"));
    EXPECT_EQ("", unitOf("heights in um"));
    EXPECT_EQ("", unitOf("unit="));
    EXPECT_EQ("", unitOf("spacingunit=px"));
    EXPECT_EQ("", unitOf("unit=\x1B[31m"));
    EXPECT_EQ("", unitOf("unit=" + std::string(33, 'm')));
    EXPECT_EQ("", app::HeightUnit(folder.Path() / "missing.tif"));
    EXPECT_EQ("", app::HeightUnit(folder.Path()));
}

TEST(HeightMapFile, IsNoImageAndNoMissingFile) {
    const test::TemporaryFolder folder;
    const fs::path image = folder.Path() / "image.tif";
    app::SaveImage(image, *test::RandomImage(5, 4, KyiFormatGray16, 1));
    EXPECT_FALSE(app::IsHeightMapFile(image));
    EXPECT_THROW(app::LoadHeightMap(image), app::Failure);
    EXPECT_FALSE(app::IsHeightMapFile(folder.Path() / "missing.tif"));
    EXPECT_THROW(app::LoadHeightMap(folder.Path() / "missing.tif"), app::Failure);
    EXPECT_FALSE(app::IsHeightMapFile(folder.Path()));
}

TEST(HeightMapFile, RefusesToWriteWhereItCannot) {
    const test::TemporaryFolder folder;
    try {
        app::SaveHeightMap(folder.Path() / "none" / "map.tif", SampleMap(), "");
        FAIL();
    } catch (const app::Failure& failure) {
        EXPECT_NE(std::string::npos, std::string(failure.what()).find("none/map.tif: ")) << failure.what();
    }
}

TEST(HeightMapFile, RefusesFilesThatAreCutShort) {
    const test::TemporaryFolder folder;
    const fs::path file = folder.Path() / "map.tif";
    app::SaveHeightMap(file, SampleMap(), "");
    const std::string bytes = test::ReadText(file);
    for (std::size_t length = 0; length < bytes.size(); length += 61) {
        WriteBytes(file, bytes.substr(0, length));
        EXPECT_THROW(app::LoadHeightMap(file), app::Failure) << length;
    }
}

TEST(HeightMapFile, GivesAMapOfTheSizeItSaysOrRefusesWhateverByteIsDamaged) {
    const test::TemporaryFolder folder;
    const fs::path file = folder.Path() / "map.tif";
    app::SaveHeightMap(file, {3, 2, {1, 2, 3, 4, 5, 6}}, "");
    const std::string bytes = test::ReadText(file);
    for (std::size_t at = 0; at < bytes.size(); ++at)
        for (const int change : {0x01, 0x10, 0x80, 0xFF}) {
            std::string damaged = bytes;
            damaged[at] = static_cast<char>(damaged[at] ^ change);
            WriteBytes(file, damaged);
            try {
                const app::HeightMap map = app::LoadHeightMap(file);
                EXPECT_EQ(static_cast<std::size_t>(map.Width) * static_cast<std::size_t>(map.Height),
                          map.Values.size());
            } catch (const app::Failure&) { // refused
            }
        }
}

} // namespace
