#include "mesh_file.h"

#include <cstring>
#include <limits>

#include <gtest/gtest.h>

#include "errors.h"
#include "support/case_files.h"
#include "support/file_text.h"
#include "support/images.h"

namespace {

namespace fs = std::filesystem;
constexpr double kHole = std::numeric_limits<double>::quiet_NaN();

/// Numbers one after the other out of bytes, least significant first as on the machines that this is tested on.
class Reader {
  public:
    explicit Reader(std::string bytes) : m_bytes(std::move(bytes)) {}
    template <typename Value> Value Take() {
        Value value{};
        EXPECT_LE(m_position + sizeof value, m_bytes.size());
        if (m_position + sizeof value > m_bytes.size()) return value;
        std::memcpy(&value, m_bytes.data() + m_position, sizeof value);
        m_position += sizeof value;
        return value;
    }
    std::vector<float> Floats(int count) {
        std::vector<float> values;
        for (int i = 0; i < count; ++i) values.push_back(Take<float>());
        return values;
    }
    std::vector<int> Bytes(int count) {
        std::vector<int> values;
        for (int i = 0; i < count; ++i) values.push_back(Take<std::uint8_t>());
        return values;
    }
    std::vector<std::int32_t> Indices(int count) {
        std::vector<std::int32_t> values;
        for (int i = 0; i < count; ++i) values.push_back(Take<std::int32_t>());
        return values;
    }
    bool IsAtEnd() const { return m_position == m_bytes.size(); }

  private:
    std::string m_bytes;
    std::size_t m_position = 0;
};

using Floats = std::vector<float>;
using Ints = std::vector<int>;

class MeshFile : public testing::Test {
  protected:
    std::string Ply(const app::HeightMap& map, const KyiImageData& colours, const app::MeshForm& form = {}) const {
        const fs::path file = m_folder.Path() / "z.ply";
        app::SavePly(file, map, colours, form);
        return test::ReadText(file);
    }
    std::string Stl(const app::HeightMap& map, const app::MeshForm& form = {}) const {
        const fs::path file = m_folder.Path() / "z.stl";
        app::SaveStl(file, map, form);
        return test::ReadText(file);
    }
    static std::uint32_t StlTriangles(const std::string& bytes) {
        std::uint32_t count = 0;
        std::memcpy(&count, bytes.data() + 80, sizeof count);
        EXPECT_EQ(bytes.size(), 84U + 50U * count);
        return count;
    }
    fs::path Folder() const { return m_folder.Path(); }

