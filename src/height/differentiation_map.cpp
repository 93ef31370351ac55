// The best focus value of each pixel of the result. It lies in the 2D block whatever the mode.
#include <algorithm>
#include <cstddef>
#include <exception>
#include <limits>
#include <new>
#include <utility>

#include "filters/numbers.h"
#include "height/height.h"
#include "selection2d/selection2d.h"
#include "session/session_insides.h"

namespace {

/// For the calls that read. The cut table is made by mode 0 together with heights, and an extract takes it away. A cut
/// of no size, as a make without heights leaves it, counts as a map of no pixels.
bool HasMap(const KyfFocusComposition& session) {
    const bool isEmpty = session.State2D.CuttedWidth == 0 || session.State2D.CuttedHeight == 0;
    return session.BestFocusMap != nullptr && (session.CuttedBestFocusMap != nullptr || isEmpty);
}

struct Range {
    std::int32_t Min;
    std::int32_t Max;
};

Range FindRange(const std::int32_t* const* rows, std::int32_t width, std::int32_t height) {
    Range range{std::numeric_limits<std::int32_t>::max(), std::numeric_limits<std::int32_t>::min()};
    for (std::int32_t y = 0; y < height; ++y)
        for (std::int32_t x = 0; x < width; ++x) {
            range.Min = std::min(range.Min, rows[y][x]);
            range.Max = std::max(range.Max, rows[y][x]);
        }
    return range;
}

/// Differences are 32 bits wide and wrap.
std::int32_t Difference(std::int32_t value, std::int32_t from) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(value) - static_cast<std::uint32_t>(from));
}

void StretchRow(const std::int32_t* row, std::uint8_t* bytes, std::int32_t width, std::int32_t min, double step) {
    for (std::int32_t x = 0; x < width; ++x)
        bytes[x] = static_cast<std::uint8_t>(kyf::TruncateToInt32(Difference(row[x], min) / step));
}

void Stretch(const std::int32_t* const* rows, std::int32_t width, std::int32_t height, std::uint8_t* bytes) {
    const Range range = FindRange(rows, width, height);
    const auto stride = static_cast<std::size_t>(width);
    if (range.Min == range.Max) {
        std::fill_n(bytes, stride * static_cast<std::size_t>(height), std::uint8_t{0});
        return;
    }
    const double step = Difference(range.Max, range.Min) / 255.0;
    for (std::int32_t y = 0; y < height; ++y)
        StretchRow(rows[height - 1 - y], bytes + static_cast<std::size_t>(y) * stride, width, range.Min, step);
}

std::int32_t** CopyRows(const std::int32_t* const* rows, std::int32_t width, std::int32_t height) noexcept {
    try {
        std::int32_t** const copy = kyf::AllocIntRows(width, height, /*cleared=*/false);
        for (std::int32_t y = 0; y < height && copy != nullptr; ++y) std::copy_n(rows[y], width, copy[y]);
        return copy;
    } catch (const std::exception&) {
        return nullptr;
    }
}

} // namespace

KyfResult KyfFocusGetDifferentiationMap(const KyfFocusComposition* session, int32_t format,
                                        KyfDifferentiationMap* map) {
    if (map == nullptr || !kyf::IsSession(session)) return KyfResultInvalidParameter;
    if (!HasMap(*session)) return KyfResultOk;
    const KyfCompositionState& state = session->State2D;
    std::int32_t** const rows = CopyRows(session->CuttedBestFocusMap, state.CuttedWidth, state.CuttedHeight);
    if (rows == nullptr) return KyfResultFailAlloc;
    *map = {rows, state.CuttedWidth, state.CuttedHeight, KyiGetDepth(format)};
    return KyfResultOk;
}

KyfResult KyfFocusExtractDifferentiationMap(KyfFocusComposition* session, int32_t format, KyfDifferentiationMap* map) {
    if (map == nullptr || !kyf::IsSession(session)) return KyfResultInvalidParameter;
    if (session->BestFocusMap == nullptr) return KyfResultOk;
    const KyfCompositionState& state = session->State2D;
    std::int32_t** const rows = std::exchange(session->CuttedBestFocusMap, nullptr);
    *map = {rows, state.CuttedWidth, state.CuttedHeight, KyiGetDepth(format)};
    return KyfResultOk;
}

KyfResult KyfFocusGetDifferentiationMap8Bit(const KyfFocusComposition* session, KyfDifferentiationMap8Bit* map) {
    if (map == nullptr || !kyf::IsSession(session)) return KyfResultInvalidParameter;
    if (!HasMap(*session)) return KyfResultNoHeightData;
    const KyfCompositionState& state = session->State2D;
    const std::int32_t width = std::max(state.CuttedWidth, 0);
    const std::int32_t height = std::max(state.CuttedHeight, 0);
    auto* const bytes =
        new (std::nothrow) std::uint8_t[static_cast<std::size_t>(width) * static_cast<std::size_t>(height)];
    if (bytes == nullptr) return KyfResultFailAlloc;
    Stretch(session->CuttedBestFocusMap, width, height, bytes);
    *map = {bytes, width, height};
    return KyfResultOk;
}

void KyfFreeDifferentiationMap(KyfDifferentiationMap* map) {
    if (map == nullptr || map->Rows == nullptr) return;
    kyf::FreeIntRows(map->Rows, map->Height);
    map->Rows = nullptr;
}

void KyfFreeDifferentiationMap8Bit(KyfDifferentiationMap8Bit* map) {
    if (map == nullptr) return;
    delete[] map->Data;
    map->Data = nullptr;
}
