// Heights as doubles: copies, hand-overs, the list of frame heights.
#include <algorithm>
#include <cstddef>
#include <new>
#include <utility>

#include "filters/double_image.h"
#include "height/height.h"
#include "session/session_insides.h"

namespace {

bool IsEmpty(const kyf::HeightWindow& window) { return window.Width < 1 || window.Height < 1; }

kyf::HeightWindow WholeMap(const KyfFocusComposition& session) {
    const KyfCompositionState& state = kyf::HeightState(session);
    return {state.HeightDataMap, state.SourceWidth, state.SourceHeight};
}

kyf::HeightWindow CutWindow(const KyfFocusComposition& session, double** rows) {
    const KyfCompositionState& state = kyf::HeightState(session);
    return {rows, state.CuttedWidth, state.CuttedHeight};
}

KyfResult CopyFlat(const kyf::HeightWindow& window, KyfHeightDataArray& heights) {
    const std::size_t width = IsEmpty(window) ? 0 : static_cast<std::size_t>(window.Width);
    const std::size_t height = IsEmpty(window) ? 0 : static_cast<std::size_t>(window.Height);
    auto* const data = new (std::nothrow) double[width * height];
    if (data == nullptr) return KyfResultFailAlloc;
    for (std::size_t y = 0; y < height; ++y) std::copy_n(window.Rows[y], width, data + y * width);
    heights = {data, window.Width, window.Height};
    return KyfResultOk;
}

KyfResult CopyRows(const kyf::HeightWindow& window, KyfImageData& heights) {
    double** const rows = kyf::AllocDoubleRows(window.Width, window.Height);
    if (rows == nullptr) return KyfResultFailAlloc;
    for (std::int32_t y = 0; y < window.Height; ++y) std::copy_n(window.Rows[y], window.Width, rows[y]);
    heights = {rows, window.Width, window.Height};
    return KyfResultOk;
}

/// A cut table that was never made has no size; one of a size that is null has been handed over.
KyfResult CopyCutWindow(const kyf::HeightWindow& window, KyfHeightDataArray& heights) {
    if (window.Rows == nullptr && !IsEmpty(window)) return KyfResultNoHeightData;
    return CopyFlat(window, heights);
}

} // namespace

KyfResult KyfFocusGetHeightData(const KyfFocusComposition* session, KyfHeightDataArray* heights) {
    if (heights == nullptr || !kyf::IsSession(session)) return KyfResultInvalidParameter;
    const kyf::HeightWindow map = WholeMap(*session);
    return map.Rows != nullptr ? CopyFlat(map, *heights) : KyfResultNoHeightData;
}

KyfResult KyfFocusGetKyfHeightData(const KyfFocusComposition* session, KyfImageData* heights) {
    if (heights == nullptr || !kyf::IsSession(session)) return KyfResultInvalidParameter;
    const kyf::HeightWindow map = WholeMap(*session);
    return map.Rows != nullptr ? CopyRows(map, *heights) : KyfResultNoHeightData;
}

KyfResult KyfFocusExtractHeightData(KyfFocusComposition* session, KyfImageData* heights) {
    if (heights == nullptr || !kyf::IsSession(session)) return KyfResultInvalidParameter;
    KyfCompositionState& state = kyf::HeightState(*session);
    if (state.HeightDataMap == nullptr) return KyfResultNoHeightData;
    *heights = {std::exchange(state.HeightDataMap, nullptr), state.SourceWidth, state.SourceHeight};
    return KyfResultOk;
}

KyfResult KyfFocusGetCuttedHeightData(const KyfFocusComposition* session, KyfHeightDataArray* heights) {
    if (heights == nullptr || !kyf::IsSession(session)) return KyfResultInvalidParameter;
    return CopyCutWindow(CutWindow(*session, kyf::HeightState(*session).CuttedHeightDataMap), *heights);
}

KyfResult KyfFocusExtractCuttedHeightData(KyfFocusComposition* session, KyfImageData* heights) {
    if (heights == nullptr || !kyf::IsSession(session)) return KyfResultInvalidParameter;
    KyfCompositionState& state = kyf::HeightState(*session);
    *heights = {std::exchange(state.CuttedHeightDataMap, nullptr), state.CuttedWidth, state.CuttedHeight};
    return KyfResultOk;
}

KyfResult KyfFocusGetCuttedAntNoiseHeightData(const KyfFocusComposition* session, KyfHeightDataArray* heights) {
    if (heights == nullptr || !kyf::IsSession(session)) return KyfResultInvalidParameter;
    return CopyCutWindow(CutWindow(*session, kyf::HeightState(*session).CuttedAntNoiseHeightDataMap), *heights);
}

KyfResult KyfFocusGetHeightList(const KyfFocusComposition* session, double** list) {
    if (list == nullptr || !kyf::IsSession(session)) return KyfResultInvalidParameter;
    *list = session->HeightList;
    return KyfResultOk;
}

void KyfFreeHeightData(KyfImageData* heights) {
    if (heights == nullptr) return;
    kyf::FreeDoubleRows(heights->Rows);
    heights->Rows = nullptr;
}
