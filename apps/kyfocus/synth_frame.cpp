#include "synth_frame.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "errors.h"
#include "synth_noise.h"

namespace app {
namespace {

constexpr std::uint64_t kNoiseSalt = 0x6E6F6973;
constexpr int kTaps = 4;
constexpr int kFirstExposure = 1000000; // noise of its own, beyond that of all frames

/// Where a coordinate of a frame lies in the scene: between `Pixel` and the next, with Catmull-Rom weights for the
/// pixels from the one before on. Whole coordinates get the weights 0, 1, 0, 0.
struct SceneCoordinate {
    int Pixel;
    float Beyond;
    std::array<float, kTaps> Weights;
};

SceneCoordinate Locate(int coordinate, int size, double scale, double drift, int margin) {
    const double centre = (size - 1) / 2.0;
    const double place = scale == 1.0 ? coordinate - drift : centre + (coordinate - centre - drift) / scale;
    const double whole = std::floor(place);
    const auto t = static_cast<float>(place - whole);
    return {static_cast<int>(whole) + margin,
            t,
            {0.5F * t * ((2.0F - t) * t - 1.0F), 0.5F * (t * t * (3.0F * t - 5.0F) + 2.0F),
             0.5F * t * ((4.0F - 3.0F * t) * t + 1.0F), 0.5F * t * t * (t - 1.0F)}};
}

/// What turns a scene's sample into one of the camera.
struct Camera {
    float Gain;
    float Peak;
    float NoiseLevels;
    std::uint64_t NoiseSeed;
};

std::int32_t Sample(const Camera& camera, float light, std::uint64_t rowSeed, std::size_t place) noexcept {
    float value = light * camera.Gain + 0.5F;
    if (camera.NoiseLevels > 0.0F) value += camera.NoiseLevels * BellNumber(MixBits(rowSeed ^ place));
    return static_cast<std::int32_t>(std::clamp(value, 0.0F, camera.Peak));
}

/// Makes the rows of one frame, one after the other.
class RowMaker {
  public:
    RowMaker(const SynthOptions& options, const Scene& scene, const BlurLayers& layers, const FrameGeometry& geometry,
             float focus, const Camera& camera)
        : m_options(options), m_scene(scene), m_layers(layers), m_geometry(geometry), m_focus(focus), m_camera(camera),
          m_heights(Index(scene.Width)), m_places(Index(options.Width)),
          m_rows(Index(layers.Count()), std::vector<float>(scene.RowSamples())), m_samples(Index(options.Width)) {
        for (int x = 0; x < options.Width; ++x)
            m_columns.push_back(Locate(x, options.Width, geometry.Scale, geometry.DriftX, scene.Margin));
    }

    void MakeRow(int y, KyiImageData& image) {
        const SceneCoordinate row = Locate(y, m_options.Height, m_geometry.Scale, m_geometry.DriftY, m_scene.Margin);
        FindPlaces(row);
        LoadLayers(row);
        const std::uint64_t rowSeed = MixBits(m_camera.NoiseSeed ^ static_cast<std::uint64_t>(y));
        const auto channels = static_cast<std::size_t>(m_scene.Channels);
        for (std::size_t channel = 0; channel < channels; ++channel) {
            for (std::size_t x = 0; x < m_samples.size(); ++x)
                m_samples[x] = Sample(m_camera, Blend(x, channel), rowSeed, x * channels + channel);
            KyiSetLinePixel(&image, 0, y, static_cast<std::int32_t>(channel), m_samples.data(), m_options.Width);
        }
    }

  private:
    /// The blur of each pixel as a place between layers, and the layers that the row needs.
    void FindPlaces(const SceneCoordinate& row) {
        const float* above = m_scene.HeightRow(row.Pixel);
        const float* below = m_scene.HeightRow(row.Pixel + 1);
        for (std::size_t x = 0; x < m_heights.size(); ++x) m_heights[x] = above[x] + row.Beyond * (below[x] - above[x]);
        m_lowest = m_layers.Count() - 1;
        m_highest = 0;
        for (std::size_t x = 0; x < m_places.size(); ++x) {
            const SceneCoordinate& column = m_columns[x];
            const float* heights = m_heights.data() + column.Pixel;
            const float height = heights[0] + column.Beyond * (heights[1] - heights[0]);
            m_places[x] = m_layers.Find(BlurOf(m_options, std::abs(height - m_focus)));
            m_lowest = std::min(m_lowest, m_places[x].Lower);
            m_highest = std::max(m_highest, m_places[x].Lower + 1);
        }
        m_highest = std::min(m_highest, m_layers.Count() - 1);
    }

    void LoadLayers(const SceneCoordinate& row) {
        for (int layer = m_lowest; layer <= m_highest; ++layer) {
            const std::uint16_t* first = m_layers.Samples(layer).data() + Index(row.Pixel - 1) * m_scene.RowSamples();
            std::vector<float>& sums = m_rows[Index(layer)];
            for (std::size_t i = 0; i < sums.size(); ++i) {
                const std::uint16_t* column = first + i;
                float sum = 0.0F;
                for (std::size_t tap = 0; tap < kTaps; ++tap)
                    sum += row.Weights[tap] * static_cast<float>(column[tap * m_scene.RowSamples()]);
                sums[i] = sum;
            }
        }
    }

