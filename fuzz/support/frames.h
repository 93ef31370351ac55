/// Images for calls on the interface, and progress nodes that read their figure as a host does.
#ifndef KYFOCUS_FUZZ_SUPPORT_FRAMES_H
#define KYFOCUS_FUZZ_SUPPORT_FRAMES_H

#include <cstdint>
#include <cstring>
#include <iterator>
#include <memory>

#include <kyfocus/progress.h>
#include <kyimaging/kyimaging.h>

#include "support/choices.h"
#include "support/require.h"

namespace fuzz {

struct FreeImage {
    void operator()(KyiImageData* image) const { KyiFreeImageData(image); }
};
using Image = std::unique_ptr<KyiImageData, FreeImage>;

struct FreeProgress {
    void operator()(KyfProgress* progress) const { KyfFreeProgress(progress); }
};
using Progress = std::unique_ptr<KyfProgress, FreeProgress>;

struct Size {
    std::int32_t Width = 1;
    std::int32_t Height = 1;
};

inline std::int32_t AnyFormat(Choices& choices) {
    static constexpr std::int32_t kFormats[] = {3, 4, 5, 7, 100, 101, 104, 200, 201, 202, 203, 204, 205};
    return kFormats[choices.Byte() % std::size(kFormats)];
}

/// Flat, a pattern of edges, or noise over all bits, unused samples and padding included.
inline Image MakeFrame(Choices& choices, Size size, std::int32_t format) {
    Image image(KyiAllocImageData(size.Width, size.Height, format));
    Require(image != nullptr, "a small image can be made");
    const std::uint8_t kind = choices.Byte();
    const auto bytes = static_cast<std::size_t>(image->LineBytes) * static_cast<std::size_t>(image->Height);
    auto* const pixels = static_cast<std::uint8_t*>(image->Pixels);
    std::uint32_t state = kind | 1U;
    for (std::size_t i = 0; i < bytes; ++i) {
        state = state * 1664525U + 1013904223U;
        if (kind < 0x20)
            pixels[i] = static_cast<std::uint8_t>(kind * 8);
        else if (kind < 0x80)
            pixels[i] = (i / (1 + kind % 16) + i / static_cast<std::size_t>(image->LineBytes)) % 2 != 0 ? 230 : kind;
        else
            pixels[i] = static_cast<std::uint8_t>(state >> 24);
    }
    return image;
}

inline void ReadFigure(KyfProgress* node) { KyfProgressGetPersent(KyfProgressGetParent(node)); }

/// A fresh node, or none.
inline Progress AnyProgress(Choices& choices) {
    return Progress(choices.Flag() ? KyfAllocProgress(ReadFigure, nullptr) : nullptr);
}

} // namespace fuzz

#endif
