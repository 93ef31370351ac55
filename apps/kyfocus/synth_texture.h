/// The look of the synthetic surface in focus: a rough material of two colours with grain, marks and dust, lit from the
/// top left.
#ifndef KYFOCUS_APP_SYNTH_TEXTURE_H
#define KYFOCUS_APP_SYNTH_TEXTURE_H

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace app {

/// Rows of one texture. One object a thread.
class Texture {
  public:
    /// @param left, width  Pixels of the rows, in the image's coordinates.
    Texture(std::uint64_t seed, int left, int width, int channels, bool glare);

    /// Light of row y, interleaved, 1 the camera's white. Within 0.06 to 0.94 everywhere, apart from glare.
    /// @param slope  Brightening by the surface's rise towards the light at each pixel; 0 for a level surface.
    /// @param part   Height as a part of the surface's range: what stands out is more of the second material.
    /// @param light  width x channels values.
    void MakeRow(int y, std::span<const float> slope, std::span<const float> part, std::span<float> light);

  private:
    void LoadRelief(int y);
    void LoadMaterial(int y, std::span<const float> part);
    void LoadBrightness(int y, std::span<const float> slope);
    void AddGlare(int y, std::span<float> light) const;

    std::uint64_t m_seed;
    int m_left;
    std::size_t m_width;
    std::size_t m_channels;
    bool m_glare;
    int m_reliefRow;                          // the row in the middle of m_relief
    std::vector<std::vector<float>> m_relief; // fine relief of three rows, one pixel wider on either side
    std::vector<float> m_material;            // which of the two materials: the second where positive
    std::vector<float> m_marks;               // of machining, on the second material
    std::vector<float> m_brightness;          // shading, grain and dust
};

} // namespace app

#endif
