// Rules of the processor's panel and of the detail dialog, by hand, and with numbers from a bad file.
#include <cstdint>
#include <limits>
#include <optional>

#include <gtest/gtest.h>

#include "ui/rules/detail_rules.h"
#include "ui/rules/gpu_rules.h"

namespace {

using namespace kyfui;
using Setting = CKyfFocusCompositionSetting;

TEST(GpuRules, CudaComesBeforeOpenCl) {
    EXPECT_EQ(GpuPanelFor(true, true).ProcessorNameId, kIdCudaName);
    EXPECT_EQ(GpuPanelFor(false, true).ProcessorNameId, kIdOpenClName);
    EXPECT_EQ(GpuPanelFor(false, false).ProcessorNameId, kIdNoGpuName);
    EXPECT_EQ(GpuPanelFor(false, true).GpuEnabled, 1);
    EXPECT_EQ(GpuPanelFor(false, false).GpuEnabled, 0);
}

TEST(GpuRules, TheCheckWorksFor3DOnlyAndHidesTheName) {
    GpuPanel panel = GpuPanelFor(true, false);
    EXPECT_EQ(SetEnableControls(panel), (GpuControls{true, kIdCudaName}));
    panel.DisableCheck = 1;
    EXPECT_EQ(SetEnableControls(panel), (GpuControls{true, kIdNoGpuName}));
    panel.DisableCheck = 0;
    for (const std::int32_t type : {0, 2, -1, 77}) {
        panel.AlgType = type;
        EXPECT_EQ(SetEnableControls(panel), (GpuControls{false, kIdNoGpuName})) << type;
        EXPECT_EQ(panel.DisableCheck, 0);
    }
}

TEST(GpuRules, WithoutAProcessorTheCheckIsOnAndGray) {
    GpuPanel panel = GpuPanelFor(false, false);
    InitGpuPanel(panel);
    EXPECT_EQ(panel.DisableCheck, 1);
    panel.DisableCheck = 0;
    EXPECT_EQ(SetEnableControls(panel), (GpuControls{false, kIdNoGpuName}));
    EXPECT_EQ(panel.DisableCheck, 1);
}

TEST(DetailRules, ValuesOutsideTheirRangesOpenAtTheNearestOne) {
    Setting setting;
    setting.SetFocusingValueDetectionSensitivity(std::numeric_limits<std::int32_t>::max());
    setting.SetProjectionNoiseRemove(std::numeric_limits<std::int32_t>::min());
    setting.SetD3ShapeSmoothing(11);
    setting.SetHalationMeasures(-3);
    setting.SetAdoptionPeakPosition(7);
    EXPECT_EQ(DetailFromSetting(setting), (DetailValues{1, 1, {10, 0, 10}}));
}

TEST(DetailRules, TheRangeTestTakesWholeNumbersFromZeroToTen) {
    EXPECT_EQ(TestDetailField("0"), 0);
    EXPECT_EQ(TestDetailField("10"), 10);
    EXPECT_EQ(TestDetailField(" 007 "), 7);
    for (const char* const text :
         {"", " ", "11", "-1", "1.5", "5x", "x", "4294967296", "99999999999999999999999", "--1", "1 2", "\xE2\x91\xA0"})
        EXPECT_EQ(TestDetailField(text), std::nullopt) << text;
}

TEST(DetailRules, MovingOneSliderRewritesAllFields) {
    DetailModel dialog(DetailValues{});
    EXPECT_FALSE(dialog.TypeText(DetailField::Sensitivity, "11"));
    EXPECT_TRUE(dialog.TypeText(DetailField::NoiseRemove, ""));
    dialog.MoveSlider(DetailField::ShapeSmoothing, std::numeric_limits<std::int32_t>::max());
    EXPECT_EQ(dialog.TextOf(DetailField::Sensitivity), "5");
    EXPECT_EQ(dialog.TextOf(DetailField::NoiseRemove), "5");
    EXPECT_EQ(dialog.TextOf(DetailField::ShapeSmoothing), "10");
}

TEST(DetailRules, TheFirstFailingFieldStandsInTheWayOfOK) {
    DetailModel dialog(DetailValues{});
    EXPECT_EQ(dialog.FailingField(), std::nullopt);
    dialog.TypeText(DetailField::ShapeSmoothing, "x");
    dialog.TypeText(DetailField::NoiseRemove, "11");
    EXPECT_EQ(dialog.FailingField(), DetailField::NoiseRemove);
    dialog.TypeText(DetailField::NoiseRemove, "");
    EXPECT_EQ(dialog.FailingField(), DetailField::ShapeSmoothing);
    dialog.ClickDefaults();
    EXPECT_EQ(dialog.FailingField(), std::nullopt);
}

TEST(DetailRules, ValuesReachTheirFieldsByName) {
    Setting setting;
    WriteDetail({0, 1, {1, 2, 3}}, setting);
    EXPECT_EQ(setting.IsHalationMeasures(), 0);
    EXPECT_EQ(setting.GetAdoptionPeakPosition(), 1);
    EXPECT_EQ(setting.GetFocusingValueDetectionSensitivity(), 1);
    EXPECT_EQ(setting.GetProjectionNoiseRemove(), 2);
    EXPECT_EQ(setting.GetD3ShapeSmoothing(), 3);
}

} // namespace
