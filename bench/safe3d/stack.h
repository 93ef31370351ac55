/// A focus stack of a bumpy surface for the benchmarks of the 3D pipeline, with its session in a temporary folder.
#ifndef KYFOCUS_BENCH_SAFE3D_STACK_H
#define KYFOCUS_BENCH_SAFE3D_STACK_H

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <vector>

#include <kyfocus/kyfocus.h>

#include "support/case_files.h"

namespace bench {

struct FreeImage {
    void operator()(KyiImageData* image) const { KyiFreeImageData(image); }
};
using Image = std::unique_ptr<KyiImageData, FreeImage>;

struct FreeSession {
    void operator()(KyfFocusComposition* session) const { KyfFreeFocusComposition(session); }
};
using Session = std::unique_ptr<KyfFocusComposition, FreeSession>;

struct FrameSize {
    std::int32_t Width;
    std::int32_t Height;
    double Pixels() const { return static_cast<double>(Width) * Height; }
    std::size_t Bytes() const { return static_cast<std::size_t>(Pixels()) * 3; }
};

/// 2 and 12 megapixels; small frames for a turn among the tests, when KY_BENCH_SMALL is set.
inline FrameSize SizeOf(std::int64_t megapixels) {
    if (std::getenv("KY_BENCH_SMALL") != nullptr) return {320, 240};
    return megapixels == 12 ? FrameSize{4000, 3000} : FrameSize{1632, 1224};
}
inline std::int32_t StackFrames() { return std::getenv("KY_BENCH_SMALL") != nullptr ? 12 : 50; }

/// The scene: grain on a surface of hills between the first and the last frame.
class Scene {
  public:
    Scene(const FrameSize& size, std::int32_t frames) : m_size(size), m_frames(frames) {
        for (std::int32_t x = 0; x < size.Width; ++x) m_acrossX.push_back(std::sin(7.0 * x / size.Width));
        for (std::int32_t y = 0; y < size.Height; ++y) m_downY.push_back(std::cos(9.0 * y / size.Height));
        for (std::int32_t i = 0; i < kContrasts; ++i) {
            const double distance = i * kContrastStep;
            m_contrast.push_back(static_cast<std::int32_t>(256.0 / (1.0 + 0.5 * distance * distance)));
        }
    }

    /// Frame `index`, 8-bit colour: the further the surface lies from it, the less contrast the grain has.
    Image Frame(std::int32_t index) const {
        Image frame(KyiAllocImageData(m_size.Width, m_size.Height, KyiFormatBgr24));
        for (std::int32_t y = 0; y < m_size.Height; ++y) {
            auto* const row = static_cast<std::uint8_t*>(KyiGetPixelAddress(frame.get(), 0, y));
            for (std::int32_t x = 0; x < m_size.Width; ++x) {
                const std::int32_t contrast = ContrastAt(index, x, y);
                for (std::int32_t s = 0; s < 3; ++s)
                    row[3 * x + s] = static_cast<std::uint8_t>(110 + 5 * s + Grain(x / 2, y / 2) * contrast / 256);
            }
        }
        return frame;
    }

  private:
    static constexpr std::int32_t kContrasts = 1024;
    static constexpr double kContrastStep = 0.25;

    std::int32_t ContrastAt(std::int32_t index, std::int32_t x, std::int32_t y) const {
        const double surface = (m_frames - 1) * (0.5 + 0.2 * m_acrossX[static_cast<std::size_t>(x)] +
                                                 0.2 * m_downY[static_cast<std::size_t>(y)]);
        const auto entry = static_cast<std::int32_t>(std::fabs(index - surface) / kContrastStep);
        return m_contrast[static_cast<std::size_t>(std::min(entry, kContrasts - 1))];
    }
    // -100 to 100.
    static std::int32_t Grain(std::int32_t x, std::int32_t y) {
        std::uint32_t h = static_cast<std::uint32_t>(y) * 2654435761u ^ static_cast<std::uint32_t>(x) * 2246822519u;
        h = (h ^ (h >> 15)) * 2246822519u;
        h = (h ^ (h >> 13)) * 3266489917u;
        return static_cast<std::int32_t>((h ^ (h >> 16)) % 201u) - 100;
    }

    FrameSize m_size;
    std::int32_t m_frames;
    std::vector<double> m_acrossX;
    std::vector<double> m_downY;
    std::vector<std::int32_t> m_contrast;
};

/// A session of mode 1 with usual settings, ready for its first frame.
inline Session StartSession(std::int32_t speed, const test::TemporaryFolder& folder) {
    Session session(KyfAllocFocusComposition());
    const std::wstring name = folder.Path().wstring();
    KyfFocusInitializeParameter initial{};
    initial.TempFolder = name.c_str();
    KyfFocusInitialize(session.get(), &initial);
    KyfFocusComposition3DSelectionParameter parameter{};
    parameter.Speed = speed;
    parameter.PlaneType = 2;
    parameter.AdoptionPeakPosition = 0;
    parameter.FocusingValueDetectionSensitivity = 5;
    parameter.HalationMeasures = 1;
    parameter.D3ShapeSmoothing = 2;
    parameter.ProjectionNoiseRemove = 2;
    KyfFocusStart3DSafe(session.get(), &parameter);
    return session;
}

inline void AddFrame(KyfFocusComposition& session, KyiImageData& frame, std::int32_t index) {
    if (KyfFocusAddImageWithHeight(&session, &frame, 2.5 * index, 1, nullptr) != KyfResultOk)
        throw std::runtime_error("a frame was refused");
}

} // namespace bench

#endif
