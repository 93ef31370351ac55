/// Stacks whose frames look at one scene from drifting places.
#ifndef KYFOCUS_TESTS_ALIGNMENT_DRIFTING_STACK_H
#define KYFOCUS_TESTS_ALIGNMENT_DRIFTING_STACK_H

#include <cstdint>
#include <random>
#include <vector>

#include "support/images.h"

namespace test {

/// A frame cut out of a scene with its top left corner at (x, y); places beyond the scene repeat its edge.
inline Image CutOut(const KyiImageData& scene, std::int32_t x, std::int32_t y, std::int32_t width,
                    std::int32_t height) {
    Image frame(KyiAllocImageData(width, height, scene.Format));
    const std::int32_t rectangle[4] = {x, y, width - 1, height - 1};
    KyiClipImage(&scene, frame.get(), rectangle);
    return frame;
}

/// Lines of random brightness along both axes, added up: every band of rows tells of x alone, and of columns of y.
inline Image CrossedLines(std::int32_t width, std::int32_t height, std::int32_t format, std::uint32_t seed) {
    std::mt19937 random(seed);
    const std::uint32_t half = static_cast<std::uint32_t>(KyiGetMaxVal(format)) / 2;
    std::vector<std::int32_t> across(static_cast<std::size_t>(width));
    std::vector<std::int32_t> planes;
    for (std::int32_t& value : across) value = static_cast<std::int32_t>(random() % half);
    for (std::int32_t y = 0; y < height; ++y) {
        const auto down = static_cast<std::int32_t>(random() % half);
        for (const std::int32_t value : across) planes.push_back(value + down);
    }
    const std::vector<std::int32_t> plane = planes;
    for (int channel = 1; channel < ChannelCount(format); ++channel)
        planes.insert(planes.end(), plane.begin(), plane.end());
    return FromPlanes(width, height, format, planes);
}

enum class Content { Noise, Blobs, CrossedLines };

struct Step {
    std::int32_t X;
    std::int32_t Y;
};

/// Frames of a scene, each at the place of the one before plus a step.
inline std::vector<Image> DriftingStack(std::int32_t width, std::int32_t height, std::int32_t format, Content content,
                                        const std::vector<Step>& steps, std::uint32_t seed) {
    constexpr std::int32_t kSpare = 60;
    const std::int32_t sceneWidth = width + 2 * kSpare;
    const std::int32_t sceneHeight = height + 2 * kSpare;
    const auto makeScene = content == Content::Noise   ? RandomImage
                           : content == Content::Blobs ? TexturedImage
                                                       : CrossedLines;
    const Image scene = makeScene(sceneWidth, sceneHeight, format, seed);
    Step place{kSpare, kSpare};
    std::vector<Image> frames;
    frames.push_back(CutOut(*scene, place.X, place.Y, width, height));
    for (const Step step : steps) {
        place = {place.X + step.X, place.Y + step.Y};
        frames.push_back(CutOut(*scene, place.X, place.Y, width, height));
    }
    return frames;
}

} // namespace test

#endif
