// The calls of the noise cut.
#include <algorithm>
#include <new>

#include "height/height.h"
#include "height/noise_cut.h"
#include "session/session_insides.h"

namespace {

/// Result of the host's cut for a fill that does not exist.
constexpr KyfResult kNoSuchFill = 0;
constexpr std::int32_t kSessionDepth = 256;

bool IsEmpty(const KyfImageData& heights) { return heights.Width < 1 || heights.Height < 1; }

template <typename Row> bool HasRows(Row* const* rows, std::int32_t height) {
    if (height < 1) return true;
    return rows != nullptr && std::none_of(rows, rows + height, [](const Row* row) { return row == nullptr; });
}

/// Cuts into `work`. @return 1; -3 when out of memory.
KyfResult Cut(const kyf::JudgedHeights& judged, const KyfHeightNoiseCutParameter& parameter, KyfImageData& work) {
    try {
        kyf::CutHeights(judged, parameter.CutRatio, parameter.FillType, work);
    } catch (const std::bad_alloc&) {
        return KyfResultFailAlloc;
    }
    return KyfResultOk;
}

/// The session's cut height map with the map of best focus values, which lies in the 2D block whatever the mode.
kyf::JudgedHeights JudgedHeightsOf(const KyfFocusComposition& session) {
    const KyfCompositionState& state = kyf::HeightState(session);
    return {{state.CuttedHeightDataMap, state.CuttedWidth, state.CuttedHeight},
            {session.CuttedBestFocusMap, session.State2D.CuttedWidth, session.State2D.CuttedHeight, kSessionDepth}};
}

/// The records of a host lie packed: they are copied out before anything refers to them.
struct HostCut {
    explicit HostCut(const KyfHeightNoiseCutData& data)
        : Judged{data.HeightData, data.DifferentiationMap},
          Parameter(data.Parameter), Sampling{data.IsRawHeight == 0 && data.Step != 0.0, data.Offset, data.Step} {}

    kyf::JudgedHeights Judged;
    KyfHeightNoiseCutParameter Parameter;
    kyf::HeightSampling Sampling;
};

/// Whether samples of the reference's width can be written, or none are.
bool FitTogether(const KyiImageData* reference, const KyiImageData* destination, const KyfHeightNoiseCutData* data) {
    if (reference == nullptr || destination == nullptr || data == nullptr) return false;
    const bool isWritten = reference->PixelBytes == 1 || reference->PixelBytes == 2;
    const KyfImageData heights = data->HeightData;
    const KyfDifferentiationMap map = data->DifferentiationMap;
    return (!isWritten || destination->PixelBytes == reference->PixelBytes) && HasRows(heights.Rows, heights.Height) &&
           HasRows(map.Rows, map.Height);
}

void Report(const KyfFilterProgress* progress, std::int32_t percent) {
    if (progress != nullptr && progress->Callback != nullptr) progress->Callback(percent, progress->Argument);
}

KyfResult CutAndWrite(const KyiImageData& reference, KyiImageData& destination, const HostCut& cut,
                      const KyfFilterProgress* progress) {
    if (!kyf::IsFillType(cut.Parameter.FillType)) return kNoSuchFill;
    const kyf::DoubleImagePtr work = kyf::NewWorkHeights(cut.Judged.Heights);
    if (work == nullptr) return KyfResultFailAlloc;
    KyfResult result = Cut(cut.Judged, cut.Parameter, *work);
    if (result != KyfResultOk) return result;
    Report(progress, 60);
    result = kyf::SmoothHeights(*work, reference.Width, cut.Parameter.Smoothing);
    if (result != KyfResultOk) return result;
    Report(progress, 80);
    if (destination.PixelBytes == reference.PixelBytes) kyf::WriteHeights(*work, cut.Sampling, destination);
    return KyfResultOk;
}

/// There is nothing to cut and nothing to write.
KyfResult CutNothing(const HostCut& cut, const KyfFilterProgress* progress) {
    if (!kyf::IsFillType(cut.Parameter.FillType)) return kNoSuchFill;
    Report(progress, 60);
    Report(progress, 80);
    return KyfResultOk;
}

} // namespace

KyfResult KyfFocusFilterHeightNoiseCut(KyfFocusComposition* session, const KyfHeightNoiseCutParameter* parameter) {
    if (parameter == nullptr || !kyf::IsSession(session)) return KyfResultInvalidParameter;
    if (!kyf::IsFillType(parameter->FillType)) return KyfResultFail;
    const kyf::JudgedHeights judged = JudgedHeightsOf(*session);
    double** const target = kyf::HeightState(*session).CuttedAntNoiseHeightDataMap;
    if (judged.Heights.Rows == nullptr || judged.Map.Rows == nullptr || target == nullptr || IsEmpty(judged.Heights))
        return KyfResultFail;
    const kyf::DoubleImagePtr work = kyf::NewWorkHeights(judged.Heights);
    if (work == nullptr) return KyfResultFailAlloc;
    KyfResult result = Cut(judged, *parameter, *work);
    if (result == KyfResultOk) result = kyf::SmoothHeights(*work, work->Width, parameter->Smoothing);
    for (std::int32_t y = 0; y < work->Height && result == KyfResultOk; ++y)
        std::copy_n(work->Rows[y], work->Width, target[y]);
    return result;
}

KyfResult KyfFilterHeightNoiseCut(const KyiImageData* reference, KyiImageData* destination,
                                  const KyfHeightNoiseCutData* data, const KyfFilterProgress* progress) {
    if (!FitTogether(reference, destination, data)) return KyfResultInvalidParameter;
    const HostCut cut(*data);
    Report(progress, 0);
    const KyfResult result =
        IsEmpty(cut.Judged.Heights) ? CutNothing(cut, progress) : CutAndWrite(*reference, *destination, cut, progress);
    Report(progress, 100);
    return result;
}

void KyfPreviewFilterHeightNoiseCut(const KyiImageData* reference, KyiImageData* destination,
                                    const KyfHeightNoiseCutData* data) {
    if (!FitTogether(reference, destination, data) || destination->PixelBytes != reference->PixelBytes) return;
    const HostCut cut(*data);
    if (IsEmpty(cut.Judged.Heights)) return;
    try {
        kyf::PreviewHeights(cut.Judged, cut.Parameter.CutRatio, cut.Sampling, KyiGetMaxVal(reference->Format),
                            *destination);
    } catch (const std::bad_alloc&) {
        // Nothing is shown: the call has no result to tell it by.
    }
}
