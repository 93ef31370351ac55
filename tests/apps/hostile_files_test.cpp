/// Runs on files made to do harm: the program names the file and the reason, ends with 1 and leaves no output.
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "height_map_file.h"
#include "images.h"
#include "npy_file.h"
#include "run_program.h"
#include "support/case_files.h"
#include "support/images.h"

namespace {

namespace fs = std::filesystem;
using test::ProgramResult;
using Names = std::vector<std::string>;

constexpr std::int32_t kWidth = 24;
constexpr std::int32_t kHeight = 16;

class HostileFiles : public testing::Test {
  protected:
    void SetUp() override {
        fs::create_directory(m_folder.Path() / "out");
        Save("good.png", 1);
    }

    std::string Path(const std::string& name) const { return m_folder.Path() / name; }
    std::string Out(const std::string& name) const { return m_folder.Path() / "out" / name; }

    void Save(const std::string& name, std::uint32_t seed) const {
        app::SaveImage(Path(name), *test::RandomImage(kWidth, kHeight, KyiFormatBgr24, seed));
    }
    void Write(const std::string& name, const std::string& bytes) const {
        std::ofstream(Path(name), std::ios::binary) << bytes;
    }
    std::string Read(const std::string& name) const {
        std::ifstream stream(Path(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    }

    /// @param name  What has to stand in the message, with a reason behind it.
    void ExpectRefused(const Names& arguments, const std::string& name) const {
        const ProgramResult result = test::RunProgram(arguments);
        EXPECT_EQ(result.Status, 1) << result.Errors;
        const std::size_t at = result.Errors.find(Path(name) + ": ");
        EXPECT_NE(at, std::string::npos) << result.Errors;
        EXPECT_TRUE(result.Errors.ends_with("\n")) << result.Errors;
        EXPECT_EQ(test::EntryNames(m_folder.Path() / "out"), Names{});
    }

    void ExpectFrameRefused(const std::string& name) const {
        SCOPED_TRACE(name);
        ExpectRefused({"compose", Path("good.png"), Path(name), "-o", Out("sharp.png"), "--json", Out("run.json"),
                       "--step", "1", "--height-map", Out("heights.tif"), "--progress", "none"},
                      name);
        ExpectRefused({"compose", Path(name), Path("good.png"), "--keep-order", "-o", Out("sharp.bmp"), "--mode", "3d",
                       "--step", "1", "--temp", Path(""), "--progress", "none", "--no-gpu"},
                      name);
    }

    test::TemporaryFolder m_folder;
};

TEST_F(HostileFiles, AmongTheFramesEndTheRun) {
    Write("empty.png", "");
    Write("text.tif", "this is no picture\n");
    for (const char* const name : {"cut.png", "cut.tif", "cut.bmp", "cut.jpg"}) {
        Save(name, 2);
        fs::resize_file(Path(name), fs::file_size(Path(name)) * 2 / 3);
    }
    Save("wide.bmp", 3);
    std::string wide = Read("wide.bmp");
    wide.replace(18, 4, "\xFF\xFF\xFF\x7F");
    Write("wide.bmp", wide);
    Write("wide.png", std::string("\x89PNG\r\n\x1A\n\0\0\0\x0DIHDR\x7F\xFF\xFF\xFF\x7F\xFF\xFF\xFF\x08\0\0\0\0", 29));
    for (const char* const name :
         {"empty.png", "text.tif", "cut.png", "cut.tif", "cut.bmp", "cut.jpg", "wide.bmp", "wide.png"})
        ExpectFrameRefused(name);
}

TEST_F(HostileFiles, InThePlaceOfHeightsEndTheRun) {
    Save("second.png", 4);
    const std::string texts[] = {"",
                                 "1\n2\n3\n",
                                 "1\nnan\n",
                                 "1\n1e999\n",
                                 "good.png,1\ngood.png,2\n",
                                 std::string(70000, '#'),
                                 std::string("1\n\0\n", 4),
                                 "\xFF\xFE" + std::string(1000, '\x80')};
    for (const std::string& text : texts) {
        SCOPED_TRACE(text.substr(0, 20));
        Write("heights.txt", text);
        const ProgramResult result =
            test::RunProgram({"compose", Path("good.png"), Path("second.png"), "-o", Out("sharp.png"), "--heights",
                              Path("heights.txt"), "--height-map", Out("z.tif"), "--progress", "none"});
        EXPECT_EQ(result.Status, 1) << result.Errors;
        EXPECT_NE(result.Errors.find(Path("heights.txt") + ":"), std::string::npos) << result.Errors;
        EXPECT_EQ(test::EntryNames(m_folder.Path() / "out"), Names{});
    }
}

TEST_F(HostileFiles, InThePlaceOfHeightMapsEndTheRun) {
    const app::HeightMap map{3, 2, {0, 1, 2, 3, 4, 5}};
    app::SaveHeightMap(Path("good.tif"), map, "unit=um");
    app::SaveNpy(Path("cut.npy"), map);
    fs::resize_file(Path("cut.npy"), fs::file_size(Path("cut.npy")) - 1);
    app::SaveNpy(Path("huge.npy"), map);
    std::string huge = Read("huge.npy");
    huge.replace(huge.find("(2, 3)"), 6, "(9999,");
    huge.replace(huge.find("(9999,") + 6, 8, "999999),");
    Write("huge.npy", huge);
    fs::copy_file(Path("good.tif"), Path("cut.tif"));
    fs::resize_file(Path("cut.tif"), fs::file_size(Path("cut.tif")) / 2);
    Write("junk.npy", "\x93NUMPY\xFF\xFF\xFF\xFF\xFF\xFF");
    for (const char* const name : {"cut.npy", "huge.npy", "cut.tif", "junk.npy", "good.png"}) {
        SCOPED_TRACE(name);
        ExpectRefused({"noisecut", Path(name), Path("good.png"), "-o", Out("cut.tif")}, name);
    }
    for (const char* const name : {"cut.npy", "huge.npy", "junk.npy"}) {
        SCOPED_TRACE(name);
        ExpectRefused({"compare", Path("good.tif"), Path(name)}, name);
    }
}

} // namespace
