// What a 3D composition takes of the full record.
#include <algorithm>
#include <iterator>

#include <kyfocus/settings.h>

void KyfSet3DSelectionParameter(const KyfFocusCompositionParameter* parameter,
                                KyfFocusComposition3DSelectionParameter* parameter3D) {
    if (parameter == nullptr || parameter3D == nullptr) return;
    parameter3D->Speed = parameter->Speed;
    parameter3D->PlaneType = parameter->PlaneType;
    parameter3D->AutoPos = parameter->AutoPos;
    parameter3D->AreaNo = parameter->AreaNo;
    std::copy_n(parameter->AreaPos, std::size(parameter->AreaPos), parameter3D->AreaPos);
    parameter3D->HalationMeasures = parameter->HalationMeasures;
    parameter3D->AdoptionPeakPosition = parameter->AdoptionPeakPosition;
    parameter3D->FocusingValueDetectionSensitivity = parameter->FocusingValueDetectionSensitivity;
    parameter3D->ProjectionNoiseRemove = parameter->ProjectionNoiseRemove;
    parameter3D->D3ShapeSmoothing = parameter->D3ShapeSmoothing;
}
