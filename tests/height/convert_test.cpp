// The conversions against the plain form, on maps of all kinds and awkward sizes.
#include <bit>
#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "height/height.h"
#include "reference/height_conversion.h"

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

struct Shape {
    std::int32_t Width;
    std::int32_t Height;
};
constexpr Shape kShapes[] = {{1, 1}, {1, 7}, {7, 1},  {2, 2},  {3, 2},  {5, 5},
                             {8, 3}, {9, 4}, {63, 5}, {64, 5}, {65, 5}, {257, 31}};

/// Kinds of maps: plain heights, and those in which some heights are of an odd kind.
enum class Kind {
    Plain,
    Flat,
    NaNs,
    OnlyNaNs,
    Infinities,
    NaNsAndInfinities,   // nothing else, of both signs
    NaNsAndInfinity,     // of one sign
    NaNsAndLessInfinity, // of the other
    NaNsInfinitiesAndPlain,
    Zeros,
    Huge,
    Subnormal,
    Last
};

double DrawHeight(Kind kind, std::mt19937& random) {
    const double plain = std::uniform_real_distribution<double>(-40.0, 90.0)(random);
    const bool isOdd = random() % 5 == 0;
    const bool isNegative = random() % 2 == 0;
    switch (kind) {
    case Kind::Flat: return 12.5;
    case Kind::NaNs: return isOdd ? kNaN : plain;
    case Kind::OnlyNaNs: return kNaN;
    case Kind::Infinities: return isOdd ? (isNegative ? -kInfinity : kInfinity) : plain;
    case Kind::NaNsAndInfinities: return isOdd ? kNaN : (isNegative ? -kInfinity : kInfinity);
    case Kind::NaNsAndInfinity: return isNegative ? kNaN : kInfinity;
    case Kind::NaNsAndLessInfinity: return isNegative ? kNaN : -kInfinity;
    case Kind::NaNsInfinitiesAndPlain:
        return isOdd ? kNaN : (random() % 3 == 0 ? plain : (isNegative ? -kInfinity : kInfinity));
    case Kind::Zeros: return isOdd ? (isNegative ? -0.0 : 0.0) : (plain > 0.0 ? plain : 0.0);
    case Kind::Huge: return plain * 1.9e306;
    case Kind::Subnormal: return static_cast<double>(random() % 7) * std::numeric_limits<double>::denorm_min();
    default: return plain;
    }
}

struct Map {
    Map(const Shape& shape, Kind kind, std::uint32_t seed) {
        std::mt19937 random(seed);
        for (std::int32_t i = 0; i < shape.Width * shape.Height; ++i) Values.push_back(DrawHeight(kind, random));
        for (std::int32_t y = 0; y < shape.Height; ++y)
            Rows.push_back(Values.data() + static_cast<std::ptrdiff_t>(y) * shape.Width);
    }
    std::vector<double> Values;
    std::vector<const double*> Rows;
};

testing::AssertionResult SameBits(double expected, double actual) {
    // The sign and payload of a NaN are the machine's.
    if (expected != expected && actual != actual) return testing::AssertionSuccess();
    if (std::bit_cast<std::uint64_t>(expected) == std::bit_cast<std::uint64_t>(actual))
        return testing::AssertionSuccess();
    return testing::AssertionFailure() << expected << " is not " << actual;
}

template <typename Sample> void ExpectPlainForm(const Shape& shape, Kind kind, std::int32_t padding) {
    const Map map(shape, kind, /*seed=*/7U * static_cast<std::uint32_t>(shape.Width) + 3U);
    const std::int32_t stride = shape.Width * static_cast<std::int32_t>(sizeof(Sample)) + padding;
    const std::size_t size = static_cast<std::size_t>(stride) * static_cast<std::size_t>(shape.Height);
    std::vector<std::uint8_t> expected(size, 0xa5);
    std::vector<std::uint8_t> actual(size, 0x5a);
    const double divisor = sizeof(Sample) == 1 ? 255.0 : 65535.0;
    const reference::ConvertedRange plain = reference::ConvertHeights<Sample>(
        map.Rows.data(), shape.Width, shape.Height, /*scale=*/2.5, divisor, expected.data(), stride);
    const auto convert = sizeof(Sample) == 1 ? kyf::ConvertTo8Bit : kyf::ConvertTo16Bit;
    const kyf::HeightRange range = convert({map.Rows.data(), shape.Width, shape.Height}, 2.5, actual.data(), stride);
    EXPECT_TRUE(SameBits(plain.Step, range.Step));
    EXPECT_TRUE(SameBits(plain.Min, range.Min));
    EXPECT_TRUE(SameBits(plain.Max, range.Max));
    EXPECT_EQ(expected, actual);
}

