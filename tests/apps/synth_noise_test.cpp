#include <cmath>
#include <cstdint>
#include <vector>

#include <gtest/gtest.h>

#include "synth_noise.h"
#include "synth_spots.h"

namespace {

std::vector<float> Row(const app::NoiseLayer& layer, int left, int y, std::size_t count) {
    std::vector<float> row(count, 0.0F);
    app::AddNoiseRow(layer, left, y, row);
    return row;
}

TEST(SynthNoise, BelongsToThePlaceWhereverARowBegins) {
    for (const double cell : {1.3, 4.0, 37.7}) {
        const app::NoiseLayer layer{11, cell, cell * 1.5, 2.0F};
        for (const int y : {-9, 0, 5, 1000}) {
            const std::vector<float> whole = Row(layer, -50, y, 120);
            const std::vector<float> part = Row(layer, -13, y, 40);
            for (std::size_t i = 0; i < part.size(); ++i) ASSERT_EQ(whole[i + 37], part[i]) << cell << " " << y;
        }
    }
}

TEST(SynthNoise, StaysWithinTheAmplitudeAndFillsIt) {
    double largest = 0.0;
    double square = 0.0;
    for (int y = 0; y < 200; ++y)
        for (const float value : Row({5, 3.0, 3.0, 2.0F}, 0, y, 200)) {
            largest = std::max(largest, std::abs(static_cast<double>(value)));
            square += static_cast<double>(value) * static_cast<double>(value);
        }
    EXPECT_LE(largest, 2.0);
    EXPECT_NEAR(0.28 * 2.0, std::sqrt(square / 40000.0), 0.03);
}

TEST(SynthNoise, IsSmoothAtItsScale) {
    const std::vector<float> row = Row({3, 50.0, 50.0, 1.0F}, 0, 17, 500);
    for (std::size_t x = 1; x < row.size(); ++x) EXPECT_LT(std::abs(row[x] - row[x - 1]), 0.04F);
}

TEST(SynthNoise, ChangesWithTheSeed) {
    EXPECT_NE(Row({1, 3.0, 3.0, 1.0F}, 0, 0, 50), Row({2, 3.0, 3.0, 1.0F}, 0, 0, 50));
}

TEST(BellNumber, HasMeanZeroAndVarianceOne) {
    constexpr int kCount = 200000;
    double sum = 0.0;
    double square = 0.0;
    for (std::uint64_t i = 0; i < kCount; ++i) {
        const double value = static_cast<double>(app::BellNumber(app::MixBits(i)));
        sum += value;
        square += value * value;
    }
    EXPECT_NEAR(0.0, sum / kCount, 0.01);
    EXPECT_NEAR(1.0, square / kCount, 0.01);
}

TEST(PaintSpotRow, FindsTheSameSpotsWhateverPartOfTheRowIsAskedFor) {
    const app::SpotKind kind{9, 23, 0.5F, 2.0F, 9.0F};
    int painted = 0;
    for (int y = -40; y < 40; ++y) {
        std::vector<float> whole(200);
        std::vector<float> part(70);
        app::PaintSpotRow(kind, -60, y, 200, [&](std::size_t i, float inside, std::uint64_t) { whole[i] += inside; });
        app::PaintSpotRow(kind, -11, y, 70, [&](std::size_t i, float inside, std::uint64_t) { part[i] += inside; });
        for (std::size_t i = 0; i < part.size(); ++i) {
            ASSERT_NEAR(whole[i + 49], part[i], 1e-4F) << y << " " << i;
            if (part[i] > 0.0F) ++painted;
        }
    }
    EXPECT_GT(painted, 200);
}

} // namespace