  private:
    test::TemporaryFolder m_folder;
};

TEST_F(MeshFile, PlyHasVerticesWithColoursAndTwoTrianglesACell) {
    const test::Image colours(KyiAllocImageData(2, 2, KyiFormatBgr24));
    int value = 10;
    for (const auto& [x, y] : {std::pair(0, 0), {1, 0}, {0, 1}, {1, 1}}) {
        const std::int32_t rgb[3] = {value, value + 1, value + 2};
        KyiSetPixelDataRGB(colours.get(), x, y, rgb);
        value += 10;
    }
    const std::string bytes = Ply({2, 2, {1.0, 2.0, 3.0, 4.5}}, *colours, {1, 0.5});
    const std::string header = "ply\nformat binary_little_endian 1.0\ncomment height map by kyfocus\n"
                               "element vertex 4\nproperty float x\nproperty float y\nproperty float z\n"
                               "property uchar red\nproperty uchar green\nproperty uchar blue\n"
                               "element face 2\nproperty list uchar int vertex_indices\nend_header\n";
    ASSERT_EQ(bytes.substr(0, header.size()), header);
    Reader reader(bytes.substr(header.size()));
    // The top row of the picture comes first and lies half a unit above the bottom row.
    EXPECT_EQ(reader.Floats(3), (Floats{0.0F, 0.5F, 1.0F}));
    EXPECT_EQ(reader.Bytes(3), (Ints{10, 11, 12}));
    EXPECT_EQ(reader.Floats(3), (Floats{0.5F, 0.5F, 2.0F}));
    EXPECT_EQ(reader.Bytes(3), (Ints{20, 21, 22}));
    EXPECT_EQ(reader.Floats(3), (Floats{0.0F, 0.0F, 3.0F}));
    EXPECT_EQ(reader.Bytes(3), (Ints{30, 31, 32}));
    EXPECT_EQ(reader.Floats(3), (Floats{0.5F, 0.0F, 4.5F}));
    EXPECT_EQ(reader.Bytes(3), (Ints{40, 41, 42}));
    // Counter-clockwise from above: 0 top left, 1 top right, 2 bottom left, 3 bottom right.
    EXPECT_EQ(reader.Bytes(1), Ints{3});
    EXPECT_EQ(reader.Indices(3), (Ints{3, 1, 0}));
    EXPECT_EQ(reader.Bytes(1), Ints{3});
    EXPECT_EQ(reader.Indices(3), (Ints{0, 2, 3}));
    EXPECT_TRUE(reader.IsAtEnd());
}

TEST_F(MeshFile, PlyTakesGrayAndTheUpperHalfOf16Bits) {
    const test::Image gray(KyiAllocImageData(2, 2, KyiFormatGray16));
    KyiFill(gray.get(), 0x1234, 0, 0);
    const std::string bytes = Ply({2, 2, {0, 0, 0, 0}}, *gray);
    Reader reader(bytes.substr(bytes.find("end_header\n") + 11));
    reader.Floats(3);
    EXPECT_EQ(reader.Bytes(3), (Ints{0x12, 0x12, 0x12}));
}

TEST_F(MeshFile, StlHasTrianglesWithNormalsThatPointUp) {
    const std::string bytes = Stl({2, 2, {0.0, 0.0, 0.0, 1.0}});
    EXPECT_FALSE(bytes.starts_with("solid"));
    ASSERT_EQ(StlTriangles(bytes), 2U);
    Reader reader(bytes.substr(84));
    const Floats normal = reader.Floats(3); // of (1, 0, 1), (1, 1, 0), (0, 1, 0): edges (0, 1, -1) and (-1, 1, -1)
    EXPECT_FLOAT_EQ(normal[0], 0.0F);
    EXPECT_FLOAT_EQ(normal[1], std::sqrt(0.5F));
    EXPECT_FLOAT_EQ(normal[2], std::sqrt(0.5F));
    EXPECT_EQ(reader.Floats(9), (Floats{1, 0, 1, 1, 1, 0, 0, 1, 0}));
    EXPECT_EQ(reader.Take<std::uint16_t>(), 0);
    EXPECT_GT(reader.Floats(3)[2], 0.0F);
    EXPECT_EQ(reader.Floats(9), (Floats{0, 1, 0, 0, 0, 0, 1, 0, 1}));
}

TEST_F(MeshFile, ThinsTheGridAndKeepsItsScale) {
    app::HeightMap map{7, 5, {}};
    for (int i = 0; i < 35; ++i) map.Values.push_back(i);
    const std::string bytes = Stl(map, {3, 2.0}); // columns 0, 3, 6 and rows 0, 3
    ASSERT_EQ(StlTriangles(bytes), 4U);
    Reader reader(bytes.substr(84 + 12));
    EXPECT_EQ(reader.Floats(9), (Floats{6, 0, 24, 6, 6, 3, 0, 6, 0}));
}

TEST_F(MeshFile, LeavesAGapWhereAHoleIs) {
    EXPECT_EQ(StlTriangles(Stl({2, 2, {kHole, 1, 1, 1}})), 1U);
    EXPECT_EQ(StlTriangles(Stl({2, 2, {1, kHole, 1, 1}})), 1U);
    EXPECT_EQ(StlTriangles(Stl({2, 2, {1, 1, kHole, 1}})), 1U);
    EXPECT_EQ(StlTriangles(Stl({2, 2, {1, 1, 1, kHole}})), 1U);
    EXPECT_EQ(StlTriangles(Stl({2, 2, {1, kHole, kHole, 1}})), 0U);
    const test::Image colours = test::RandomImage(2, 2, KyiFormatGray8, 1);
    const std::string bytes = Ply({2, 2, {1, kHole, 1, 1}}, *colours);
    EXPECT_NE(bytes.find("element vertex 3\n"), std::string::npos);
    EXPECT_NE(bytes.find("element face 1\n"), std::string::npos);
    const Ints corners = Reader(bytes.substr(bytes.size() - 12)).Indices(3);
    EXPECT_EQ(corners, (Ints{0, 1, 2})); // top left, bottom left, bottom right
}

TEST_F(MeshFile, TellsWhichSizesMakeNone) {
    EXPECT_EQ(app::MeshObstacle(2, 2, {}), "");
    EXPECT_EQ(app::MeshObstacle(1, 20, {}), "a mesh of 1 x 20 samples has no triangle");
    EXPECT_EQ(app::MeshObstacle(20, 9, {9, 1.0}), "a mesh of 3 x 1 samples has no triangle");
    EXPECT_EQ(app::MeshObstacle(20, 10, {9, 1.0}), "");
    EXPECT_EQ(app::MeshObstacle(40000, 40000, {}), "a mesh of 40000 x 40000 samples has too many triangles");
    EXPECT_EQ(app::MeshObstacle(40000, 40000, {2, 1.0}), "");
}

TEST_F(MeshFile, SaysWhereItCannotBeWritten) {
    EXPECT_THROW(app::SaveStl("/dev/full", {2, 2, {0, 0, 0, 0}}, {}), app::Failure);
    EXPECT_THROW(app::SaveStl(Folder() / "none" / "z.stl", {2, 2, {0, 0, 0, 0}}, {}), app::Failure);
}

} // namespace