    float Across(int layer, const SceneCoordinate& column, std::size_t channel) const noexcept {
        const auto channels = static_cast<std::size_t>(m_scene.Channels);
        const float* samples = m_rows[Index(layer)].data() + Index(column.Pixel - 1) * channels + channel;
        return column.Weights[0] * samples[0] + column.Weights[1] * samples[channels] +
               column.Weights[2] * samples[2 * channels] + column.Weights[3] * samples[3 * channels];
    }

    float Blend(std::size_t x, std::size_t channel) const noexcept {
        const BlurLayers::Place& place = m_places[x];
        const float lower = Across(place.Lower, m_columns[x], channel);
        if (place.Weight == 0.0F) return lower;
        return lower + place.Weight * (Across(place.Lower + 1, m_columns[x], channel) - lower);
    }

    const SynthOptions& m_options;
    const Scene& m_scene;
    const BlurLayers& m_layers;
    FrameGeometry m_geometry;
    float m_focus;
    Camera m_camera;
    std::vector<SceneCoordinate> m_columns;
    std::vector<float> m_heights;            // of the scene's columns
    std::vector<BlurLayers::Place> m_places; // of the frame's columns
    std::vector<std::vector<float>> m_rows;  // one row of each layer, drawn out along y
    std::vector<std::int32_t> m_samples;
    int m_lowest = 0;
    int m_highest = 0;
};

Image NewImage(const SynthOptions& options) {
    const std::int32_t gray = options.Bits == 8 ? KyiFormatGray8 : KyiFormatGray16;
    const std::int32_t colour = options.Bits == 8 ? KyiFormatBgr24 : KyiFormatBgr48;
    Image image(KyiAllocImageData(options.Width, options.Height, options.Gray ? gray : colour));
    if (!image) throw Failure("out of memory for a frame of the stack");
    return image;
}

Camera CameraOf(const SynthOptions& options, const Scene& scene, int frame, double noise) {
    const double peak = options.Bits == 8 ? 255.0 : 65535.0;
    return {static_cast<float>(peak / scene.White), static_cast<float>(peak), static_cast<float>(noise * peak / 255.0),
            MixPlace(options.Seed ^ (kNoiseSalt << 32U), frame, 0)};
}

/// The scene as a camera sees it that has all of it in focus.
Image MakeInFocus(const SynthOptions& options, const Scene& scene, const BlurLayers& layers, const Camera& camera) {
    Image image = NewImage(options);
    const auto channels = static_cast<std::size_t>(scene.Channels);
    std::vector<std::int32_t> row(Index(options.Width));
    for (int y = 0; y < options.Height; ++y) {
        const std::uint64_t rowSeed = MixBits(camera.NoiseSeed ^ static_cast<std::uint64_t>(y));
        for (std::size_t channel = 0; channel < channels; ++channel) {
            const std::uint16_t* samples = layers.Samples(0).data() + Index(y + scene.Margin) * scene.RowSamples() +
                                           Index(scene.Margin) * channels + channel;
            for (std::size_t x = 0; x < row.size(); ++x)
                row[x] = Sample(camera, static_cast<float>(samples[x * channels]), rowSeed, x * channels + channel);
            KyiSetLinePixel(image.get(), 0, y, static_cast<std::int32_t>(channel), row.data(), options.Width);
        }
    }
    return image;
}

/// Pixels by which the frame's corner coordinate leaves the image along one axis.
double Overshoot(int size, double scale, double drift) {
    const double centre = (size - 1) / 2.0;
    const double first = centre + (0 - centre - drift) / scale;
    const double last = centre + (size - 1 - centre - drift) / scale;
    return std::max({0.0, -first, last - (size - 1)});
}

} // namespace

int MarginOf(const SynthOptions& options) {
    double movement = 0.0;
    for (int frame = 0; frame < options.Frames; ++frame) {
        const FrameGeometry geometry = GeometryOf(options, frame);
        movement = std::max({movement, Overshoot(options.Width, geometry.Scale, geometry.DriftX),
                             Overshoot(options.Height, geometry.Scale, geometry.DriftY)});
    }
    return static_cast<int>(std::ceil(movement) + std::ceil(2.0 * WidestBlurOf(options))) + kTaps;
}

Image MakeFrame(const SynthOptions& options, const Scene& scene, const BlurLayers& layers, int frame) {
    Image image = NewImage(options);
    RowMaker maker(options, scene, layers, GeometryOf(options, frame), static_cast<float>(options.FocusOf(frame)),
                   CameraOf(options, scene, frame, options.Noise));
    for (int y = 0; y < options.Height; ++y) maker.MakeRow(y, *image);
    return image;
}

Image MakeTruth(const SynthOptions& options, const Scene& scene, const BlurLayers& layers) {
    return MakeInFocus(options, scene, layers, CameraOf(options, scene, 0, 0.0));
}

Image MakeExposure(const SynthOptions& options, const Scene& scene, const BlurLayers& layers, int halvings) {
    Camera camera = CameraOf(options, scene, kFirstExposure + halvings, options.Noise);
    camera.Gain = std::ldexp(camera.Gain, -halvings);
    return MakeInFocus(options, scene, layers, camera);
}

} // namespace app
