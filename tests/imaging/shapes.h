/// Sizes at which loops over lines and columns go wrong first.
#ifndef KYFOCUS_TESTS_IMAGING_SHAPES_H
#define KYFOCUS_TESTS_IMAGING_SHAPES_H

#include <array>
#include <cstdint>
#include <string>

#include <kyimaging/kyimaging.h>

namespace test {

struct Shape {
    std::int32_t Width;
    std::int32_t Height;
};

inline constexpr std::array<Shape, 12> kAwkwardShapes{
    {{1, 1}, {1, 7}, {7, 1}, {2, 2}, {3, 2}, {5, 5}, {15, 3}, {33, 2}, {63, 5}, {64, 5}, {65, 5}, {257, 31}}};

inline std::string Describe(const Shape& shape, std::int32_t format) {
    return std::to_string(shape.Width) + " x " + std::to_string(shape.Height) + ", format " + std::to_string(format);
}

} // namespace test

#endif