TEST(HeightConversion, EqualsThePlainFormOnMapsOfAllKinds) {
    for (const Shape& shape : kShapes)
        for (int kind = 0; kind < static_cast<int>(Kind::Last); ++kind)
            for (const std::int32_t padding : {0, 2}) {
                SCOPED_TRACE(std::to_string(shape.Width) + " x " + std::to_string(shape.Height) + ", kind " +
                             std::to_string(kind) + ", padding " + std::to_string(padding));
                ExpectPlainForm<std::uint16_t>(shape, static_cast<Kind>(kind), padding);
                ExpectPlainForm<std::uint8_t>(shape, static_cast<Kind>(kind), padding);
            }
}

TEST(HeightConversion, TakesAnInfinityAfterARowOfNaNsForBothEnds) {
    for (const double infinity : {kInfinity, -kInfinity}) {
        const double top[] = {kNaN, kNaN};
        const double bottom[] = {infinity, infinity};
        const double* const rows[] = {top, bottom};
        std::uint16_t words[4];
        const kyf::HeightRange range = kyf::ConvertTo16Bit({rows, 2, 2}, 1.0, words, 4);
        EXPECT_EQ(range.Step, 0.01);
        EXPECT_EQ(range.Min, infinity);
        EXPECT_EQ(range.Max, infinity);
    }
}

TEST(HeightConversion, PutsTheGreatestHeightAtTheLimit) {
    const double row[] = {-1.0, 0.0, 1.0};
    const double* const rows[] = {row};
    std::uint16_t words[3];
    std::uint8_t bytes[3];
    kyf::ConvertTo16Bit({rows, 3, 1}, 1.0, words, 6);
    kyf::ConvertTo8Bit({rows, 3, 1}, 1.0, bytes, 3);
    EXPECT_EQ(words[0], 0);
    EXPECT_EQ(words[1], 32767);
    EXPECT_EQ(words[2], 65534);
    EXPECT_EQ(bytes[0], 0);
    EXPECT_EQ(bytes[1], 127);
    EXPECT_EQ(bytes[2], 254);
}

TEST(HeightConversion, WritesTheLastRowFirst) {
    const double top[] = {0.0, 65535.0};
    const double bottom[] = {300.0, 200.0};
    const double* const rows[] = {top, bottom};
    std::uint16_t words[4];
    kyf::ConvertTo16Bit({rows, 2, 2}, 1.0, words, 4);
    EXPECT_EQ(words[0], 300);
    EXPECT_EQ(words[1], 200);
    EXPECT_EQ(words[2], 0);
    EXPECT_EQ(words[3], 65534);
}

TEST(HeightConversion, GivesBackEveryHeightToAStep) {
    const Shape shape{65, 5};
    const Map map(shape, Kind::Plain, 11);
    std::vector<std::uint16_t> words(map.Values.size());
    const kyf::HeightRange range =
        kyf::ConvertTo16Bit({map.Rows.data(), shape.Width, shape.Height}, 1.0, words.data(), shape.Width * 2);
    for (std::int32_t y = 0; y < shape.Height; ++y)
        for (std::int32_t x = 0; x < shape.Width; ++x) {
            const auto sample = words[static_cast<std::size_t>((shape.Height - 1 - y) * shape.Width + x)];
            EXPECT_NEAR(range.Min + sample * range.Step, map.Rows[static_cast<std::size_t>(y)][x], range.Step * 1.01);
        }
}

} // namespace
