/// What `kyfocus synth` makes.
#ifndef KYFOCUS_APP_SYNTH_OPTIONS_H
#define KYFOCUS_APP_SYNTH_OPTIONS_H

#include <cstdint>
#include <filesystem>
#include <string>

namespace app {

enum class SurfaceShape { Mixed, Ramp, Spheres, Steps, Roughness };

/// Lengths along the optical axis in um, lengths in the image in pixels.
struct SynthOptions {
    std::filesystem::path Folder;
    SurfaceShape Shape = SurfaceShape::Mixed;
    int Width = 1200;
    int Height = 900;
    int Frames = 20;
    double Start = 0.0;        ///< focus position of the first frame
    double Step = 2.0;         ///< from frame to frame; may be negative
    double DepthOfField = 2.0; ///< what lies within half of it from the focus position is not blurred
    double Blur = 0.4;         ///< growth of the blur's standard deviation beyond that, pixels per um
    double Noise = 0.0;        ///< standard deviation in levels of 8 bits
    double DriftX = 0.0;       ///< movement of the picture per frame
    double DriftY = 0.0;
    double Breathing = 0.0; ///< growth of the picture per frame in percent
    bool Glare = false;
    int Exposures = 0; ///< pictures in focus of falling exposure, each half of the one before
    bool Gray = false;
    int Bits = 8;
    std::uint32_t Seed = 1;
    std::string Format = "png"; ///< png, tif, bmp or jpg
    int Threads = 0;            ///< 0: as many as the machine has

    double FocusOf(int frame) const { return Start + Step * frame; }
};

/// Geometry of one frame against the truth: a point at q lies at centre + Scale * (q - centre) + Drift, where the
/// centre is that of the image.
struct FrameGeometry {
    double Scale = 1.0;
    double DriftX = 0.0;
    double DriftY = 0.0;
};

inline FrameGeometry GeometryOf(const SynthOptions& options, int frame) {
    return {1.0 + options.Breathing / 100.0 * frame, options.DriftX * frame, options.DriftY * frame};
}

} // namespace app

#endif
