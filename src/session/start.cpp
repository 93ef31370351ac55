// The start calls: settings into the record, by name and unchecked.
#include <algorithm>
#include <cstdint>

#include <kyfocus/composition_setting.h>

#include "session/session_insides.h"

namespace {

/// The areas in use; the places of those that the number counts beyond the four there are do not exist.
void CopyAreas(KyfFocusComposition& session, KyfAreaNo areaNo, const KyPoint (&places)[4]) {
    session.AreaNo = areaNo;
    const auto count = std::clamp<std::int64_t>(std::int64_t{areaNo} + 2, 0, 4);
    std::copy_n(places, count, session.AreaPos);
}

void Copy2DParameter(KyfFocusComposition& session, const KyfFocusComposition2DSelectionParameter& parameter) {
    session.Mode = KyfMode2DSelection;
    session.Speed = parameter.Speed;
    session.CompSize = parameter.CompSize;
    session.Smoothing = parameter.Smoothing;
    session.AutoPos = parameter.AutoPos;
    CopyAreas(session, parameter.AreaNo, parameter.AreaPos);
}

void Copy3DParameter(KyfFocusComposition& session, const KyfFocusComposition3DSelectionParameter& parameter) {
    session.Mode = KyfMode3DSafe;
    session.Smoothing3D = 0;
    session.Speed = parameter.Speed;
    session.PlaneType = parameter.PlaneType;
    session.AutoPos = parameter.AutoPos;
    CopyAreas(session, parameter.AreaNo, parameter.AreaPos);
    session.HalationMeasures = parameter.HalationMeasures;
    session.AdoptionPeakPosition = parameter.AdoptionPeakPosition;
    session.FocusingValueDetectionSensitivity = parameter.FocusingValueDetectionSensitivity;
    session.D3ShapeSmoothing = parameter.D3ShapeSmoothing;
    session.ProjectionNoiseRemove = parameter.ProjectionNoiseRemove;
}

} // namespace

KyfResult KyfFocusStart2DSelection(KyfFocusComposition* session,
                                   const KyfFocusComposition2DSelectionParameter* parameter) {
    if (!kyf::IsSession(session) || parameter == nullptr) return KyfResultInvalidParameter;
    Copy2DParameter(*session, *parameter);
    return KyfResultOk;
}

KyfResult KyfFocusStart3DSafe(KyfFocusComposition* session, const KyfFocusComposition3DSelectionParameter* parameter) {
    if (!kyf::IsSession(session) || parameter == nullptr) return KyfResultInvalidParameter;
    Copy3DParameter(*session, *parameter);
    return KyfResultOk;
}

KyfResult KyfFocusStartComplexProcessing(KyfFocusComposition* session,
                                         const KyfFocusComposition2DSelectionParameter* parameter2D,
                                         const KyfFocusComposition3DSelectionParameter* parameter3D) {
    if (!kyf::IsSession(session) || parameter2D == nullptr || parameter3D == nullptr) return KyfResultInvalidParameter;
    Copy2DParameter(*session, *parameter2D);
    Copy3DParameter(*session, *parameter3D); // second: what both records have comes from here
    session->Mode = KyfModeComplexProcessing;
    return KyfResultOk;
}

KyfResult KyfFocusStartGyre(KyfFocusComposition* session) {
    if (!kyf::IsSession(session)) return KyfResultInvalidParameter;
    session->Mode = KyfMode2DSelection;
    session->Speed = 2;
    session->CompSize = 8;
    session->Smoothing = 5;
    session->AutoPos = 0;
    session->AreaNo = 0;
    return KyfResultOk;
}

KyfResult KyfFocusStart(KyfFocusComposition* session, const KyfFocusCompositionParameter* parameter) {
    if (!kyf::IsSession(session) || parameter == nullptr) return KyfResultInvalidParameter;
    const CKyfFocusCompositionSetting setting(*parameter);
    KyfFocusComposition2DSelectionParameter two;
    KyfFocusComposition3DSelectionParameter three;
    setting.TakeOut(two);
    setting.TakeOut(three);
    switch (parameter->AlgType) {
    case KyfAlgorithmType2DSelection: return KyfFocusStart2DSelection(session, &two);
    case KyfAlgorithmType3DSafe: return KyfFocusStart3DSafe(session, &three);
    case KyfAlgorithmTypeComplexProcessing: return KyfFocusStartComplexProcessing(session, &two, &three);
    default: return KyfResultInvalidParameter;
    }
}
