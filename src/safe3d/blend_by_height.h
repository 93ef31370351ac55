/// Kernels of the composite by height: one row of the map and of three images in, one row of the composite changed. No
/// images, files or threads.
#ifndef KYFOCUS_SAFE3D_BLEND_BY_HEIGHT_H
#define KYFOCUS_SAFE3D_BLEND_BY_HEIGHT_H

#include <cstdint>

namespace kyf {

/// One step: the samples of the map between two frames, and what they stand for.
struct BlendStep {
    std::int32_t Lowest;
    std::int32_t Highest;
    double Scale;
    double Offset;
    double LastFrame; ///< frame count less 1
};

/// The step from frame `frame` - 1 to `frame`, from 1 on, of a map with this scale and offset.
BlendStep MakeBlendStep(std::int32_t frame, std::int32_t frameCount, double scale, double offset);

/// Lowest and highest sample of a piece of the map.
struct SampleRange {
    std::uint16_t Lowest;
    std::uint16_t Highest;

    bool Meets(const BlendStep& step) const { return Highest >= step.Lowest && Lowest <= step.Highest; }
};
SampleRange RangeOfSamples(const std::uint16_t* map, std::int32_t count);

/// Samples of a pixel from one pixel to the next, for each image.
struct BlendStrides {
    int Previous;
    int Next;
    int Out;
};

/// Blends the pixels of a row whose map sample lies in the step: out = next * f + previous * (1 - f), truncated, where
/// f is what the frame number has behind the point, and 1 at the last frame. Other pixels stay.
/// @param channels  Samples that are blended, from the first on: 1, or 3.
void BlendRow(const BlendStep& step, const std::uint16_t* map, const std::uint8_t* previous, const std::uint8_t* next,
              std::uint8_t* out, const BlendStrides& strides, int channels, std::int32_t width);
void BlendRow(const BlendStep& step, const std::uint16_t* map, const std::uint16_t* previous, const std::uint16_t* next,
              std::uint16_t* out, const BlendStrides& strides, int channels, std::int32_t width);

} // namespace kyf

#endif
