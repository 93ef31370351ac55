#include <algorithm>
#include <cmath>
#include <set>

#include <gtest/gtest.h>
#include <omp.h>

#include "synth_surface.h"

namespace {

using app::SurfaceShape;

constexpr SurfaceShape kShapes[] = {SurfaceShape::Mixed, SurfaceShape::Ramp, SurfaceShape::Spheres, SurfaceShape::Steps,
                                    SurfaceShape::Roughness};

app::SynthOptions Options(SurfaceShape shape = SurfaceShape::Mixed) {
    app::SynthOptions options;
    options.Shape = shape;
    options.Width = 120;
    options.Height = 90;
    return options;
}

TEST(SynthHeights, LieBetweenTheFocusPositions) {
    for (const SurfaceShape shape : kShapes)
        for (const double step : {2.0, -0.5, 0.0}) {
            app::SynthOptions options = Options(shape);
            options.Start = -7.0;
            options.Step = step;
            const app::HeightRange range = app::RangeOfHeights(options);
            EXPECT_NEAR(std::min(-7.0, -7.0 + 19 * step) + 0.1 * std::abs(19 * step), range.Low, 1e-9);
            EXPECT_NEAR(std::max(-7.0, -7.0 + 19 * step) - 0.1 * std::abs(19 * step), range.High, 1e-9);
            const app::Scene scene = app::MakeScene(options, 3);
            for (const float height : scene.Heights) {
                ASSERT_GE(height, static_cast<float>(range.Low)) << static_cast<int>(shape);
                ASSERT_LE(height, static_cast<float>(range.High)) << static_cast<int>(shape);
            }
        }
}

TEST(SynthHeights, OfEveryShapeButOneFlatStackSpreadOverTheRange) {
    for (const SurfaceShape shape : kShapes) {
        const app::SynthOptions options = Options(shape);
        const app::HeightRange range = app::RangeOfHeights(options);
        const app::Scene scene = app::MakeScene(options, 0);
        const auto [low, high] = std::minmax_element(scene.Heights.begin(), scene.Heights.end());
        EXPECT_GT(*high - *low, 0.5 * (range.High - range.Low)) << static_cast<int>(shape);
    }
}

TEST(SynthHeights, OfStepsAreSixPlanes) {
    const app::Scene scene = app::MakeScene(Options(SurfaceShape::Steps), 0);
    EXPECT_EQ(6U, std::set<float>(scene.Heights.begin(), scene.Heights.end()).size());
}

TEST(SynthHeights, OfARampRiseToTheRight) {
    const app::Scene scene = app::MakeScene(Options(SurfaceShape::Ramp), 0);
    for (int y = 0; y < scene.Height; ++y)
        for (int x = 1; x < scene.Width; ++x) ASSERT_GT(scene.HeightRow(y)[x], scene.HeightRow(y)[x - 1]);
}

TEST(SynthScene, IsTheSameWhateverItsMargin) {
    for (const SurfaceShape shape : kShapes) {
        app::SynthOptions options = Options(shape);
        options.Glare = true;
        const app::Scene narrow = app::MakeScene(options, 1);
        const app::Scene wide = app::MakeScene(options, 20);
        for (int y = 0; y < options.Height; ++y)
            for (int x = 0; x < options.Width; ++x) {
                ASSERT_EQ(narrow.HeightRow(y + 1)[x + 1], wide.HeightRow(y + 20)[x + 20]);
                for (int c = 0; c < 3; ++c) {
                    const int narrowAt = ((y + 1) * narrow.Width + x + 1) * 3 + c;
                    const int wideAt = ((y + 20) * wide.Width + x + 20) * 3 + c;
                    ASSERT_NEAR(narrow.Samples[static_cast<std::size_t>(narrowAt)],
                                wide.Samples[static_cast<std::size_t>(wideAt)], 1)
                        << x << " " << y;
                }
            }
    }
}

TEST(SynthScene, IsTheSameWithAnyNumberOfThreads) {
    const int before = omp_get_max_threads();
    omp_set_num_threads(1);
    const app::Scene expected = app::MakeScene(Options(), 4);
    for (const int threads : {2, 5}) {
        omp_set_num_threads(threads);
        const app::Scene scene = app::MakeScene(Options(), 4);
        EXPECT_EQ(expected.Samples, scene.Samples);
        EXPECT_EQ(expected.Heights, scene.Heights);
    }
    omp_set_num_threads(before);
}

TEST(SynthScene, HasNoBlackAndNoWhiteUnlessAsked) {
    for (const SurfaceShape shape : kShapes) {
        const app::Scene scene = app::MakeScene(Options(shape), 0);
        const auto [low, high] = std::minmax_element(scene.Samples.begin(), scene.Samples.end());
        EXPECT_GE(*low, 0.06 * 65535 - 1);
        EXPECT_LE(*high, 0.94 * 65535 + 1);
    }
}

TEST(SynthScene, IsBlownOutInPlacesWithGlare) {
    app::SynthOptions options = Options();
    options.Width = 400;
    options.Height = 300;
    options.Glare = true;
    const app::Scene scene = app::MakeScene(options, 0);
    const auto brighter = std::count_if(scene.Samples.begin(), scene.Samples.end(),
                                        [&](std::uint16_t sample) { return sample > 1.5 * scene.White; });
    EXPECT_GT(brighter, 100);
    EXPECT_LT(brighter, static_cast<std::ptrdiff_t>(scene.Samples.size() / 10));
}

TEST(SynthScene, HasDetailEverywhere) {
    app::SynthOptions options = Options();
    options.Gray = true;
    const app::Scene scene = app::MakeScene(options, 0);
    constexpr int kBlock = 10;
    for (int top = 0; top + kBlock <= scene.Height; top += kBlock)
        for (int left = 0; left + kBlock < scene.Width; left += kBlock) {
            double change = 0.0; // mean step from pixel to pixel, as a part of white
            for (int y = top; y < top + kBlock; ++y)
                for (int x = left; x < left + kBlock; ++x) {
                    const std::uint16_t* samples = scene.Samples.data() + y * scene.Width + x;
                    change += std::abs(samples[1] - samples[0]) / 65535.0 / (kBlock * kBlock);
                }
            EXPECT_GT(change, 0.01) << left << " " << top;
        }
}

TEST(SynthScene, ChangesWithTheSeed) {
    app::SynthOptions other = Options();
    other.Seed = 2;
    EXPECT_NE(app::MakeScene(Options(), 0).Samples, app::MakeScene(other, 0).Samples);
}

} // namespace
