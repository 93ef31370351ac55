#include "mesh_file.h"

#include <array>
#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>
#include <vector>

#include "binary_file.h"
#include "errors.h"
#include "images.h"

namespace app {
namespace {

struct Vertex {
    float X, Y, Z;
};

/// Every Step-th sample of a map.
class Grid {
  public:
    Grid(const HeightMap& map, const MeshForm& form)
        : Columns((map.Width - 1) / form.Step + 1), Rows((map.Height - 1) / form.Step + 1), m_map(map), m_form(form) {}

    const int Columns;
    const int Rows;

    int PixelOf(int index) const { return index * m_form.Step; }
    bool IsMeasured(int column, int row) const { return std::isfinite(Z(column, row)); }
    Vertex At(int column, int row) const {
        const double edge = m_form.Step * m_form.PixelSize;
        return {static_cast<float>(column * edge), static_cast<float>((Rows - 1 - row) * edge), Z(column, row)};
    }

    /// Calls take(corners of the triangle) for the triangles in row order: both halves of each cell, or the half that
    /// is left where one corner is a hole. A corner is a column and a row.
    using Corner = std::array<int, 2>;
    template <typename Take> void ForEachTriangle(const Take& take) const {
        for (int row = 0; row + 1 < Rows; ++row)
            for (int column = 0; column + 1 < Columns; ++column) AddCell(column, row, take);
    }

  private:
    float Z(int column, int row) const {
        const std::size_t start = static_cast<std::size_t>(PixelOf(row)) * static_cast<std::size_t>(m_map.Width);
        return static_cast<float>(m_map.Values[start + static_cast<std::size_t>(PixelOf(column))]);
    }

    template <typename Take> void AddCell(int column, int row, const Take& take) const {
        const Corner corners[4] = {{column, row}, {column, row + 1}, {column + 1, row + 1}, {column + 1, row}};
        int holes = 0;
        int hole = 1; // a whole cell is cut from its top left to its bottom right corner
        for (int corner = 0; corner < 4; ++corner)
            if (!IsMeasured(corners[corner][0], corners[corner][1])) {
                ++holes;
                hole = corner;
            }
        if (holes > 1) return;
        take(corners[(hole + 1) % 4], corners[(hole + 2) % 4], corners[(hole + 3) % 4]);
        if (holes == 0) take(corners[(hole + 3) % 4], corners[hole], corners[(hole + 1) % 4]);
    }

