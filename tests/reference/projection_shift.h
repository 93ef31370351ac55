/// Projection shift, the plain form: sample by sample, with the sums in doubles.
#ifndef KYFOCUS_TESTS_REFERENCE_PROJECTION_SHIFT_H
#define KYFOCUS_TESTS_REFERENCE_PROJECTION_SHIFT_H

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <vector>

#include "support/images.h"

namespace reference {

using Line = std::vector<std::int32_t>;

inline Line ReadLine(const KyiImageData& image, bool isRow, std::int32_t line) {
    Line samples(static_cast<std::size_t>(isRow ? image.Width : image.Height));
    if (isRow)
        KyiGetLinePixel(&image, 0, line, 0, samples.data(), image.Width);
    else
        KyiGetVLinePixel(&image, line, 0, 0, samples.data(), image.Height);
    return samples;
}

inline std::int32_t EdgeStrengthOf(const Line& line) {
    static const std::vector<std::int32_t> taps{-3, -2, -2, -1, 0, 1, 2, 2, 3};
    const auto n = static_cast<std::int32_t>(line.size());
    std::int32_t strength = 0;
    for (std::int32_t c = 9; c <= n - 10; ++c) {
        std::int32_t response = 0;
        for (std::int32_t t = 0; t < 9; ++t)
            response += taps[static_cast<std::size_t>(t)] * line[static_cast<std::size_t>(c - 4 + t)];
        strength = std::max(strength, std::abs(response));
    }
    return strength;
}

inline std::int32_t StrongestLine(const KyiImageData& image, bool isRow) {
    const std::int32_t step = (isRow ? image.Height : image.Width) / 11;
    std::int32_t chosen = step;
    std::int32_t greatest = EdgeStrengthOf(ReadLine(image, isRow, step));
    for (std::int32_t i = 2; i <= 10; ++i) {
        const std::int32_t strength = EdgeStrengthOf(ReadLine(image, isRow, i * step));
        if (strength <= greatest) continue;
        greatest = strength;
        chosen = i * step;
    }
    return chosen;
}

inline Line ProfileOf(const KyiImageData& image, bool isRow, std::int32_t line) {
    Line profile(static_cast<std::size_t>(isRow ? image.Width : image.Height));
    for (std::int32_t i = line - 5; i <= line + 4; ++i) {
        const Line samples = ReadLine(image, isRow, i);
        for (std::size_t k = 0; k < profile.size(); ++k) profile[k] += samples[k];
    }
    for (std::int32_t& entry : profile) entry /= 10;
    return profile;
}

inline double MeanAbsoluteDifference(const Line& a, const Line& b, std::int32_t d) {
    const auto n = static_cast<std::int32_t>(a.size());
    double sum = 0.0;
    for (std::int32_t i = std::abs(d); i < n; ++i) {
        const std::int32_t ia = d < 0 ? i + d : i;
        const std::int32_t ib = d < 0 ? i : i - d;
        sum += std::abs(a[static_cast<std::size_t>(ia)] - b[static_cast<std::size_t>(ib)]);
    }
    return sum / (n - std::abs(d));
}

inline std::int32_t Displacement(const Line& a, const Line& b) {
    double best = std::numeric_limits<double>::max();
    double worst = 0.0;
    std::int32_t position = -20;
    for (std::int32_t d = -20; d <= 19; ++d) {
        const double m = MeanAbsoluteDifference(a, b, d);
        if (m < best) {
            best = m;
            position = d;
        } else if (!(m != m)) {
            worst = std::max(worst, m);
        }
    }
    if (worst - best < 2.0) return 0;
    return position;
}

/// Every channel along rows and then along columns, as the samples of a line shifted in from nowhere are 0.
inline void MoveFrame(const KyiImageData& frame, KyiImageData& out, std::int32_t mx, std::int32_t my) {
    const std::int32_t w = frame.Width;
    const std::int32_t h = frame.Height;
    for (int channel = 0; channel < test::ChannelCount(frame.Format); ++channel) {
        for (std::int32_t y = 0; y < h; ++y) {
            Line source(static_cast<std::size_t>(w));
            Line buffer(source.size());
            KyiGetLinePixel(&frame, 0, y, channel, source.data(), w);
            for (std::int32_t x = 0; x < w; ++x)
                if (x + mx >= 0 && x + mx < w)
                    buffer[static_cast<std::size_t>(x)] = source[static_cast<std::size_t>(x + mx)];
            KyiSetLinePixel(&out, 0, y, channel, buffer.data(), w);
        }
        for (std::int32_t x = 0; x < w; ++x) {
            Line source(static_cast<std::size_t>(h));
            Line buffer(source.size());
            KyiGetVLinePixel(&out, x, 0, channel, source.data(), h);
            for (std::int32_t y = 0; y < h; ++y)
                if (y + my >= 0 && y + my < h)
                    buffer[static_cast<std::size_t>(y)] = source[static_cast<std::size_t>(y + my)];
            KyiSetVLinePixel(&out, x, 0, channel, buffer.data(), h);
        }
    }
}

/// The record.
struct ProjectionShift {
    test::Image PreviousFrame;
    std::int32_t TotalX = 0;
    std::int32_t TotalY = 0;
    std::int32_t MaxPositiveX = 0;
    std::int32_t MaxPositiveY = 0;
    std::int32_t MaxNegativeX = 0;
    std::int32_t MaxNegativeY = 0;

    explicit ProjectionShift(const KyiImageData& frame) : PreviousFrame(KyiDuplicateImageData(&frame, 0)) {}

    void Apply(const KyiImageData& frame, KyiImageData& out) {
        const std::int32_t row = StrongestLine(*PreviousFrame, true);
        const std::int32_t dx = Displacement(ProfileOf(*PreviousFrame, true, row), ProfileOf(frame, true, row));
        const std::int32_t column = StrongestLine(*PreviousFrame, false);
        const std::int32_t dy = Displacement(ProfileOf(*PreviousFrame, false, column), ProfileOf(frame, false, column));
        TotalY += dy;
        TotalX += dx;
        MoveFrame(frame, out, -TotalX, -TotalY);
        KyiCopyImageData(&frame, PreviousFrame.get(), 0, 0);
        if (TotalX >= 1) MaxPositiveX = std::max(MaxPositiveX, TotalX);
        if (TotalX < 0) MaxNegativeX = std::max(MaxNegativeX, -TotalX);
        if (TotalY >= 1) MaxPositiveY = std::max(MaxPositiveY, TotalY);
        if (TotalY < 0) MaxNegativeY = std::max(MaxNegativeY, -TotalY);
    }
};

} // namespace reference

#endif
