#include "synth_noise.h"

#include <array>
#include <cmath>
#include <vector>

namespace app {
namespace {

/// Weights of the four lattice points around a place that lies `t` beyond the second one.
std::array<float, 4> SplineWeights(float t) noexcept {
    const float rest = 1.0F - t;
    return {rest * rest * rest / 6.0F, (4.0F + t * t * (3.0F * t - 6.0F)) / 6.0F,
            (4.0F + rest * rest * (3.0F * rest - 6.0F)) / 6.0F, t * t * t / 6.0F};
}

struct Place {
    std::int64_t Cell;
    float Beyond; ///< in cells, 0 up to 1
};

Place Locate(double coordinate, double cell) noexcept {
    const double cells = coordinate / cell;
    const double whole = std::floor(cells);
    return {static_cast<std::int64_t>(whole), static_cast<float>(cells - whole)};
}

} // namespace

void AddNoiseRow(const NoiseLayer& layer, int left, int y, std::span<float> row) {
    if (row.empty()) return;
    const Place vertical = Locate(y, layer.CellY);
    const std::array<float, 4> weights = SplineWeights(vertical.Beyond);
    const std::int64_t firstCell = Locate(left, layer.CellX).Cell - 1;
    const double right = static_cast<double>(left) + static_cast<double>(row.size() - 1);
    const std::int64_t lastCell = Locate(right, layer.CellX).Cell + 2;

    std::vector<float> lattice(static_cast<std::size_t>(lastCell - firstCell + 1)); // drawn out along y already
    for (std::size_t i = 0; i < lattice.size(); ++i) {
        float sum = 0.0F;
        for (std::int64_t j = 0; j < 4; ++j) {
            const std::int64_t cellX = firstCell + static_cast<std::int64_t>(i);
            const float value = 2.0F * Fraction(MixPlace(layer.Seed, cellX, vertical.Cell - 1 + j)) - 1.0F;
            sum += weights[static_cast<std::size_t>(j)] * value;
        }
        lattice[i] = layer.Amplitude * sum;
    }
    for (std::size_t x = 0; x < row.size(); ++x) {
        const Place place = Locate(left + static_cast<double>(x), layer.CellX);
        const float* points = lattice.data() + (place.Cell - 1 - firstCell);
        const std::array<float, 4> across = SplineWeights(place.Beyond);
        row[x] += across[0] * points[0] + across[1] * points[1] + across[2] * points[2] + across[3] * points[3];
    }
}

} // namespace app
