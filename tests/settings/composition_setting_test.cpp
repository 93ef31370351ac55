#include <cstdint>
#include <cstring>
#include <set>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>
#include <kyfocus/composition_setting.h>

namespace {

using Setting = CKyfFocusCompositionSetting;

static_assert(std::has_virtual_destructor_v<Setting>);
static_assert(sizeof(Setting) == sizeof(void*) + (sizeof(KyfFocusCompositionParameter) + 7) / 8 * 8);

bool SameRecord(const KyfFocusCompositionParameter& left, const KyfFocusCompositionParameter& right) {
    return std::memcmp(&left, &right, sizeof left) == 0; // all members are 32 bits wide: no padding
}

/// One accessor pair and the place of its field.
struct Accessor {
    std::int32_t (Setting::*Get)() const;
    void (Setting::*Set)(std::int32_t);
    std::int32_t KyfFocusCompositionParameter::*Field;
};

const Accessor kAccessors[] = {
    {&Setting::Get2DSelectionFocusCompositionMode, &Setting::Set2DSelectionFocusCompositionMode,
     &KyfFocusCompositionParameter::CompParamSetType},
    {&Setting::GetAlgType, &Setting::SetAlgType, &KyfFocusCompositionParameter::AlgType},
    {&Setting::GetMicroscopeType, &Setting::SetMicroscopeType, &KyfFocusCompositionParameter::ScopeType},
    {&Setting::GetCompSize, &Setting::SetCompSize, &KyfFocusCompositionParameter::CompSize},
    {&Setting::GetSmoothing, &Setting::SetSmoothing, &KyfFocusCompositionParameter::Smoothing},
    {&Setting::GetAutoPos, &Setting::SetAutoPos, &KyfFocusCompositionParameter::AutoPos},
    {&Setting::GetSpeed, &Setting::SetSpeed, &KyfFocusCompositionParameter::Speed},
    {&Setting::GetAreaNo, &Setting::SetAreaNo, &KyfFocusCompositionParameter::AreaNo},
    {&Setting::GetPlaneType, &Setting::SetPlaneType, &KyfFocusCompositionParameter::PlaneType},
    {&Setting::GetMatchingDetectType, &Setting::SetMatchingDetectType,
     &KyfFocusCompositionParameter::MatchingDetectType},
    {&Setting::GetMatchingPositionType, &Setting::SetMatchingPositionType,
     &KyfFocusCompositionParameter::MatchingPositionType},
    {&Setting::IsHalationMeasures, &Setting::SetHalationMeasures, &KyfFocusCompositionParameter::HalationMeasures},
    {&Setting::GetAdoptionPeakPosition, &Setting::SetAdoptionPeakPosition,
     &KyfFocusCompositionParameter::AdoptionPeakPosition},
    {&Setting::GetFocusingValueDetectionSensitivity, &Setting::SetFocusingValueDetectionSensitivity,
     &KyfFocusCompositionParameter::FocusingValueDetectionSensitivity},
    {&Setting::GetD3ShapeSmoothing, &Setting::SetD3ShapeSmoothing, &KyfFocusCompositionParameter::D3ShapeSmoothing},
    {&Setting::GetProjectionNoiseRemove, &Setting::SetProjectionNoiseRemove,
     &KyfFocusCompositionParameter::ProjectionNoiseRemove},
    {&Setting::GetDisableGPU, &Setting::SetDisableGPU, &KyfFocusCompositionParameter::DisableGPU},
};

TEST(CompositionSetting, AccessorsReachTheirFieldAndNoOther) {
    for (std::size_t i = 0; i < std::size(kAccessors); ++i) {
        SCOPED_TRACE(i);
        Setting setting;
        KyfFocusCompositionParameter expected = setting.Get();
        const auto value = -1000 - static_cast<std::int32_t>(i);
        expected.*kAccessors[i].Field = value;
        (setting.*kAccessors[i].Set)(value);
        EXPECT_EQ((setting.*kAccessors[i].Get)(), value);
        EXPECT_TRUE(SameRecord(setting.Get(), expected));
    }
}

TEST(CompositionSetting, HoldsFourAreasWhateverTheirNumber) {
    Setting setting;
    setting.SetAreaNo(2);
    EXPECT_EQ(setting.GetAreaPosMaxCount(), 4);
    setting.SetAreaPos(3, {7, 8});
    EXPECT_EQ(setting.GetAreaPos(3).x, 7);
    EXPECT_EQ(setting.GetAreaPos()[3].y, 8);
    EXPECT_EQ(setting.GetAreaPos(0).x, 50);
    EXPECT_EQ(&setting.GetAreaPos(0), setting.Get().AreaPos);
}

TEST(CompositionSetting, IsCopiedByValue) {
    Setting setting;
    setting.SetSpeed(2);
    Setting copy(setting);
    Setting assigned;
    assigned = setting;
    setting.SetSpeed(0);
    EXPECT_EQ(copy.GetSpeed(), 2);
    EXPECT_EQ(assigned.GetSpeed(), 2);
    copy.Set(setting.Get());
    EXPECT_TRUE(SameRecord(copy.Get(), setting.Get()));
}

TEST(CompositionSetting, SortsTheTwoFieldsThatStandTheOtherWayRoundIn3D) {
    Setting setting;
    setting.SetD3ShapeSmoothing(3);
    setting.SetProjectionNoiseRemove(9);
    KyfFocusComposition3DSelectionParameter three{};
    setting.TakeOut(three);
    EXPECT_EQ(three.D3ShapeSmoothing, 3);
    EXPECT_EQ(three.ProjectionNoiseRemove, 9);
}

TEST(CompositionSetting, LeavesRecordsAloneWhenOneIsMissing) {
    const Setting setting;
    KyfFocusComposition3DSelectionParameter three{};
    KyfSet3DSelectionParameter(nullptr, &three);
    EXPECT_EQ(three.Speed, 0);
    KyfSet3DSelectionParameter(&setting.Get(), nullptr);
}

} // namespace
