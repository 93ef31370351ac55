#include "alignment/projection_shift.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <new>
#include <utility>
#include <vector>

#include <kyimaging/kyimaging.h>

#include "alignment/projection_shift_search.h"
#include "alignment/unused_sample.h"

namespace kyf {

namespace {

constexpr std::int32_t kCandidates = 10;
constexpr std::int32_t kBandLines = 10;
constexpr std::int32_t kLinesBefore = 5; // of a band, before the line that it was chosen by

/// The lines of an image along one axis: its rows, or its columns.
struct Axis {
    void (*Read)(const KyiImageData*, std::int32_t, std::int32_t, std::int32_t, std::int32_t*, std::int32_t);
    bool IsOfRows;

    std::int32_t Lines(const KyiImageData& image) const noexcept { return IsOfRows ? image.Height : image.Width; }
    std::int32_t Length(const KyiImageData& image) const noexcept { return IsOfRows ? image.Width : image.Height; }
    void ReadLine(const KyiImageData& image, std::int32_t line, std::vector<std::int32_t>& samples) const noexcept {
        Read(&image, IsOfRows ? 0 : line, IsOfRows ? line : 0, /*channel=*/0, samples.data(), Length(image));
    }
};

constexpr Axis kRows{KyiGetLinePixel, true};
constexpr Axis kColumns{KyiGetVLinePixel, false};

// The candidate with the strongest edge, the first of equal ones. An image of few lines has one candidate ten times.
std::int32_t FindStrongestLine(const KyiImageData& image, const Axis& axis) {
    const std::int32_t step = axis.Lines(image) / (kCandidates + 1);
    std::vector<std::int32_t> samples(static_cast<std::size_t>(axis.Length(image)));
    std::int32_t strongest = step;
    std::int32_t greatest = 0;
    for (std::int32_t i = 1; i <= kCandidates; ++i) {
        axis.ReadLine(image, i * step, samples);
        const std::int32_t edge = GreatestEdge(samples.data(), axis.Length(image));
        if (edge <= greatest) continue;
        greatest = edge;
        strongest = i * step;
    }
    return strongest;
}

// Lines of the band beyond the image repeat the nearest one.
std::vector<std::int32_t> ReadProfile(const KyiImageData& image, const Axis& axis, std::int32_t line) {
    std::vector<std::int32_t> samples(static_cast<std::size_t>(axis.Length(image)));
    std::vector<std::int32_t> profile(samples.size());
    for (std::int32_t i = 0; i < kBandLines; ++i) {
        axis.ReadLine(image, line - kLinesBefore + i, samples);
        for (std::size_t k = 0; k < profile.size(); ++k) profile[k] += samples[k];
    }
    for (std::int32_t& entry : profile) entry /= kBandLines;
    return profile;
}

std::int32_t MeasureAlong(const KyiImageData& before, const KyiImageData& after, const Axis& axis, std::int32_t line) {
    return FindDisplacement(ReadProfile(before, axis, line).data(), ReadProfile(after, axis, line).data(),
                            axis.Length(before));
}

void Follow(std::int32_t total, std::int32_t& mostPositive, std::int32_t& mostNegative) noexcept {
    mostPositive = std::max(mostPositive, total);
    mostNegative = std::max(mostNegative, -total);
}

} // namespace

KyfProjectionShift* CreateProjectionShift(const KyiImageData* frame, KyiBool parallel) noexcept {
    auto* const shift = new (std::nothrow) KyfProjectionShift{};
    if (!shift || !frame) return shift;
    shift->PreviousFrame = KyiDuplicateImageData(frame, parallel);
    if (shift->PreviousFrame) return shift;
    delete shift;
    return nullptr;
}

void DestroyProjectionShift(KyfProjectionShift** shift) noexcept {
    if (!shift || !*shift) return;
    KyiFreeImageData((*shift)->PreviousFrame);
    delete std::exchange(*shift, nullptr);
}

ProjectionMove MeasureProjection(const KyfProjectionShift& shift, const KyiImageData& frame) {
    const KyiImageData& before = *shift.PreviousFrame;
    ProjectionMove move{};
    move.Row = FindStrongestLine(before, kRows);
    move.Column = FindStrongestLine(before, kColumns);
    move.X = MeasureAlong(before, frame, kRows, move.Row);
    move.Y = MeasureAlong(before, frame, kColumns, move.Column);
    return move;
}

void AcceptProjection(KyfProjectionShift& shift, const KyiImageData& frame, const ProjectionMove& move,
                      KyiBool parallel) noexcept {
    shift.TotalX += move.X;
    shift.TotalY += move.Y;
    Follow(shift.TotalX, shift.MaxPositiveX, shift.MaxNegativeX);
    Follow(shift.TotalY, shift.MaxPositiveY, shift.MaxNegativeY);
    KyiCopyImageData(&frame, shift.PreviousFrame, 0, parallel);
}

void MoveFrame(const KyiImageData& frame, KyiImageData& moved, std::int32_t offsetX, std::int32_t offsetY,
               KyiBool parallel) noexcept {
    const auto pixelBytes = static_cast<std::size_t>(frame.PixelBytes);
    const auto left = static_cast<std::int32_t>(std::clamp<std::int64_t>(-std::int64_t{offsetX}, 0, frame.Width));
    const auto right =
        static_cast<std::int32_t>(std::clamp<std::int64_t>(std::int64_t{frame.Width} - offsetX, left, frame.Width));
    const auto lineBytes = static_cast<std::size_t>(frame.Width) * pixelBytes;
    const auto leftBytes = static_cast<std::size_t>(left) * pixelBytes;
    const auto rightBytes = static_cast<std::size_t>(right) * pixelBytes;
#pragma omp parallel for schedule(static) if (parallel != 0)
    for (std::int32_t y = 0; y < frame.Height; ++y) {
        auto* const out = static_cast<std::uint8_t*>(KyiGetPixelAddress(&moved, 0, y));
        const std::int64_t from = std::int64_t{y} + offsetY;
        if (from < 0 || from >= frame.Height || left == right) {
            std::memset(out, 0, lineBytes);
            continue;
        }
        std::memset(out, 0, leftBytes);
        std::memcpy(out + leftBytes, KyiGetPixelAddress(&frame, left + offsetX, static_cast<std::int32_t>(from)),
                    rightBytes - leftBytes);
        std::memset(out + rightBytes, 0, lineBytes - rightBytes);
        ClearUnusedInRow(out, frame.Width, frame.PixelBytes);
    }
}

} // namespace kyf
