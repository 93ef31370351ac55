#include <algorithm>
#include <cstddef>
#include <cstring>
#include <new>
#include <utility>

#include "filters/double_image.h"
#include "filters/filters.h"
#include "filters/image_layout.h"
#include "selection2d/selection2d.h"
#include "selection2d/tables.h"

namespace kyf {

namespace {

std::int32_t WidthOf(const KyfRect& rectangle) noexcept { return rectangle.Right - rectangle.Left; }
std::int32_t HeightOf(const KyfRect& rectangle) noexcept { return rectangle.Bottom - rectangle.Top; }

// A make after a make asks for the place that the first one cut away.
bool LiesInside(const KyfRect& rectangle, std::int32_t width, std::int32_t height) noexcept {
    return rectangle.Left >= 0 && rectangle.Top >= 0 && rectangle.Right <= width && rectangle.Bottom <= height;
}

bool IsEmpty(const KyfRect& rectangle) noexcept {
    return rectangle.Right <= rectangle.Left || rectangle.Bottom <= rectangle.Top;
}

// The palette is not copied.
ImagePtr CutImage(const KyiImageData& image, const KyfRect& rectangle) {
    ImagePtr cut(KyiAllocImageDataEx(WidthOf(rectangle), HeightOf(rectangle), image.Format, image.Origin, 0));
    if (!cut) return cut;
    const auto bytes = static_cast<std::size_t>(cut->Width) * static_cast<std::size_t>(cut->PixelBytes);
    for (std::int32_t y = 0; y < cut->Height; ++y)
        std::memcpy(KyiGetPixelAddress(cut.get(), 0, y), KyiGetPixelAddress(&image, rectangle.Left, rectangle.Top + y),
                    bytes);
    return cut;
}

template <typename T> void CopyRows(T* const* source, T** cut, const KyfRect& rectangle) noexcept {
    for (std::int32_t y = 0; y < HeightOf(rectangle); ++y)
        std::copy_n(source[rectangle.Top + y] + rectangle.Left, WidthOf(rectangle), cut[y]);
}

void FreeCutTables(KyfFocusComposition& session, KyfCompositionState& state) noexcept {
    FreeHeightMapPair(&state.CuttedHeightDataMap, &state.CuttedAntNoiseHeightDataMap);
    if (&state == &session.State2D) FreeIntRows(std::exchange(session.CuttedBestFocusMap, nullptr), state.CuttedHeight);
    state.CuttedWidth = 0;
    state.CuttedHeight = 0;
}

} // namespace

void AllocHeightMapPair(double*** first, double*** second, std::int32_t width, std::int32_t height) noexcept {
    *first = AllocDoubleRows(width, height);
    *second = *first ? AllocDoubleRows(width, height) : nullptr;
}

void FreeHeightMapPair(double*** first, double*** second) noexcept {
    for (double*** const slot : {first, second})
        if (slot) FreeDoubleRows(std::exchange(*slot, nullptr));
}

void CutHeightDataMaps(KyfFocusComposition* session, KyfCompositionState* state, const KyfRect& rectangle) {
    if (!state->HeightDataMap || IsEmpty(rectangle)) return;
    if (!LiesInside(rectangle, state->MapWidth, state->MapHeight)) return;
    FreeCutTables(*session, *state);
    AllocHeightMapPair(&state->CuttedHeightDataMap, &state->CuttedAntNoiseHeightDataMap, WidthOf(rectangle),
                       HeightOf(rectangle));
    if (!state->CuttedHeightDataMap || !state->CuttedAntNoiseHeightDataMap) {
        FreeCutTables(*session, *state);
        throw std::bad_alloc();
    }
    state->CuttedWidth = WidthOf(rectangle);
    state->CuttedHeight = HeightOf(rectangle);
    CopyRows(state->HeightDataMap, state->CuttedHeightDataMap, rectangle);
    if (state->AntNoiseHeightDataMap)
        CopyRows(state->AntNoiseHeightDataMap, state->CuttedAntNoiseHeightDataMap, rectangle);
    if (session->Mode != KyfMode2DSelection || !session->BestFocusMap) return;
    if (!LiesInside(rectangle, session->BestFocusWidth, session->BestFocusHeight)) return;
    session->CuttedBestFocusMap = AllocIntRows(state->CuttedWidth, state->CuttedHeight, /*cleared=*/false);
    CopyRows(session->BestFocusMap, session->CuttedBestFocusMap, rectangle);
}

KyfResult CutCompImage(KyfFocusComposition* session, KyfCompositionState* state, const KyfRect& rectangle) {
    const KyiImageData* const whole = state->CompImage;
    if (!whole) return KyfResultInvalidParameter;
    if (IsEmpty(rectangle)) return KyfResultFailAlloc;
    if (!LiesInside(rectangle, whole->Width, whole->Height)) {
        KyiPutTraceLog(__FILE__, __LINE__, L"The composite has been cut before: a stack is made once.", 0);
        return KyfResultInvalidParameter;
    }
    ImagePtr cut = CutImage(*whole, rectangle);
    if (!cut) return KyfResultFailAlloc;
    KyiFreeImageData(std::exchange(state->CompImage, cut.release()));
    try {
        CutHeightDataMaps(session, state, rectangle);
    } catch (const std::bad_alloc&) {
        return KyfResultFailAlloc;
    }
    return KyfResultOk;
}

// The filter can write over what it reads, so that one table is enough.
KyfResult SmoothCuttedHeightData(std::int32_t smoothingPercent, KyfCompositionState* state, KyiBool parallel) {
    if (!state->CuttedAntNoiseHeightDataMap) return KyfResultFailAlloc;
    const double cutoff = static_cast<double>(state->CuttedWidth) * smoothingPercent / 100.0;
    if (cutoff == 0.0) return KyfResultOk;
    KyfImageData heights{state->CuttedAntNoiseHeightDataMap, state->CuttedWidth, state->CuttedHeight};
    const KyfResult result = FilterSplineDouble(&heights, &heights, cutoff, cutoff, /*margin=*/0, parallel);
    if (result != KyfResultOk) FreeDoubleRows(std::exchange(state->CuttedAntNoiseHeightDataMap, nullptr));
    return result;
}

} // namespace kyf
