/// Maps for the tests of the 3D kernels: images of doubles and of 16-bit samples, and masks, from and to plain lists.
#ifndef KYFOCUS_TESTS_SAFE3D_MAPS_H
#define KYFOCUS_TESTS_SAFE3D_MAPS_H

#include <cstdint>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "filters/double_image.h"
#include "safe3d/image_uint16.h"
#include "support/images.h"

namespace test {

struct FreeUint16 {
    void operator()(kyf::KyfImageDataUint16* image) const { kyf::FreeUint16Image(image); }
};
using Uint16Image = std::unique_ptr<kyf::KyfImageDataUint16, FreeUint16>;

struct MapShape {
    std::int32_t Width;
    std::int32_t Height;
};
/// Sizes at which loops over lanes, blocks and borders end differently.
inline const std::vector<MapShape> kMapShapes{{1, 1},   {1, 7},   {7, 1},    {2, 2},    {3, 2},   {4, 4},
                                              {5, 5},   {63, 5},  {64, 5},   {65, 5},   {5, 64},  {33, 70},
                                              {130, 9}, {9, 130}, {128, 40}, {257, 31}, {31, 257}};

inline std::size_t CountOf(const MapShape& shape) {
    return static_cast<std::size_t>(shape.Width) * static_cast<std::size_t>(shape.Height);
}

inline kyf::DoubleImagePtr NewDoubles(const MapShape& shape, const std::vector<double>& values) {
    kyf::DoubleImagePtr image(kyf::AllocDoubleImage(shape.Width, shape.Height));
    std::size_t at = 0;
    for (std::int32_t y = 0; y < shape.Height; ++y)
        for (std::int32_t x = 0; x < shape.Width; ++x) image->Rows[y][x] = values.at(at++);
    return image;
}

inline std::vector<double> ToList(const KyfImageData& image) {
    std::vector<double> values;
    for (std::int32_t y = 0; y < image.Height; ++y)
        values.insert(values.end(), image.Rows[y], image.Rows[y] + image.Width);
    return values;
}

inline Uint16Image NewUint16(const MapShape& shape, const std::vector<std::int32_t>& samples, double scale = 1.0,
                             double offset = 0.0) {
    Uint16Image image(kyf::AllocUint16Image(shape.Width, shape.Height));
    std::size_t at = 0;
    for (std::int32_t y = 0; y < shape.Height; ++y)
        for (std::int32_t x = 0; x < shape.Width; ++x) image->Rows[y][x] = static_cast<std::uint16_t>(samples.at(at++));
    image->Scale = scale;
    image->Offset = offset;
    return image;
}

inline std::vector<std::int32_t> ToList(const kyf::KyfImageDataUint16& image) {
    std::vector<std::int32_t> samples;
    for (std::int32_t y = 0; y < image.Height; ++y)
        samples.insert(samples.end(), image.Rows[y], image.Rows[y] + image.Width);
    return samples;
}

inline Image NewMask(const MapShape& shape, const std::vector<std::int32_t>& values) {
    return FromPlanes(shape.Width, shape.Height, KyiFormatGray8, values);
}

/// Doubles from low to high, in steps fine enough that sums round.
inline std::vector<double> RandomDoubles(std::size_t count, double low, double high, std::uint32_t seed) {
    std::mt19937 random(seed);
    std::vector<double> values(count);
    for (double& value : values) value = low + (high - low) * (static_cast<double>(random()) / 4294967296.0);
    return values;
}

inline std::vector<std::int32_t> RandomSamples(std::size_t count, std::int32_t low, std::int32_t high,
                                               std::uint32_t seed) {
    std::mt19937 random(seed);
    std::vector<std::int32_t> samples(count);
    for (std::int32_t& sample : samples)
        sample = low + static_cast<std::int32_t>(random() % static_cast<std::uint32_t>(high - low + 1));
    return samples;
}

/// A mask whose bad pixels, 255, come singly or in blots.
/// @param share  Of a hundred pixels or blots those that are bad. @param blot  Side of the blots; 1 for single pixels.
inline std::vector<std::int32_t> RandomMask(const MapShape& shape, std::uint32_t share, std::int32_t blot,
                                            std::uint32_t seed) {
    std::vector<std::int32_t> mask(CountOf(shape));
    for (std::int32_t y = 0; y < shape.Height; ++y) {
        for (std::int32_t x = 0; x < shape.Width; ++x) {
            const auto cell = static_cast<std::uint32_t>(y / blot * 977 + x / blot);
            std::mt19937 random(seed * 7919 + cell);
            random.discard(3);
            mask[static_cast<std::size_t>(y) * static_cast<std::size_t>(shape.Width) + static_cast<std::size_t>(x)] =
                random() % 100 < share ? 255 : 0;
        }
    }
    return mask;
}

inline std::string Describe(const MapShape& shape, int threads, std::uint32_t seed) {
    return std::to_string(shape.Width) + " x " + std::to_string(shape.Height) + ", threads " + std::to_string(threads) +
           ", seed " + std::to_string(seed);
}

} // namespace test

#endif
