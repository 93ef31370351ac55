// The record of results that a composition of files hands over.
#include <utility>

#include <kyfocus/file_composition.h>

namespace {

using Result = KyfFileFocusCompositionResult;

/// No call takes this table out of a session, so the session's field is taken itself, as the calls for heights choose
/// it.
void TakeAntiNoiseHeights(KyfFocusComposition& session, Result& result) {
    KyfCompositionState& state = session.Mode == KyfMode2DSelection ? session.State2D : session.State3D;
    result.CuttedAntNoiseHeightData = std::exchange(state.CuttedAntNoiseHeightDataMap, nullptr);
    result.CuttedAntNoiseWidth = state.CuttedWidth;
    result.CuttedAntNoiseHeight = state.CuttedHeight;
}

void TakeHeights(KyfFocusComposition* session, Result& result) {
    KyfImageData heights{};
    if (KyfFocusExtractCuttedHeightData(session, &heights) != KyfResultOk) return;
    result.CuttedHeightData = heights.Rows;
    result.CuttedHeightWidth = heights.Width;
    result.CuttedHeightHeight = heights.Height;
}

/// The image tells how many levels a sample has.
void TakeDifferentiationMap(KyfFocusComposition* session, Result& result) {
    if (result.Image != nullptr)
        KyfFocusExtractDifferentiationMap(session, result.Image->Format, &result.DifferentiationMap);
}

void FreeRows(double**& rows) {
    KyfImageData heights{rows, 0, 0};
    KyfFreeHeightData(&heights);
    rows = nullptr;
}

} // namespace

void KyfGetFileFocusCompositionResult(KyfFocusComposition* session, int32_t algType, const int32_t* wants,
                                      KyiBool wantAntiNoise, KyfFileFocusCompositionResult* result) {
    if (session == nullptr || result == nullptr) return;
    const bool wantsHeights = wants != nullptr && wants[0] != 0;
    const bool wantsMap = wants != nullptr && wants[1] != 0;
    KyfFocusExtractCompImage(session, &result->Image);
    if (wantAntiNoise != 0) TakeAntiNoiseHeights(*session, *result);
    if (wantsHeights) TakeHeights(session, *result);
    if (algType == KyfAlgorithmType2DSelection && wantsMap) TakeDifferentiationMap(session, *result);
}

void KyfFreeFileFocusCompositionResult(KyfFileFocusCompositionResult* result) {
    if (result == nullptr) return;
    KyiFreeImageData(std::exchange(result->Image, nullptr));
    FreeRows(result->CuttedHeightData);
    FreeRows(result->CuttedAntNoiseHeightData);
    KyfFreeDifferentiationMap(&result->DifferentiationMap);
}
