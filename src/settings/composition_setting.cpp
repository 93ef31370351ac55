#include <kyfocus/composition_setting.h>

#include <algorithm>
#include <cstdint>

namespace {

constexpr std::int32_t kAreaPosMaxCount = 4;

KyfFocusCompositionParameter DefaultParameter() {
    KyfFocusCompositionParameter parameter{};
    parameter.AlgType = KyfAlgorithmType3DSafe;
    parameter.Speed = 1;
    const KyPoint places[kAreaPosMaxCount] = {{50, 25}, {75, 50}, {50, 75}, {25, 50}};
    std::copy_n(places, kAreaPosMaxCount, parameter.AreaPos);
    parameter.CompParamSetType = 1;
    parameter.CompSize = 8;
    parameter.Smoothing = 6;
    parameter.PlaneType = KyfPlaneTypeTop;
    parameter.HalationMeasures = 1;
    parameter.AdoptionPeakPosition = 1;
    parameter.FocusingValueDetectionSensitivity = 5;
    parameter.ProjectionNoiseRemove = 5;
    parameter.D3ShapeSmoothing = 5;
    return parameter;
}

} // namespace

CKyfFocusCompositionSetting::CKyfFocusCompositionSetting() : m_parameter(DefaultParameter()) {}

CKyfFocusCompositionSetting::CKyfFocusCompositionSetting(const KyfFocusCompositionParameter& parameter)
    : m_parameter(parameter) {}

CKyfFocusCompositionSetting::CKyfFocusCompositionSetting(const CKyfFocusCompositionSetting& other) = default;

CKyfFocusCompositionSetting& CKyfFocusCompositionSetting::operator=(const CKyfFocusCompositionSetting& other) = default;

CKyfFocusCompositionSetting::~CKyfFocusCompositionSetting() = default;

const KyfFocusCompositionParameter& CKyfFocusCompositionSetting::Get() const { return m_parameter; }

void CKyfFocusCompositionSetting::Set(const KyfFocusCompositionParameter& parameter) { m_parameter = parameter; }

Kyf2DSelectionFocusCompositionMode CKyfFocusCompositionSetting::Get2DSelectionFocusCompositionMode() const {
    return m_parameter.CompParamSetType;
}

void CKyfFocusCompositionSetting::Set2DSelectionFocusCompositionMode(Kyf2DSelectionFocusCompositionMode mode) {
    m_parameter.CompParamSetType = mode;
}

KyfAlgorithmType CKyfFocusCompositionSetting::GetAlgType() const { return m_parameter.AlgType; }

void CKyfFocusCompositionSetting::SetAlgType(KyfAlgorithmType type) { m_parameter.AlgType = type; }

KyfScopeType CKyfFocusCompositionSetting::GetMicroscopeType() const { return m_parameter.ScopeType; }

void CKyfFocusCompositionSetting::SetMicroscopeType(KyfScopeType type) { m_parameter.ScopeType = type; }

int32_t CKyfFocusCompositionSetting::GetCompSize() const { return m_parameter.CompSize; }

void CKyfFocusCompositionSetting::SetCompSize(int32_t percent) { m_parameter.CompSize = percent; }

int32_t CKyfFocusCompositionSetting::GetSmoothing() const { return m_parameter.Smoothing; }

void CKyfFocusCompositionSetting::SetSmoothing(int32_t percent) { m_parameter.Smoothing = percent; }

KyiBool CKyfFocusCompositionSetting::GetAutoPos() const { return m_parameter.AutoPos; }

void CKyfFocusCompositionSetting::SetAutoPos(KyiBool on) { m_parameter.AutoPos = on; }

KyfSpeed CKyfFocusCompositionSetting::GetSpeed() const { return m_parameter.Speed; }

void CKyfFocusCompositionSetting::SetSpeed(KyfSpeed speed) { m_parameter.Speed = speed; }

KyfAreaNo CKyfFocusCompositionSetting::GetAreaNo() const { return m_parameter.AreaNo; }