    const HeightMap& m_map;
    const MeshForm& m_form;
};

std::uint64_t CountTriangles(const Grid& grid) {
    std::uint64_t count = 0;
    grid.ForEachTriangle([&](const auto&, const auto&, const auto&) { ++count; });
    return count;
}

/// Red, green and blue of a pixel in 8 bits.
std::array<std::uint8_t, 3> ColourAt(const KyiImageData& image, int x, int y) {
    std::int32_t values[3] = {};
    if (KyiIsFormatBgr(image.Format)) {
        KyiGetPixelDataRGB(&image, x, y, values);
    } else {
        KyiGetPixelData(&image, x, y, values);
        values[1] = values[2] = values[0];
    }
    const int shift = KyiGetMaxVal(image.Format) > UINT8_MAX ? 8 : 0;
    const auto sample = [&](int channel) { return static_cast<std::uint8_t>(values[channel] >> shift); };
    return {sample(0), sample(1), sample(2)};
}

void Put(BinaryFile& out, const Vertex& vertex) {
    out.F32(vertex.X);
    out.F32(vertex.Y);
    out.F32(vertex.Z);
}

std::string PlyHeader(std::size_t vertices, std::uint64_t triangles) {
    return "ply\nformat binary_little_endian 1.0\ncomment height map by kyfocus\nelement vertex " +
           std::to_string(vertices) +
           "\nproperty float x\nproperty float y\nproperty float z\nproperty uchar red\nproperty uchar green\n"
           "property uchar blue\nelement face " +
           std::to_string(triangles) + "\nproperty list uchar int vertex_indices\nend_header\n";
}

/// Number of each measured vertex in the file, in row order.
std::vector<std::uint32_t> NumberVertices(const Grid& grid, std::size_t& count) {
    std::vector<std::uint32_t> numbers;
    count = 0;
    for (int row = 0; row < grid.Rows; ++row)
        for (int column = 0; column < grid.Columns; ++column) {
            numbers.push_back(static_cast<std::uint32_t>(count));
            count += grid.IsMeasured(column, row);
        }
    return numbers;
}

/// The unit vector that stands on a triangle; of no length where the triangle has no area.
Vertex NormalOf(const Vertex& a, const Vertex& b, const Vertex& c) {
    const double ux = static_cast<double>(b.X) - a.X, uy = static_cast<double>(b.Y) - a.Y,
                 uz = static_cast<double>(b.Z) - a.Z;
    const double vx = static_cast<double>(c.X) - a.X, vy = static_cast<double>(c.Y) - a.Y,
                 vz = static_cast<double>(c.Z) - a.Z;
    const double x = uy * vz - uz * vy, y = uz * vx - ux * vz, z = ux * vy - uy * vx;
    const double length = std::hypot(x, y, z);
    if (!(length > 0.0) || !std::isfinite(length)) return {0.0F, 0.0F, 0.0F};
    return {static_cast<float>(x / length), static_cast<float>(y / length), static_cast<float>(z / length)};
}

} // namespace

std::string MeshObstacle(int width, int height, const MeshForm& form) {
    const std::int64_t columns = (width - 1) / form.Step + 1;
    const std::int64_t rows = (height - 1) / form.Step + 1;
    const std::string grid = std::to_string(columns) + " x " + std::to_string(rows);
    if (columns < 2 || rows < 2) return "a mesh of " + grid + " samples has no triangle";
    constexpr std::int64_t kMost = std::numeric_limits<std::int32_t>::max(); // the counts of both formats hold it
    if ((columns - 1) * (rows - 1) <= kMost / 2 && columns * rows <= kMost) return {};
    return "a mesh of " + grid + " samples has too many triangles";
}

void SavePly(const std::filesystem::path& file, const HeightMap& map, const KyiImageData& colours,
             const MeshForm& form) {
    const Grid grid(map, form);
    std::size_t count = 0;
    const std::vector<std::uint32_t> numbers = NumberVertices(grid, count);
    BinaryFile out(file);
    out.Text(PlyHeader(count, CountTriangles(grid)));
    for (int row = 0; row < grid.Rows; ++row)
        for (int column = 0; column < grid.Columns; ++column) {
            if (!grid.IsMeasured(column, row)) continue;
            Put(out, grid.At(column, row));
            for (const std::uint8_t sample : ColourAt(colours, grid.PixelOf(column), grid.PixelOf(row))) out.U8(sample);
        }
    const auto number = [&](const Grid::Corner& corner) {
        return numbers[static_cast<std::size_t>(corner[1]) * static_cast<std::size_t>(grid.Columns) +
                       static_cast<std::size_t>(corner[0])];
    };
    grid.ForEachTriangle([&](const Grid::Corner& a, const Grid::Corner& b, const Grid::Corner& c) {
        out.U8(3);
        for (const Grid::Corner& corner : {a, b, c}) out.U32(number(corner));
    });
    out.Close();
}

void SaveStl(const std::filesystem::path& file, const HeightMap& map, const MeshForm& form) {
    const Grid grid(map, form);
    BinaryFile out(file);
    std::string title = "height map by kyfocus"; // readers take a file that begins with "solid" for text
    title.resize(80, '\0');
    out.Text(title);
    out.U32(static_cast<std::uint32_t>(CountTriangles(grid)));
    grid.ForEachTriangle([&](const Grid::Corner& a, const Grid::Corner& b, const Grid::Corner& c) {
        const Vertex vertices[3] = {grid.At(a[0], a[1]), grid.At(b[0], b[1]), grid.At(c[0], c[1])};
        Put(out, NormalOf(vertices[0], vertices[1], vertices[2]));
        for (const Vertex& vertex : vertices) Put(out, vertex);
        out.U16(0);
    });
    out.Close();
}

} // namespace app
