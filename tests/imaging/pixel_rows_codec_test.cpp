/// The row kernels of the codecs against the plain forms, at every count around the steps of their loops.
#include "imaging/pixel_rows.h"

#include <functional>
#include <random>

#include <gtest/gtest.h>

#include "reference/pixel_rows.h"

namespace {

using reference::Row;
using Kernel = std::function<void(const std::uint8_t*, std::uint8_t*, std::size_t)>;

constexpr std::size_t kMostPixels = 70;
constexpr std::uint8_t kUntouched = 0xa5;

Row RandomRow(std::size_t bytes) {
    std::mt19937 random(static_cast<std::mt19937::result_type>(bytes));
    Row row(bytes);
    for (std::uint8_t& byte : row) byte = static_cast<std::uint8_t>(random());
    return row;
}

/// Runs the kernel from and to memory at odd addresses with a guard behind it.
Row Turned(const Kernel& kernel, const Row& in, std::size_t outBytes, std::size_t count) {
    Row source(in.size() + 1);
    std::copy(in.begin(), in.end(), source.begin() + 1);
    Row out(outBytes + 33, kUntouched);
    kernel(source.data() + 1, out.data() + 1, count);
    for (std::size_t i = outBytes + 1; i < out.size(); ++i) EXPECT_EQ(kUntouched, out[i]) << "wrote behind the row";
    return {out.begin() + 1, out.begin() + 1 + static_cast<std::ptrdiff_t>(outBytes)};
}

Row TurnedInPlace(const Kernel& kernel, Row row, std::size_t count) {
    kernel(row.data(), row.data(), count);
    return row;
}

TEST(PixelRows, ExchangeRedAndBlue) {
    for (std::size_t count = 0; count < kMostPixels; ++count) {
        const Row eight = RandomRow(3 * count);
        EXPECT_EQ(reference::SwapRedBlue(eight, 1), Turned(kyi::SwapRedBlue8, eight, eight.size(), count));
        EXPECT_EQ(reference::SwapRedBlue(eight, 1), TurnedInPlace(kyi::SwapRedBlue8, eight, count));
        const Row sixteen = RandomRow(6 * count);
        EXPECT_EQ(reference::SwapRedBlue(sixteen, 2), Turned(kyi::SwapRedBlue16, sixteen, sixteen.size(), count));
        EXPECT_EQ(reference::SwapRedBlue(sixteen, 2), TurnedInPlace(kyi::SwapRedBlue16, sixteen, count));
    }
}

TEST(PixelRows, ExchangeTheBytesOfSamples) {
    for (std::size_t count = 0; count < kMostPixels; ++count) {
        const Row row = RandomRow(2 * count);
        EXPECT_EQ(reference::SwapBytes(row), Turned(kyi::SwapBytes16, row, row.size(), count));
        EXPECT_EQ(reference::SwapBytes(row), TurnedInPlace(kyi::SwapBytes16, row, count));
    }
}

TEST(PixelRows, InvertBytes) {
    for (std::size_t count = 0; count < kMostPixels; ++count) {
        const Row row = RandomRow(count);
        EXPECT_EQ(reference::Invert(row), Turned(kyi::InvertBytes, row, count, count));
        EXPECT_EQ(reference::Invert(row), TurnedInPlace(kyi::InvertBytes, row, count));
    }
}

TEST(PixelRows, LeaveOutTheFirstOrLastOfFourBytes) {
    for (std::size_t count = 0; count < kMostPixels; ++count) {
        const Row row = RandomRow(4 * count);
        for (const int skipped : {0, 3}) {
            const auto kernel = [&](const std::uint8_t* in, std::uint8_t* out, std::size_t pixels) {
                kyi::Drop1Of4(in, skipped, out, pixels);
            };
            EXPECT_EQ(reference::Drop1Of4(row, static_cast<std::size_t>(skipped)),
                      Turned(kernel, row, 3 * count, count));
        }
    }
}

TEST(PixelRows, TakeBitsApartFromTheHighestOn) {
    for (const int bits : {1, 2, 4, 8}) {
        for (std::size_t count = 0; count < kMostPixels; ++count) {
            const auto width = static_cast<std::size_t>(bits);
            const Row row = RandomRow((count * width + 7) / 8);
            const auto kernel = [&](const std::uint8_t* in, std::uint8_t* out, std::size_t pixels) {
                kyi::UnpackBits(in, bits, out, pixels);
            };
            EXPECT_EQ(reference::UnpackBits(row, width, count), Turned(kernel, row, count, count));
        }
    }
}

} // namespace
