// 16-bit records with a scale.
#include <cstddef>
#include <cstring>
#include <new>

#include "height/height.h"

namespace {

/// @param slot  The table asked for. The noise-cut one must stand whichever that is: it tells that a make has run.
KyfResult GetData(const KyfFocusComposition* session, double** KyfCompositionState::*slot,
                  KyfHeightData16bit* heights) {
    if (session == nullptr || heights == nullptr) return KyfResultInvalidParameter;
    const KyfCompositionState& state = kyf::HeightState(*session);
    const kyf::HeightWindow window{state.*slot, state.CuttedWidth, state.CuttedHeight};
    const bool isMade = window.Width >= 1 && window.Height >= 1 && state.CuttedAntNoiseHeightDataMap != nullptr;
    if (!isMade || window.Rows == nullptr) return KyfResultNoHeightData;
    const std::size_t count = static_cast<std::size_t>(window.Width) * static_cast<std::size_t>(window.Height);
    auto* const data = new (std::nothrow) std::uint16_t[count];
    if (data == nullptr) return KyfResultFailAlloc;
    const auto stride = window.Width * static_cast<std::int32_t>(sizeof(std::uint16_t));
    const kyf::HeightRange range = kyf::ConvertTo16Bit(window, kyf::FlatScale(*session), data, stride);
    *heights = {data, window.Width, window.Height, range.Step, range.Min, range.Max};
    return KyfResultOk;
}

} // namespace

KyfResult KyfFocusGetHeightData16Bit(const KyfFocusComposition* session, KyfHeightData16bit* heights) {
    return GetData(session, &KyfCompositionState::HeightDataMap, heights);
}

KyfResult KyfFocusGetCuttedHeightData16Bit(const KyfFocusComposition* session, KyfHeightData16bit* heights) {
    return GetData(session, &KyfCompositionState::CuttedHeightDataMap, heights);
}

KyfResult KyfFocusGetAntNoiseHeightData16Bit(const KyfFocusComposition* session, KyfHeightData16bit* heights) {
    return GetData(session, &KyfCompositionState::CuttedAntNoiseHeightDataMap, heights);
}

void KyfFreeHeightData16bit(void* record) {
    if (record == nullptr) return;
    // The samples of both records come from one array allocation of numbers without a destructor, and its address
    // stands first in both.
    void* data = nullptr;
    std::memcpy(&data, record, sizeof data);
    ::operator delete[](data);
    data = nullptr;
    std::memcpy(record, &data, sizeof data);
}
