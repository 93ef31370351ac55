/// Sizes, contents and thread counts that the filters of this folder are compared on.
#ifndef KYFOCUS_TESTS_FILTERS_SHAPES_H
#define KYFOCUS_TESTS_FILTERS_SHAPES_H

#include <array>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/images.h"
#include "support/threads.h"

namespace test {

struct Shape {
    std::int32_t Width;
    std::int32_t Height;
};

/// Around the sizes at which kernels change their step: 16, 32 and 64 samples or rows.
inline constexpr std::array<Shape, 20> kAwkwardShapes{
    {{1, 1},  {1, 7},  {7, 1},  {2, 2},  {3, 2},   {2, 3},   {4, 4},   {5, 5},   {3, 40},  {40, 3},
     {63, 5}, {64, 5}, {65, 5}, {5, 63}, {31, 64}, {33, 65}, {66, 33}, {130, 9}, {9, 200}, {257, 31}}};

/// Flag off, and on with some numbers of threads.
struct Threads {
    KyiBool Flag;
    int Count;
};
inline constexpr std::array<Threads, 4> kThreads{{{0, 1}, {1, 1}, {1, 2}, {1, 5}}};

/// Few levels and many ties: what decides the state of the running maximum.
inline Image SparseImage(std::int32_t width, std::int32_t height, std::int32_t format, std::uint32_t seed) {
    std::mt19937 random(seed);
    const std::array<std::int32_t, 8> levels{0, 0, 0, 0, 1, 7, 7, KyiGetMaxVal(format)};
    std::vector<std::int32_t> planes(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 4);
    for (std::int32_t& sample : planes) sample = levels[random() % levels.size()];
    return FromPlanes(width, height, format, planes);
}

inline constexpr std::size_t kContents = 3;

inline Image MakeContent(Shape shape, std::int32_t format, std::size_t content, std::uint32_t seed) {
    if (content == 0) return RandomImage(shape.Width, shape.Height, format, seed);
    if (content == 1) return SparseImage(shape.Width, shape.Height, format, seed);
    return TexturedImage(shape.Width, shape.Height, format, seed);
}

inline std::string Describe(Shape shape, std::int32_t format, std::size_t content) {
    return std::to_string(shape.Width) + " x " + std::to_string(shape.Height) + ", format " + std::to_string(format) +
           ", content " + std::to_string(content);
}

/// Whether all bytes of all pixels agree, unused samples among them.
inline testing::AssertionResult SamePixelBytes(const KyiImageData& expected, const KyiImageData& actual) {
    const auto bytes = static_cast<std::size_t>(expected.Width) * static_cast<std::size_t>(expected.PixelBytes);
    for (std::int32_t y = 0; y < expected.Height; ++y) {
        const auto* const e = static_cast<const std::uint8_t*>(KyiGetPixelAddress(&expected, 0, y));
        const auto* const a = static_cast<const std::uint8_t*>(KyiGetPixelAddress(&actual, 0, y));
        for (std::size_t i = 0; i < bytes; ++i)
            if (e[i] != a[i])
                return testing::AssertionFailure()
                       << "row " << y << ", byte " << i << ": expected " << int{e[i]} << ", got " << int{a[i]};
    }
    return testing::AssertionSuccess();
}

} // namespace test

#endif
