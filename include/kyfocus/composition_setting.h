/// The parameter record as an object with defaults, accessors and the two projections that start calls take. C++20.
#ifndef KYFOCUS_COMPOSITION_SETTING_H
#define KYFOCUS_COMPOSITION_SETTING_H

#include <kyfocus/settings.h>

/// Copied freely by value. Nothing validates: any number goes in and comes out, and an index that is not 0 to 3 is
/// the caller's mistake. Ranges belong to the dialogs.
class KYF_API CKyfFocusCompositionSetting {
  public:
    /// The defaults told in the record's comments.
    CKyfFocusCompositionSetting();
    explicit CKyfFocusCompositionSetting(const KyfFocusCompositionParameter& parameter);
    CKyfFocusCompositionSetting(const CKyfFocusCompositionSetting& other);
    CKyfFocusCompositionSetting& operator=(const CKyfFocusCompositionSetting& other);
    virtual ~CKyfFocusCompositionSetting();

    const KyfFocusCompositionParameter& Get() const;
    void Set(const KyfFocusCompositionParameter& parameter);

    Kyf2DSelectionFocusCompositionMode Get2DSelectionFocusCompositionMode() const;
    void Set2DSelectionFocusCompositionMode(Kyf2DSelectionFocusCompositionMode mode);
    KyfAlgorithmType GetAlgType() const;
    void SetAlgType(KyfAlgorithmType type);
    /// ScopeType of the record.
    KyfScopeType GetMicroscopeType() const;
    void SetMicroscopeType(KyfScopeType type);
    int32_t GetCompSize() const;
    void SetCompSize(int32_t percent);
    int32_t GetSmoothing() const;
    void SetSmoothing(int32_t percent);
    KyiBool GetAutoPos() const;
    void SetAutoPos(KyiBool on);
    KyfSpeed GetSpeed() const;
    void SetSpeed(KyfSpeed speed);
    KyfAreaNo GetAreaNo() const;
    void SetAreaNo(KyfAreaNo areaNo);
    KyfPlaneType GetPlaneType() const;
    void SetPlaneType(KyfPlaneType type);
    KyfMatchingDetectType GetMatchingDetectType() const;
    void SetMatchingDetectType(KyfMatchingDetectType type);
    KyfMatchingPositionType GetMatchingPositionType() const;
    void SetMatchingPositionType(KyfMatchingPositionType type);
    KyiBool IsHalationMeasures() const;
    void SetHalationMeasures(KyiBool on);
    KyfAdoptionPeakPositions GetAdoptionPeakPosition() const;
    void SetAdoptionPeakPosition(KyfAdoptionPeakPositions positions);
    int32_t GetFocusingValueDetectionSensitivity() const;
    void SetFocusingValueDetectionSensitivity(int32_t sensitivity);
    int32_t GetD3ShapeSmoothing() const;
    void SetD3ShapeSmoothing(int32_t smoothing);
    int32_t GetProjectionNoiseRemove() const;
    void SetProjectionNoiseRemove(int32_t remove);
    KyiBool GetDisableGPU() const;
    void SetDisableGPU(KyiBool disable);

    /// 4, whatever AreaNo says.
    int32_t GetAreaPosMaxCount() const;
    /// The first of the four points.
    const KyPoint* GetAreaPos() const;
    const KyPoint& GetAreaPos(int32_t index) const;
    void SetAreaPos(int32_t index, const KyPoint& point);

    /// Fills a projection by name, all four area points included. A null address behind the second is passed over.
    void TakeOut(KyfFocusComposition2DSelectionParameter& parameter) const;
    void TakeOut(KyfFocusComposition3DSelectionParameter& parameter) const;

  private:
    KyfFocusCompositionParameter m_parameter;
};

#endif
