// Heights as images.
#include <cstddef>

#include "height/height.h"
#include "session/session_insides.h"

namespace {

/// A new image of a window, or null.
KyiImageData* MakeImage(const kyf::HeightWindow& window, double scale, std::int32_t format, double* range) {
    KyiImageData* const image = KyiAllocImageData(window.Width, window.Height, format);
    if (image == nullptr) return nullptr;
    const auto convert = format == KyiFormatGray16 ? kyf::ConvertTo16Bit : kyf::ConvertTo8Bit;
    const kyf::HeightRange found = convert(window, scale, image->Pixels, image->LineBytes);
    if (range != nullptr) {
        range[0] = found.Step;
        range[1] = found.Min;
        range[2] = found.Max;
    }
    return image;
}

KyfResult GetImage(const KyfFocusComposition* session, double** KyfCompositionState::*slot, std::int32_t format,
                   KyiImageData** image, double* range) {
    if (image == nullptr || !kyf::IsSession(session)) return KyfResultInvalidParameter;
    const KyfCompositionState& state = kyf::HeightState(*session);
    if (state.FrameCount < 1 || state.HeightDataMap == nullptr) return KyfResultInvalidParameter;
    if (state.*slot == nullptr) return KyfResultNoHeightData;
    const kyf::HeightWindow window{state.*slot, state.CuttedWidth, state.CuttedHeight};
    KyiImageData* const made = MakeImage(window, kyf::FlatScale(*session), format, range);
    if (made == nullptr) return KyfResultFailAlloc;
    *image = made;
    return KyfResultOk;
}

} // namespace

KyfResult KyfFocusGetHeightImage16Bit(const KyfFocusComposition* session, KyiImageData** image, double* range) {
    return GetImage(session, &KyfCompositionState::HeightDataMap, KyiFormatGray16, image, range);
}

KyfResult KyfFocusGetCuttedHeightImage16Bit(const KyfFocusComposition* session, KyiImageData** image, double* range) {
    return GetImage(session, &KyfCompositionState::CuttedHeightDataMap, KyiFormatGray16, image, range);
}

KyfResult KyfFocusGetCuttedAntNoiseHeightImage16Bit(const KyfFocusComposition* session, KyiImageData** image,
                                                    double* range) {
    return GetImage(session, &KyfCompositionState::CuttedAntNoiseHeightDataMap, KyiFormatGray16, image, range);
}

KyfResult KyfFocusGetCuttedAntNoiseHeightImage8Bit(const KyfFocusComposition* session, KyiImageData** image,
                                                   double* range) {
    return GetImage(session, &KyfCompositionState::CuttedAntNoiseHeightDataMap, KyiFormatGray8, image, range);
}

KyiImageData* KyfCreateImageDataFromHeightData(const KyfImageData* heights, int32_t format, double* range) {
    if (heights == nullptr || heights->Rows == nullptr) return nullptr;
    if (format != KyiFormatGray8 && format != KyiFormatGray16) return nullptr;
    return MakeImage({heights->Rows, heights->Width, heights->Height}, /*scale=*/1.0, format, range);
}