void CKyfFocusCompositionSetting::SetAreaNo(KyfAreaNo areaNo) { m_parameter.AreaNo = areaNo; }

KyfPlaneType CKyfFocusCompositionSetting::GetPlaneType() const { return m_parameter.PlaneType; }

void CKyfFocusCompositionSetting::SetPlaneType(KyfPlaneType type) { m_parameter.PlaneType = type; }

KyfMatchingDetectType CKyfFocusCompositionSetting::GetMatchingDetectType() const {
    return m_parameter.MatchingDetectType;
}

void CKyfFocusCompositionSetting::SetMatchingDetectType(KyfMatchingDetectType type) {
    m_parameter.MatchingDetectType = type;
}

KyfMatchingPositionType CKyfFocusCompositionSetting::GetMatchingPositionType() const {
    return m_parameter.MatchingPositionType;
}

void CKyfFocusCompositionSetting::SetMatchingPositionType(KyfMatchingPositionType type) {
    m_parameter.MatchingPositionType = type;
}

KyiBool CKyfFocusCompositionSetting::IsHalationMeasures() const { return m_parameter.HalationMeasures; }

void CKyfFocusCompositionSetting::SetHalationMeasures(KyiBool on) { m_parameter.HalationMeasures = on; }

KyfAdoptionPeakPositions CKyfFocusCompositionSetting::GetAdoptionPeakPosition() const {
    return m_parameter.AdoptionPeakPosition;
}

void CKyfFocusCompositionSetting::SetAdoptionPeakPosition(KyfAdoptionPeakPositions positions) {
    m_parameter.AdoptionPeakPosition = positions;
}

int32_t CKyfFocusCompositionSetting::GetFocusingValueDetectionSensitivity() const {
    return m_parameter.FocusingValueDetectionSensitivity;
}

void CKyfFocusCompositionSetting::SetFocusingValueDetectionSensitivity(int32_t sensitivity) {
    m_parameter.FocusingValueDetectionSensitivity = sensitivity;
}

int32_t CKyfFocusCompositionSetting::GetD3ShapeSmoothing() const { return m_parameter.D3ShapeSmoothing; }

void CKyfFocusCompositionSetting::SetD3ShapeSmoothing(int32_t smoothing) { m_parameter.D3ShapeSmoothing = smoothing; }

int32_t CKyfFocusCompositionSetting::GetProjectionNoiseRemove() const { return m_parameter.ProjectionNoiseRemove; }

void CKyfFocusCompositionSetting::SetProjectionNoiseRemove(int32_t remove) {
    m_parameter.ProjectionNoiseRemove = remove;
}

KyiBool CKyfFocusCompositionSetting::GetDisableGPU() const { return m_parameter.DisableGPU; }

void CKyfFocusCompositionSetting::SetDisableGPU(KyiBool disable) { m_parameter.DisableGPU = disable; }

int32_t CKyfFocusCompositionSetting::GetAreaPosMaxCount() const { return kAreaPosMaxCount; }

const KyPoint* CKyfFocusCompositionSetting::GetAreaPos() const { return m_parameter.AreaPos; }

const KyPoint& CKyfFocusCompositionSetting::GetAreaPos(int32_t index) const { return m_parameter.AreaPos[index]; }

void CKyfFocusCompositionSetting::SetAreaPos(int32_t index, const KyPoint& point) {
    m_parameter.AreaPos[index] = point;
}

void CKyfFocusCompositionSetting::TakeOut(KyfFocusComposition2DSelectionParameter& parameter) const {
    parameter.Speed = m_parameter.Speed;
    parameter.CompSize = m_parameter.CompSize;
    parameter.Smoothing = m_parameter.Smoothing;
    parameter.AutoPos = m_parameter.AutoPos;
    parameter.AreaNo = m_parameter.AreaNo;
    std::copy_n(m_parameter.AreaPos, kAreaPosMaxCount, parameter.AreaPos);
}

void CKyfFocusCompositionSetting::TakeOut(KyfFocusComposition3DSelectionParameter& parameter) const {
    KyfSet3DSelectionParameter(&m_parameter, &parameter);
}
