/// Images for tests: from and to planes of samples, random ones, comparisons that tell where two images differ.
#ifndef KYFOCUS_TESTS_SUPPORT_IMAGES_H
#define KYFOCUS_TESTS_SUPPORT_IMAGES_H

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <kyimaging/kyimaging.h>

namespace test {

struct FreeImage {
    void operator()(KyiImageData* image) const { KyiFreeImageData(image); }
};
using Image = std::unique_ptr<KyiImageData, FreeImage>;

/// Channels that a format shows: 1 for gray, 3 for colour.
int ChannelCount(std::int32_t format);

/// An image from planes [channel][y][x], channel 0 red; a fourth plane is the unused sample of four-byte pixels.
/// @param planes  Channel count x height x width samples, or with one plane more.
Image FromPlanes(std::int32_t width, std::int32_t height, std::int32_t format, std::span<const std::int32_t> planes);

/// The shown channels of an image as planes [channel][y][x].
std::vector<std::int32_t> ToPlanes(const KyiImageData& image);

/// Noise over all bits of the samples, unused samples and padding included. The same for the same seed.
Image RandomImage(std::int32_t width, std::int32_t height, std::int32_t format, std::uint32_t seed);

/// Smooth blobs with edges: content on which filters and selection have something to do.
Image TexturedImage(std::int32_t width, std::int32_t height, std::int32_t format, std::uint32_t seed);

/// Whether size, format and all shown samples agree; the message names the first difference.
testing::AssertionResult SameImage(const KyiImageData& expected, const KyiImageData& actual);

/// Whether two lists agree; the message names the first difference as an index. Doubles are compared by their bits.
testing::AssertionResult SameValues(std::span<const std::int32_t> expected, std::span<const std::int32_t> actual);
testing::AssertionResult SameValues(std::span<const double> expected, std::span<const double> actual);

/// All format words.
std::span<const std::int32_t> AllFormats();

} // namespace test

#endif
