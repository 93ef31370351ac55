#include "height_picture.h"

#include <array>
#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "colour_map.h"

namespace {

using Rgb = std::array<int, 3>;

Rgb PixelOf(const KyiImageData& image, int x, int y) {
    std::int32_t values[3] = {};
    KyiGetPixelDataRGB(&image, x, y, values);
    return {values[0], values[1], values[2]};
}

Rgb Colour(double position) {
    const app::Bgr colour = app::ColourOf(position);
    return {colour.Red, colour.Green, colour.Blue};
}

/// CIE lightness, 0 to 100, of an sRGB colour.
double LightnessOf(const Rgb& colour) {
    const auto linear = [](int sample) {
        const double part = sample / 255.0;
        return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
    };
    const double y = 0.2126 * linear(colour[0]) + 0.7152 * linear(colour[1]) + 0.0722 * linear(colour[2]);
    return y > 0.008856 ? 116.0 * std::cbrt(y) - 16.0 : 903.3 * y;
}

std::vector<std::string> Labels(double least, double greatest) {
    std::vector<std::string> labels;
    for (const app::Tick& tick : app::TicksOf(least, greatest)) labels.push_back(tick.Label);
    return labels;
}

TEST(ColourMap, RunsFromDarkBlueToYellow) {
    EXPECT_EQ(Colour(0.0), (Rgb{0x44, 0x01, 0x54}));
    EXPECT_EQ(Colour(1.0), (Rgb{0xFD, 0xE7, 0x25}));
    EXPECT_EQ(Colour(-3.0), Colour(0.0));
    EXPECT_EQ(Colour(7.0), Colour(1.0));
    EXPECT_EQ(Colour(std::nan("")), Colour(0.0));
    EXPECT_EQ(Colour(1.5 / 19), (Rgb{0x48, 0x1E, 0x70})); // (15 + 26) / 2 = 1D.8, (68 + 77) / 2 = 6F.8
}

TEST(ColourMap, GrowsLighterByEvenSteps) {
    constexpr int kSteps = 16;
    const double whole = LightnessOf(Colour(1.0)) - LightnessOf(Colour(0.0));
    for (int i = 0; i < kSteps; ++i) {
        const double step = LightnessOf(Colour((i + 1.0) / kSteps)) - LightnessOf(Colour(i / double{kSteps}));
        EXPECT_NEAR(step, whole / kSteps, 0.25 * whole / kSteps) << i;
    }
}

TEST(HeightTicks, StandAtRoundNumbers) {
    using Texts = std::vector<std::string>;
    EXPECT_EQ(Labels(0.0, 60.0), (Texts{"0", "10", "20", "30", "40", "50", "60"}));
    EXPECT_EQ(Labels(-1.0, 1.1), (Texts{"-1.0", "-0.5", "0.0", "0.5", "1.0"}));
    EXPECT_EQ(Labels(12.34, 12.41), (Texts{"12.34", "12.35", "12.36", "12.37", "12.38", "12.39", "12.40", "12.41"}));
    EXPECT_EQ(Labels(2e7, 8e7), (Texts{"2e+07", "3e+07", "4e+07", "5e+07", "6e+07", "7e+07", "8e+07"}));
    EXPECT_EQ(Labels(0.0, 3e-8), (Texts{"0.0e+00", "5.0e-09", "1.0e-08", "1.5e-08", "2.0e-08", "2.5e-08", "3.0e-08"}));
}

TEST(HeightTicks, AreThreeToNineInsideTheRange) {
    for (double range = 1e-12; range < 1e30; range *= 1.37)
        for (const double least : {0.0, -range / 3, range * 17.3}) {
            const auto ticks = app::TicksOf(least, least + range);
            EXPECT_GE(ticks.size(), 3U) << least << " + " << range;
            EXPECT_LE(ticks.size(), 9U) << least << " + " << range;
            for (const app::Tick& tick : ticks) {
                EXPECT_GE(tick.Value, least - 1e-6 * range);
                EXPECT_LE(tick.Value, least + (1 + 1e-6) * range);
            }
        }
}

TEST(HeightTicks, EndAlsoWhereDoublesAreTooCoarse) {
    EXPECT_LE(app::TicksOf(1e16, 1e16 + 4).size(), 20U);
    EXPECT_LE(app::TicksOf(0.0, 5e-324).size(), 20U);
}

TEST(HeightPicture, ShowsEveryHeightInItsColour) {
    app::HeightMap map{40, 30, {}};
    for (int i = 0; i < 40 * 30; ++i) map.Values.push_back(i % 40);
    map.Values[7] = std::numeric_limits<double>::quiet_NaN();
    const app::Image picture = app::RenderHeightPicture(map, "um");
    constexpr int kMargin = 8;
    for (const int x : {0, 1, 20, 39}) EXPECT_EQ(PixelOf(*picture, kMargin + x, kMargin + 29), Colour(x / 39.0)) << x;
    EXPECT_EQ(PixelOf(*picture, kMargin + 7, kMargin), (Rgb{128, 128, 128}));
    EXPECT_EQ(PixelOf(*picture, kMargin - 1, kMargin), (Rgb{255, 255, 255}));
    EXPECT_EQ(PixelOf(*picture, kMargin + 40, kMargin), (Rgb{255, 255, 255}));
}

TEST(HeightPicture, HasABarFromTheGreatestHeightToTheLeast) {
    const app::Image picture = app::RenderHeightPicture({2, 1, {3.0, 4.0}}, "mm");
    const int x = 2 + 2 * 8 + 7; // the middle of the bar
    const int top = 8 + 14;
    const int bottom = picture->Height - 8 - 1;
    EXPECT_EQ(PixelOf(*picture, x, top), Colour(1.0));
    EXPECT_EQ(PixelOf(*picture, x, bottom), Colour(0.0));
    EXPECT_EQ(PixelOf(*picture, x, top - 1), (Rgb{0, 0, 0}));
    EXPECT_EQ(PixelOf(*picture, x, bottom + 1), (Rgb{0, 0, 0}));
    EXPECT_EQ(PixelOf(*picture, x, bottom + 2), (Rgb{255, 255, 255}));
    double last = 1000;
    for (int y = top; y <= bottom; ++y) {
        const double lightness = LightnessOf(PixelOf(*picture, x, y));
        EXPECT_LE(lightness, last + 0.5) << y;
        last = lightness;
    }
}

TEST(HeightPicture, NamesHeightsAndUnitBesideTheBar) {
    const app::Image picture = app::RenderHeightPicture({2, 1, {0.0, 1.0}}, "\xC2\xB5m");
    // The tick at 1.0 stands at the top of the bar: the stem of its "1" is a column of dots, the third of five.
    const int labelX = 2 + 2 * 8 + 14 + 6;
    const int barTop = 8 + 14;
    for (int row = 0; row < 7; ++row) EXPECT_EQ(PixelOf(*picture, labelX + 2, barTop - 3 + row), (Rgb{0, 0, 0})) << row;
    EXPECT_EQ(PixelOf(*picture, labelX + 4, barTop), (Rgb{255, 255, 255}));
    // The micro sign above the bar: its left stem goes below the line.
    for (int row = 2; row < 9; ++row) EXPECT_EQ(PixelOf(*picture, 2 + 16, 8 + row), (Rgb{0, 0, 0})) << row;
    const app::Image other = app::RenderHeightPicture({2, 1, {0.0, 1.0}}, "\xCE\xBCm"); // the Greek letter
    EXPECT_EQ(PixelOf(*other, 2 + 16, 8 + 8), (Rgb{0, 0, 0}));
}

TEST(HeightPicture, IsMadeOfFlatAndEmptyMapsAndOddUnits) {
    constexpr double kHole = std::numeric_limits<double>::quiet_NaN();
    const app::Image flat = app::RenderHeightPicture({1, 1, {1e17}}, "");
    EXPECT_EQ(PixelOf(*flat, 8, 8), Colour(0.5));
    const app::Image empty = app::RenderHeightPicture({1, 1, {kHole}}, "\xFF?" + std::string(100, 'W'));
    EXPECT_EQ(PixelOf(*empty, 8, 8), (Rgb{128, 128, 128}));
    const app::Image wide = app::RenderHeightPicture({1, 2, {-1e38, 1e38}}, "um");
    EXPECT_EQ(PixelOf(*wide, 8, 9), Colour(1.0));
}

TEST(HeightPicture, TakesLargerLettersForLargerMaps) {
    const auto widthBeside = [](int height) {
        const app::HeightMap map{1, height, std::vector<double>(static_cast<std::size_t>(height))};
        return app::RenderHeightPicture(map, "um")->Width;
    };
    EXPECT_EQ(widthBeside(100), widthBeside(700));
    EXPECT_EQ(2 * (widthBeside(100) - 1), widthBeside(720) - 1);
}

} // namespace
