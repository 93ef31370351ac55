#include "selection2d/tables.h"

#include <algorithm>
#include <cstddef>

namespace kyf {

namespace {

// 0 for a speed that is not known.
std::int32_t WorkingWidth(std::int32_t speed, std::int32_t width) noexcept {
    switch (speed) {
    case 0: return width;
    case 1: return width / 2;
    case 2: return width / 4;
    default: return 0;
    }
}

std::int32_t ChooseBlendWindow(std::int32_t speed, std::int32_t workWidth) noexcept {
    return std::max(workWidth / 200 * 2 + 1, speed == 0 ? 9 : 3);
}

void FreeTables(KyfFocusComposition& session) noexcept {
    FreeIntRows(session.BestFocusMap, session.BestFocusHeight);
    FreeIntRows(session.BestFrameMap, session.State2D.WorkHeight);
    delete[] session.BlendMask;
}

} // namespace

std::int32_t** AllocIntRows(std::int32_t width, std::int32_t height, bool cleared) {
    return NewIntRows(width, height, cleared).release();
}

void FreeIntRows(std::int32_t** rows, std::int32_t height) noexcept {
    if (!rows) return;
    for (std::int32_t y = 0; y < height; ++y) delete[] rows[y];
    delete[] rows;
}

IntRowsPtr NewIntRows(std::int32_t width, std::int32_t height, bool cleared) {
    const auto columns = static_cast<std::size_t>(std::max(width, 0));
    IntRowsPtr rows(
        new std::int32_t* [static_cast<std::size_t>(std::max(height, 0))](), IntRowsDeleter { height });
    for (std::int32_t y = 0; y < height; ++y)
        rows.get()[y] = cleared ? new std::int32_t[columns]() : new std::int32_t[columns];
    return rows;
}

void SetUpTables(KyfFocusComposition& session, const KyiImageData& frame) {
    const std::int32_t width = WorkingWidth(session.Speed, frame.Width);
    // The working width is at most the frame's, and so the quotient at most the frame's height. Only the product needs
    // 64 bits: there are frames of more than 2^31 pixels.
    const std::int32_t height =
        static_cast<std::int32_t>(static_cast<std::int64_t>(width) * frame.Height / frame.Width);
    IntRowsPtr focus = NewIntRows(width, height, /*cleared=*/false);
    IntRowsPtr frames = NewIntRows(width, height, /*cleared=*/true);
    auto mask = std::make_unique<double[]>(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));

    FreeTables(session);
    KyfCompositionState& state = session.State2D;
    state.SourceWidth = frame.Width;
    state.SourceHeight = frame.Height;
    state.SourceFormat = frame.Format;
    state.WorkWidth = width;
    state.WorkHeight = height;
    session.BestFocusWidth = width;
    session.BestFocusHeight = height;
    session.BlendWindowSize = ChooseBlendWindow(session.Speed, width);
    session.BestFocusMap = focus.release();
    session.BestFrameMap = frames.release();
    session.BlendMask = mask.release();
}

bool HasWorkingPixels(const KyfCompositionState& state) noexcept { return state.WorkWidth > 0 && state.WorkHeight > 0; }

} // namespace kyf
