#include <atomic>
#include <climits>
#include <random>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <kyimaging/kyimaging.h>

#include "imaging/shapes.h"
#include "reference/line_access.h"
#include "support/images.h"

namespace {

using test::kAwkwardShapes;

constexpr std::int32_t kUntouched = -77777;

/// Some pixels along a line or a column.
struct PixelRun {
    std::int32_t X;
    std::int32_t Y;
    std::int32_t Count;
};

/// Runs inside, across each edge, and wholly outside.
std::vector<PixelRun> RunsAround(const test::Shape& shape) {
    std::vector<PixelRun> runs;
    for (const std::int32_t x : {0, 1, -1, -5, shape.Width / 2, shape.Width - 1, shape.Width, shape.Width + 3, -40})
        for (const std::int32_t y : {0, shape.Height - 1, -1, shape.Height, -40})
            for (const std::int32_t count : {1, 2, 3, 16, 17, shape.Width, shape.Height + 2, shape.Width + 9})
                runs.push_back({x, y, count});
    return runs;
}

/// Calls `check(image, channel)` for every format, awkward shape and channel.
template <typename Check> void ForAllImages(const Check& check) {
    for (const std::int32_t format : test::AllFormats())
        for (const test::Shape& shape : kAwkwardShapes) {
            SCOPED_TRACE(Describe(shape, format));
            const test::Image image = test::RandomImage(shape.Width, shape.Height, format, 11);
            for (std::int32_t channel = 0; channel < test::ChannelCount(format); ++channel) check(*image, channel);
        }
}

std::vector<std::int32_t> RandomValues(std::size_t count, std::uint32_t seed) {
    std::mt19937 random(seed);
    std::vector<std::int32_t> values(count);
    for (std::int32_t& value : values) value = static_cast<std::int32_t>(random());
    return values;
}

TEST(LineAccess, ReadsLinesAsTheBytesTellWithTheEdgesRepeated) {
    ForAllImages([](KyiImageData& image, std::int32_t channel) {
        for (const PixelRun& run : RunsAround({image.Width, image.Height})) {
            const auto count = static_cast<std::size_t>(run.Count);
            std::vector<std::int32_t> values(count + 1, kUntouched);
            KyiGetLinePixel(&image, run.X, run.Y, channel, values.data(), run.Count);
            std::vector<std::int32_t> expected(count + 1, kUntouched);
            for (std::size_t i = 0; i < count; ++i)
                expected[i] = reference::Read(image, run.X + static_cast<std::int64_t>(i), run.Y, channel);
            ASSERT_TRUE(test::SameValues(expected, values))
                << "from " << run.X << ", " << run.Y << ", channel " << channel;
        }
    });
}

TEST(LineAccess, ReadsColumnsAsTheBytesTellWithTheEdgesRepeated) {
    ForAllImages([](KyiImageData& image, std::int32_t channel) {
        for (const PixelRun& run : RunsAround({image.Width, image.Height})) {
            const auto count = static_cast<std::size_t>(run.Count);
            std::vector<std::int32_t> values(count + 1, kUntouched);
            KyiGetVLinePixel(&image, run.X, run.Y, channel, values.data(), run.Count);
            std::vector<std::int32_t> expected(count + 1, kUntouched);
            for (std::size_t i = 0; i < count; ++i)
                expected[i] = reference::Read(image, run.X, run.Y + static_cast<std::int64_t>(i), channel);
            ASSERT_TRUE(test::SameValues(expected, values))
                << "from " << run.X << ", " << run.Y << ", channel " << channel;
        }
    });
}

// Compares the whole block: neighbouring pixels, other channels, unused samples and padding stay.
TEST(LineAccess, WritesLinesAndNoOtherByte) {
    ForAllImages([](KyiImageData& image, std::int32_t channel) {
        for (const PixelRun& run : RunsAround({image.Width, image.Height})) {
            const std::vector<std::int32_t> values = RandomValues(static_cast<std::size_t>(run.Count), 5);
            std::vector<std::uint8_t> expected = reference::Bytes(image);
            for (std::size_t i = 0; i < values.size(); ++i)
                reference::Write(image, expected, run.X + static_cast<std::int64_t>(i), run.Y, channel, values[i]);
            KyiSetLinePixel(&image, run.X, run.Y, channel, values.data(), run.Count);
            ASSERT_EQ(expected, reference::Bytes(image))
                << "from " << run.X << ", " << run.Y << ", channel " << channel;
        }
    });
}

TEST(LineAccess, WritesColumnsAndNoOtherByte) {
    ForAllImages([](KyiImageData& image, std::int32_t channel) {
        for (const PixelRun& run : RunsAround({image.Width, image.Height})) {
            const std::vector<std::int32_t> values = RandomValues(static_cast<std::size_t>(run.Count), 6);
            std::vector<std::uint8_t> expected = reference::Bytes(image);
            for (std::size_t i = 0; i < values.size(); ++i)
                reference::Write(image, expected, run.X, run.Y + static_cast<std::int64_t>(i), channel, values[i]);
            KyiSetVLinePixel(&image, run.X, run.Y, channel, values.data(), run.Count);
            ASSERT_EQ(expected, reference::Bytes(image))
                << "from " << run.X << ", " << run.Y << ", channel " << channel;
        }
    });
}

// Neighbouring runs of one line. A write that put back a byte beyond its run would undo what the neighbour wrote there.
TEST(LineAccess, LetsThreadsWriteDistinctPixelsOfOneLine) {
    constexpr std::int32_t kRun = 48;
    for (const std::int32_t format :
         {KyiFormatGray8, KyiFormatGray16, KyiFormatBgr24, KyiFormatBgr32, KyiFormatBgr48}) {
        const test::Image image = test::RandomImage(4 * kRun, 1, format, 1);
        std::atomic<int> undone{0};
        std::vector<std::thread> threads;
        for (std::int32_t first = 0; first < 4 * kRun; first += kRun)
            threads.emplace_back([&image, &undone, first] {
                for (std::int32_t turn = 0; turn < 5000; ++turn) {
                    const std::vector<std::int32_t> values(kRun, turn % 251);
                    KyiSetLinePixel(image.get(), first, 0, /*channel=*/0, values.data(), kRun); // red, the last sample
                    for (std::int32_t channel = 1; channel < 3; ++channel)
                        KyiSetVLinePixel(image.get(), first, 0, channel, values.data(), 1); // bytes ahead of it
                    if (reference::Read(*image, first, 0, 2) != values[0]) ++undone;
                    if (reference::Read(*image, first + kRun - 1, 0, 0) != values[0]) ++undone;
                }
            });
        for (std::thread& thread : threads) thread.join();
        EXPECT_EQ(undone, 0) << "format " << format;
    }
}

TEST(LineAccess, IgnoresTheChannelOnOneChannelImages) {
    for (const std::int32_t format : {3, 5, 200, 202}) {
        const test::Image image = test::RandomImage(65, 3, format, 2);
        std::vector<std::int32_t> first(65);
        KyiGetLinePixel(image.get(), 0, 1, 0, first.data(), 65);
        for (const std::int32_t channel : {1, 2, 7, -1, INT_MIN}) {
            std::vector<std::int32_t> other(65);
            KyiGetLinePixel(image.get(), 0, 1, channel, other.data(), 65);
            EXPECT_TRUE(test::SameValues(first, other)) << "format " << format << ", channel " << channel;
        }
    }
}

TEST(LineAccess, LeavesEverythingAsItWasForAChannelThatAColourImageLacks) {
    const test::Image image = test::RandomImage(9, 3, KyiFormatBgr32, 2);
    const std::vector<std::uint8_t> before = reference::Bytes(*image);
    std::vector<std::int32_t> values(9, kUntouched);
    for (const std::int32_t channel : {-1, 3, INT_MAX, INT_MIN}) {
        KyiGetLinePixel(image.get(), 0, 1, channel, values.data(), 9);
        KyiGetVLinePixel(image.get(), 0, 0, channel, values.data(), 3);
        KyiSetLinePixel(image.get(), 0, 1, channel, values.data(), 9);
        KyiSetVLinePixel(image.get(), 0, 0, channel, values.data(), 3);
    }
    EXPECT_EQ(values, std::vector<std::int32_t>(9, kUntouched));
    EXPECT_EQ(before, reference::Bytes(*image));
}

TEST(LineAccess, SurvivesHostileArguments) {
    const test::Image image = test::RandomImage(9, 3, KyiFormatBgr24, 2);
    const std::vector<std::uint8_t> before = reference::Bytes(*image);
    std::vector<std::int32_t> values(4, kUntouched);
    for (const std::int32_t count : {0, -1, INT_MIN}) {
        KyiGetLinePixel(image.get(), 0, 0, 0, values.data(), count);
        KyiGetVLinePixel(image.get(), 0, 0, 0, values.data(), count);
        KyiSetLinePixel(image.get(), 0, 0, 0, values.data(), count);
        KyiSetVLinePixel(image.get(), 0, 0, 0, values.data(), count);
    }
    EXPECT_EQ(values, std::vector<std::int32_t>(4, kUntouched));
    for (const std::int32_t far : {INT_MAX, INT_MAX - 2, INT_MIN, INT_MIN + 1}) {
        KyiSetLinePixel(image.get(), far, 0, 0, values.data(), 4);
        KyiSetLinePixel(image.get(), 0, far, 0, values.data(), 4);
        KyiSetVLinePixel(image.get(), far, 0, 0, values.data(), 4);
        KyiSetVLinePixel(image.get(), 0, far, 0, values.data(), 4);
        KyiGetLinePixel(image.get(), far, far, 1, values.data(), 4);
        const std::int32_t corner = reference::Read(*image, far, far, 1);
        EXPECT_EQ(values, std::vector<std::int32_t>(4, corner));
        KyiGetVLinePixel(image.get(), far, far, 1, values.data(), 4);
        EXPECT_EQ(values, std::vector<std::int32_t>(4, corner));
    }
    EXPECT_EQ(before, reference::Bytes(*image));
}

TEST(LineAccess, AcceptsNull) {
    const test::Image image = test::RandomImage(4, 4, KyiFormatGray8, 2);
    std::vector<std::int32_t> values(4, kUntouched);
    KyiGetLinePixel(nullptr, 0, 0, 0, values.data(), 4);
    KyiGetVLinePixel(nullptr, 0, 0, 0, values.data(), 4);
    KyiSetLinePixel(nullptr, 0, 0, 0, values.data(), 4);
    KyiSetVLinePixel(nullptr, 0, 0, 0, values.data(), 4);
    KyiGetLinePixel(image.get(), 0, 0, 0, nullptr, 4);
    KyiGetVLinePixel(image.get(), 0, 0, 0, nullptr, 4);
    KyiSetLinePixel(image.get(), 0, 0, 0, nullptr, 4);
    KyiSetVLinePixel(image.get(), 0, 0, 0, nullptr, 4);
    EXPECT_EQ(values, std::vector<std::int32_t>(4, kUntouched));
}

} // namespace
