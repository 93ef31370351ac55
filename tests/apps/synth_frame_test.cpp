#include <cmath>
#include <vector>

#include <gtest/gtest.h>

#include "support/images.h"
#include "synth_stack_support.h"

namespace {

using test::Sample;
using test::SmallStack;
using test::Stage;

/// Mean magnitude of the step from pixel to pixel in the gray of an image's part.
double Sharpness(const KyiImageData& image, int left, int top, int width, int height) {
    double sum = 0.0;
    for (int y = top; y < top + height; ++y)
        for (int x = left; x < left + width; ++x) sum += std::abs(Sample(image, x + 1, y, 1) - Sample(image, x, y, 1));
    return sum / (width * height);
}

TEST(BlurLayers, SpreadAPointByTheBlurTheyStandFor) {
    app::Scene scene;
    scene.Width = scene.Height = 101;
    scene.Samples.assign(101 * 101, 0);
    scene.Samples[50 * 101 + 50] = 65535;
    const app::BlurLayers layers(scene, 6.0);
    for (int layer = 1; layer < layers.Count() && layers.Variance(layer) < 9.0F; ++layer) {
        double sum = 0.0;
        double moment = 0.0;
        for (int y = 0; y < 101; ++y)
            for (int x = 0; x < 101; ++x) {
                const double value = layers.Samples(layer)[static_cast<std::size_t>(y * 101 + x)];
                sum += value;
                moment += value * (x - 50) * (x - 50);
            }
        EXPECT_NEAR(65535.0, sum, 0.01 * 65535.0) << layer;
        EXPECT_NEAR(static_cast<double>(layers.Variance(layer)), moment / sum, 0.03 * moment / sum) << layer;
        EXPECT_EQ(layers.Samples(layer)[50 * 101 + 50 + 2], layers.Samples(layer)[52 * 101 + 50]) << layer;
        EXPECT_EQ(layers.Samples(layer)[50 * 101 + 50 + 2], layers.Samples(layer)[50 * 101 + 50 - 2]) << layer;
    }
}

TEST(BlurLayers, KeepAnEvenPictureEven) {
    app::Scene scene;
    scene.Width = 40;
    scene.Height = 9;
    scene.Channels = 3;
    scene.Samples.assign(40 * 9 * 3, 4711);
    const app::BlurLayers layers(scene, 10.0);
    for (int layer = 0; layer < layers.Count(); ++layer)
        for (const std::uint16_t sample : layers.Samples(layer)) ASSERT_NEAR(4711, sample, 1) << layer;
}

TEST(BlurLayers, ReachTheWidestBlur) {
    app::Scene scene;
    scene.Width = scene.Height = 4;
    for (const double widest : {0.0, 0.3, 2.0, 24.0}) {
        scene.Samples.assign(16, 0);
        const app::BlurLayers layers(scene, widest);
        EXPECT_GE(layers.Variance(layers.Count() - 1), static_cast<float>(widest * widest));
        EXPECT_LE(layers.Variance(layers.Count() - 1), static_cast<float>(std::max(0.25, 2.4 * widest * widest)));
    }
}

TEST(BlurLayers, PlaceABlurByItsVariance) {
    app::Scene scene;
    scene.Width = scene.Height = 4;
    scene.Samples.assign(16, 0);
    const app::BlurLayers layers(scene, 0.7);
    ASSERT_EQ(3, layers.Count());
    const auto blurAt = [&](float part) { // between layers 1 and 2
        return std::sqrt(layers.Variance(1) + part * (layers.Variance(2) - layers.Variance(1)));
    };
    EXPECT_EQ(0, layers.Find(0.0F).Lower);
    EXPECT_EQ(0.0F, layers.Find(0.0F).Weight);
    EXPECT_EQ(0, layers.Find(std::sqrt(layers.Variance(1) / 4)).Lower);
    EXPECT_NEAR(0.25F, layers.Find(std::sqrt(layers.Variance(1) / 4)).Weight, 1e-5F);
    EXPECT_EQ(1, layers.Find(blurAt(0.3F)).Lower);
    EXPECT_NEAR(0.3F, layers.Find(blurAt(0.3F)).Weight, 1e-5F);
    EXPECT_EQ(2, layers.Find(9.0F).Lower); // no layer is blurred more
    EXPECT_EQ(0.0F, layers.Find(9.0F).Weight);
}

TEST(BlurOf, GrowsBeyondTheDepthOfFieldUpToTheWidest) {
    app::SynthOptions options;
    options.DepthOfField = 3.0;
    options.Blur = 0.5;
    EXPECT_EQ(0.0F, app::BlurOf(options, 1.5F));
    EXPECT_EQ(1.0F, app::BlurOf(options, 3.5F));
    EXPECT_EQ(24.0F, app::BlurOf(options, 1000.0F));
}

TEST(MakeFrame, ShowsTheTruthWhereItIsInFocus) {
    for (const int bits : {8, 16})
        for (const bool gray : {false, true}) {
            app::SynthOptions options = SmallStack();
            options.Bits = bits;
            options.Gray = gray;
            const Stage stage(options);
            const app::Image truth = stage.Truth();
            std::vector<bool> seen(90 * 70);
            for (int frame = 0; frame < options.Frames; ++frame) {
                const app::Image image = stage.Frame(frame);
                ASSERT_TRUE(KyiIsSamePixelFormat(truth.get(), image.get()));
                for (int y = 0; y < 70; ++y)
                    for (int x = 0; x < 90; ++x) {
                        if (!stage.IsInFocus(frame, x, y)) continue;
                        seen[static_cast<std::size_t>(y * 90 + x)] = true;
                        for (int channel = 0; channel < (gray ? 1 : 3); ++channel)
                            ASSERT_EQ(Sample(*truth, x, y, channel), Sample(*image, x, y, channel)) << x << " " << y;
                    }
            }
            for (const bool isSeen : seen) ASSERT_TRUE(isSeen); // step = depth of field: sharp in some frame everywhere
        }
}

TEST(MakeFrame, IsBlurredTheMoreTheFurtherOutOfFocus) {
    app::SynthOptions options = SmallStack();
    options.Shape = app::SurfaceShape::Steps;
    options.Frames = 20;
    const Stage stage(options);
    double last = Sharpness(*stage.Truth(), 0, 0, 8, 60); // the lowest step
    for (const int frame : {4, 7, 10, 13, 16}) {
        const double sharpness = Sharpness(*stage.Frame(frame), 0, 0, 8, 60);
        EXPECT_LT(sharpness, 0.85 * last) << frame;
        last = sharpness;
    }
}

TEST(MakeFrame, IsMovedByTheDrift) {
    app::SynthOptions options = SmallStack();
    options.DriftX = 3.0;
    options.DriftY = -2.0;
    const Stage stage(options);
    const app::Image truth = stage.Truth();
    int compared = 0;
    for (int frame = 0; frame < options.Frames; ++frame) {
        const app::Image image = stage.Frame(frame);
        for (int y = 0; y < 70; ++y)
            for (int x = 0; x < 90; ++x) {
                const int movedX = x + 3 * frame;
                const int movedY = y - 2 * frame;
                if (movedX >= 90 || movedY < 0 || !stage.IsInFocus(frame, x, y)) continue;
                ++compared;
                ASSERT_EQ(Sample(*truth, x, y, 0), Sample(*image, movedX, movedY, 0)) << frame << " " << x << " " << y;
            }
    }
    EXPECT_GT(compared, 3000);
}

TEST(MakeFrame, IsBetweenThePixelsWithHalfADrift) {
    app::SynthOptions options = SmallStack();
    options.DriftX = 0.5;
    options.Blur = 0.0;
    const Stage stage(options);
    const app::Image truth = stage.Truth();
    const app::Image image = stage.Frame(1);
    for (int x = 2; x < 88; ++x) { // Catmull-Rom halfway: (-1, 9, 9, -1) / 16
        const double expected = (9.0 * (Sample(*truth, x, 30, 0) + Sample(*truth, x - 1, 30, 0)) -
                                 (Sample(*truth, x + 1, 30, 0) + Sample(*truth, x - 2, 30, 0))) /
                                16.0;
        ASSERT_NEAR(expected, Sample(*image, x, 30, 0), 1.2) << x; // truth and frame are rounded to levels
    }
}

TEST(MakeFrame, GrowsAroundItsMiddleWithBreathing) {
    app::SynthOptions options = SmallStack();
    options.Width = 41;
    options.Height = 31;
    options.Frames = 3;
    options.Breathing = 50.0;
    options.Blur = 0.0;
    const Stage stage(options);
    const app::Image truth = stage.Truth();
    const app::Image doubled = stage.Frame(2);
    for (int y = -7; y <= 7; ++y)
        for (int x = -10; x <= 10; ++x)
            ASSERT_EQ(Sample(*truth, 20 + x, 15 + y, 2), Sample(*doubled, 20 + 2 * x, 15 + 2 * y, 2)) << x << " " << y;
}

TEST(MakeFrame, HasNoiseOfTheStrengthAskedForAndAnotherInEveryFrame) {
    for (const int bits : {8, 16}) {
        app::SynthOptions options = SmallStack();
        options.Bits = bits;
        options.Blur = 0.0;
        const Stage clean(options);
        options.Noise = 4.0;
        const Stage noisy(options);
        const std::vector<std::int32_t> truth = test::ToPlanes(*clean.Truth());
        const std::vector<std::int32_t> first = test::ToPlanes(*noisy.Frame(0));
        const std::vector<std::int32_t> second = test::ToPlanes(*noisy.Frame(1));
        double sum = 0.0;
        double square = 0.0;
        double product = 0.0;
        const double level = bits == 8 ? 1.0 : 257.0;
        for (std::size_t i = 0; i < truth.size(); ++i) {
            const double difference = (first[i] - truth[i]) / level;
            sum += difference;
            square += difference * difference;
            product += difference * (second[i] - truth[i]) / level;
        }
        const double count = static_cast<double>(truth.size());
        EXPECT_NEAR(0.0, sum / count, 0.15);
        EXPECT_NEAR(4.0, std::sqrt(square / count), 0.2);
        EXPECT_NEAR(0.0, product / count, 0.5);
        EXPECT_TRUE(test::SameImage(*clean.Truth(), *noisy.Truth()));
    }
}

TEST(MakeFrame, IsWhiteWhereGlareIsInFocusAndSpreadsItWhereItIsNot) {
    app::SynthOptions options = SmallStack();
    options.Width = 300;
    options.Height = 200;
    options.Glare = true;
    options.Gray = true;
    const Stage stage(options);
    const auto white = [](const app::Image& image) {
        int count = 0;
        for (const std::int32_t sample : test::ToPlanes(*image)) count += sample == 255 ? 1 : 0;
        return count;
    };
    EXPECT_GT(white(stage.Truth()), 50);
    options.Glare = false;
    EXPECT_EQ(0, white(Stage(options).Truth()));
}

} // namespace
