#include "support/images.h"

#include <array>
#include <bit>
#include <cmath>
#include <random>

namespace test {

namespace {

template <typename T, typename Same>
testing::AssertionResult Compare(std::span<const T> expected, std::span<const T> actual, Same same) {
    if (expected.size() != actual.size())
        return testing::AssertionFailure() << "sizes differ: expected " << expected.size() << ", got " << actual.size();
    std::size_t differing = 0;
    std::size_t first = 0;
    for (std::size_t i = 0; i < expected.size(); ++i)
        if (!same(expected[i], actual[i]) && differing++ == 0) first = i;
    if (differing == 0) return testing::AssertionSuccess();
    return testing::AssertionFailure() << differing << " of " << expected.size() << " differ, first at " << first
                                       << ": expected " << testing::PrintToString(expected[first]) << ", got "
                                       << testing::PrintToString(actual[first]);
}

} // namespace

int ChannelCount(std::int32_t format) { return KyiIsFormatBgr(format) ? 3 : 1; }

Image FromPlanes(std::int32_t width, std::int32_t height, std::int32_t format, std::span<const std::int32_t> planes) {
    Image image(KyiAllocImageData(width, height, format));
    const std::size_t plane = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
    const auto channels = static_cast<std::size_t>(ChannelCount(format));
    for (std::int32_t y = 0; y < height; ++y) {
        const std::size_t row = static_cast<std::size_t>(y) * static_cast<std::size_t>(width);
        for (std::size_t c = 0; c < channels; ++c)
            KyiSetLinePixel(image.get(), 0, y, static_cast<std::int32_t>(c), &planes[c * plane + row], width);
        if (image->PixelBytes != 4) continue;
        for (std::int32_t x = 0; x < width; ++x)
            *static_cast<std::uint8_t*>(KyiGetPixelAddress(image.get(), x, y)) =
                planes.size() > 3 * plane
                    ? static_cast<std::uint8_t>(planes[3 * plane + row + static_cast<std::size_t>(x)])
                    : std::uint8_t{0};
    }
    return image;
}

std::vector<std::int32_t> ToPlanes(const KyiImageData& image) {
    const std::size_t width = static_cast<std::size_t>(image.Width);
    const std::size_t height = static_cast<std::size_t>(image.Height);
    const int channels = ChannelCount(image.Format);
    std::vector<std::int32_t> planes(static_cast<std::size_t>(channels) * width * height);
    std::size_t at = 0;
    for (std::int32_t c = 0; c < channels; ++c)
        for (std::int32_t y = 0; y < image.Height; ++y, at += width)
            KyiGetLinePixel(&image, 0, y, c, &planes[at], image.Width);
    return planes;
}

Image RandomImage(std::int32_t width, std::int32_t height, std::int32_t format, std::uint32_t seed) {
    Image image(KyiAllocImageData(width, height, format));
    std::mt19937 random(seed);
    auto* bytes = static_cast<std::uint8_t*>(image->Pixels);
    const std::size_t count = static_cast<std::size_t>(image->LineBytes) * static_cast<std::size_t>(height);
    for (std::size_t i = 0; i < count; ++i) bytes[i] = static_cast<std::uint8_t>(random() >> 11);
    return image;
}

Image TexturedImage(std::int32_t width, std::int32_t height, std::int32_t format, std::uint32_t seed) {
    Image image(KyiAllocImageData(width, height, format));
    std::mt19937 random(seed);
    std::array<double, 12> phase{};
    for (double& p : phase) p = static_cast<double>(random()) / 4294967296.0 * 6.283185307179586;
    const double top = KyiGetMaxVal(format);
    std::vector<std::int32_t> line(static_cast<std::size_t>(width));
    for (std::int32_t c = 0; c < ChannelCount(format); ++c) {
        for (std::int32_t y = 0; y < height; ++y) {
            for (std::int32_t x = 0; x < width; ++x) {
                const double u = 0.35 * x + phase[static_cast<std::size_t>(c)];
                const double v = 0.27 * y + phase[static_cast<std::size_t>(c) + 3];
                double value = 0.5 + 0.25 * std::sin(u) * std::cos(v) + 0.15 * std::sin(0.05 * x * 0.7 + phase[6]);
                if (std::sin(u * 0.31 + v * 0.43) > 0.7) value += 0.3;
                value += static_cast<double>(random() % 1000) / 20000.0;
                line[static_cast<std::size_t>(x)] =
                    static_cast<std::int32_t>(std::min(std::max(value, 0.0), 1.0) * top);
            }
            KyiSetLinePixel(image.get(), 0, y, c, line.data(), width);
        }
    }
    return image;
}

testing::AssertionResult SameImage(const KyiImageData& expected, const KyiImageData& actual) {
    if (expected.Width != actual.Width || expected.Height != actual.Height || expected.Format != actual.Format)
        return testing::AssertionFailure()
               << "expected " << expected.Width << " x " << expected.Height << ", format " << expected.Format
               << "; got " << actual.Width << " x " << actual.Height << ", format " << actual.Format;
    return SameValues(ToPlanes(expected), ToPlanes(actual));
}

testing::AssertionResult SameValues(std::span<const std::int32_t> expected, std::span<const std::int32_t> actual) {
    return Compare(expected, actual, [](std::int32_t a, std::int32_t b) { return a == b; });
}

testing::AssertionResult SameValues(std::span<const double> expected, std::span<const double> actual) {
    return Compare(expected, actual, [](double a, double b) {
        return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b);
    });
}

std::span<const std::int32_t> AllFormats() {
    static const std::array<std::int32_t, 13> formats{3, 4, 5, 7, 100, 101, 104, 200, 201, 202, 203, 204, 205};
    return formats;
}

} // namespace test
