/// A focus stack for the benchmarks: one scene, sharp in a slanted band that moves on from frame to frame.
#ifndef KYFOCUS_BENCH_SELECTION2D_STACK_H
#define KYFOCUS_BENCH_SELECTION2D_STACK_H

#include <cstdint>
#include <cstdlib>
#include <memory>

#include <kyfocus/kyfocus.h>

namespace bench {

struct FreeImage {
    void operator()(KyiImageData* image) const { KyiFreeImageData(image); }
};
using Image = std::unique_ptr<KyiImageData, FreeImage>;

struct FreeSession {
    void operator()(KyfFocusComposition* session) const { KyfFreeFocusComposition(session); }
};
using Session = std::unique_ptr<KyfFocusComposition, FreeSession>;

/// 12 megapixels; a small frame for a turn among the tests, when KY_BENCH_SMALL is set.
inline bool IsSmall() { return std::getenv("KY_BENCH_SMALL") != nullptr; }
inline std::int32_t FrameWidth() { return IsSmall() ? 400 : 4000; }
inline std::int32_t FrameHeight() { return IsSmall() ? 300 : 3000; }
inline double FramePixels() { return static_cast<double>(FrameWidth()) * FrameHeight(); }

/// Frame `index` of a stack of eight, 8-bit colour.
inline Image StackFrame(std::int32_t index) {
    Image frame(KyiAllocImageData(FrameWidth(), FrameHeight(), KyiFormatBgr24));
    const std::int32_t period = FrameHeight();
    for (std::int32_t y = 0; y < frame->Height; ++y) {
        auto* const row = static_cast<std::uint8_t*>(KyiGetPixelAddress(frame.get(), 0, y));
        for (std::int32_t x = 0; x < frame->Width; ++x) {
            const std::uint32_t cell =
                static_cast<std::uint32_t>(y / 3) * 2654435761u + static_cast<std::uint32_t>(x / 3) * 40503u;
            const auto grain = static_cast<std::int32_t>(cell * 2246822519u >> 25);
            const std::int32_t depth = (y + x / 4) % period * 8 / period;
            const std::int32_t contrast = depth == index % 8 ? 8 : 1;
            for (std::int32_t s = 0; s < 3; ++s)
                row[3 * x + s] = static_cast<std::uint8_t>(90 + grain * contrast / 8 + 5 * s);
        }
    }
    return frame;
}

/// A session of mode 0 with usual settings, ready for its first frame.
inline Session StartSession(std::int32_t speed) {
    Session session(KyfAllocFocusComposition());
    const KyfFocusInitializeParameter initial{};
    KyfFocusInitialize(session.get(), &initial);
    KyfFocusComposition2DSelectionParameter parameter{};
    parameter.Speed = speed;
    parameter.CompSize = 8;
    parameter.Smoothing = 6;
    KyfFocusStart2DSelection(session.get(), &parameter);
    return session;
}

} // namespace bench

#endif
