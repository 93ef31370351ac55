/// Defocus of the synthetic stacks: the scene blurred in steps once, frames by blending two steps per pixel.
#ifndef KYFOCUS_APP_SYNTH_DEFOCUS_H
#define KYFOCUS_APP_SYNTH_DEFOCUS_H

#include <cstdint>
#include <vector>

#include "synth_options.h"
#include "synth_surface.h"

namespace app {

/// Widest blur in pixels (standard deviation). What lies further out of focus is blurred no more.
inline constexpr double kWidestBlur = 24.0;

/// Standard deviation in pixels of the blur of what lies `distance` um from the focus position.
inline float BlurOf(const SynthOptions& options, float distance) {
    const float beyond = distance - static_cast<float>(options.DepthOfField) / 2.0F;
    if (!(beyond > 0.0F)) return 0.0F;
    const float blur = static_cast<float>(options.Blur) * beyond;
    return blur < static_cast<float>(kWidestBlur) ? blur : static_cast<float>(kWidestBlur);
}

/// Widest blur that occurs in a stack.
double WidestBlurOf(const SynthOptions& options);

/// The scene's picture at growing blur; layer 0 is the picture itself. Each layer has the scene's size.
class BlurLayers {
  public:
    /// Takes the picture out of the scene. Layers go up to `widest` or beyond. Throws std::bad_alloc.
    BlurLayers(Scene& scene, double widest);

    int Count() const { return static_cast<int>(m_variances.size()); }
    const std::vector<std::uint16_t>& Samples(int layer) const { return m_layers[static_cast<std::size_t>(layer)]; }

    /// Square of the layer's blur in pixels^2.
    float Variance(int layer) const { return m_variances[static_cast<std::size_t>(layer)]; }

    /// Where a blur lies: part `Weight` of the way from layer `Lower` to the next. Blending by variance is what
    /// diffusion does, of which Gaussian blur is the solution.
    struct Place {
        int Lower;
        float Weight;
    };
    Place Find(float blur) const noexcept;

  private:
    std::vector<std::vector<std::uint16_t>> m_layers;
    std::vector<float> m_variances;
};

} // namespace app

#endif
