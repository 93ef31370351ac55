// Rules of the parameter panel, by hand, and with numbers that no control stands for.
#include <cstdint>
#include <limits>
#include <vector>

#include <gtest/gtest.h>

#include "ui/rules/panel_model.h"

namespace {

using namespace kyfui;
using Setting = CKyfFocusCompositionSetting;

constexpr std::int32_t kHostile[] = {std::numeric_limits<std::int32_t>::min(), -1, 3, 4, 7, 1000,
                                     std::numeric_limits<std::int32_t>::max()};

class Listener : public IChangedFCSettingDelegate {
  public:
    explicit Listener(const PanelModel& panel) : m_panel(panel) {}
    void OnChangedAlgType(KyfAlgorithmType type) override {
        Types.push_back(type);
        AlgTypes.push_back(m_panel.GetData().GetAlgType());
        PlaneShown.push_back(m_panel.StateOf(kIdPlaneTop).Visible);
    }
    std::vector<KyfAlgorithmType> Types, AlgTypes;
    std::vector<bool> PlaneShown;

  private:
    const PanelModel& m_panel;
};

TEST(PanelRules, ComplexProcessingIsTheFirstAlgorithmWithACheck) {
    Setting setting;
    setting.SetAlgType(KyfAlgorithmTypeComplexProcessing);
    const PanelControls controls = ControlsFromSetting(setting);
    EXPECT_EQ(controls.AlgorithmRadio, 0);
    EXPECT_EQ(controls.ComplexCheck, 1);
}

TEST(PanelRules, ComplexProcessingStaysAfterAClickOnTheOtherAlgorithm) {
    Setting setting;
    setting.SetAlgType(KyfAlgorithmTypeComplexProcessing);
    PanelModel panel;
    panel.SetData(setting);
    panel.Show();
    panel.ClickAlgorithm(1);
    EXPECT_EQ(panel.GetData().GetAlgType(), KyfAlgorithmTypeComplexProcessing);
    EXPECT_TRUE(panel.StateOf(kIdDetailButton).Visible);
    EXPECT_FALSE(panel.StateOf(kIdSetFine).Visible);
}

TEST(PanelRules, TheListenerHearsTheRadioAfterSettingAndStatesAreUpToDate) {
    PanelModel panel;
    Listener listener(panel);
    panel.SetDelegate(&listener);
    panel.Show();
    panel.ClickComplex(true);
    panel.ClickAlgorithm(0);
    panel.ClickComplex(false);
    panel.ClickAlgorithm(1);
    EXPECT_EQ(listener.Types, (std::vector<KyfAlgorithmType>{0, 1}));
    EXPECT_EQ(listener.AlgTypes, (std::vector<KyfAlgorithmType>{2, 1}));
    EXPECT_EQ(listener.PlaneShown, (std::vector<bool>{false, true}));
}

TEST(PanelRules, EveryChangeIsViewedAndTheListenerHearsOfItAfterwards) {
    PanelModel panel;
    Listener listener(panel);
    panel.SetDelegate(&listener);
    std::vector<std::size_t> heard; // by the listener, at each view
    panel.SetView([&] { heard.push_back(listener.Types.size()); });
    panel.Show();
    panel.ClickAlgorithm(0);
    panel.ClickAlgorithm(1);
    panel.ClickComplex(true);
    panel.ClickParameterSet(3);
    panel.ClickPlane(2);
    panel.ClickAutoPosition(true);
    panel.SelectSpeed(0);
    EXPECT_EQ(heard, (std::vector<std::size_t>{0, 0, 1, 2, 2, 2, 2, 2}));
}

TEST(PanelRules, AnInstrumentWithLineMatchingGraysTheCheckAndKeepsItsValue) {
    Setting setting;
    setting.SetMicroscopeType(1);
    setting.SetAutoPos(1);
    setting.SetAlgType(0);
    PanelModel panel;
    panel.SetData(setting);
    panel.Show();
    EXPECT_EQ(panel.StateOf(kIdAutoPosition), (ControlState{true, false}));
    EXPECT_EQ(panel.StateOf(kIdPositioningButton), (ControlState{true, false}));
    panel.ClickPlane(0);
    panel.SelectSpeed(2);
    EXPECT_EQ(panel.GetData().GetAutoPos(), 1);
    EXPECT_EQ(panel.Controls().AutoPositionCheck, 1);
}

TEST(PanelRules, AHostWithoutPositioningNeverShowsItOnEitherPage) {
    PanelModel panel;
    panel.SetAutoPositioningDisabled(-5);
    panel.Show();
    for (const std::int32_t radio : {0, 1, 0}) {
        panel.ClickAlgorithm(radio);
        panel.ClickAutoPosition(true);
        EXPECT_FALSE(panel.StateOf(kIdAutoPosition).Visible);
        EXPECT_FALSE(panel.StateOf(kIdPositioningButton).Visible);
    }
}

TEST(PanelRules, TheHostsSwitchCountsWhenStatesAreNextApplied) {
    PanelModel panel;
    panel.Show();
    panel.SetAutoPositioningDisabled(1);
    EXPECT_TRUE(panel.StateOf(kIdAutoPosition).Visible);
    panel.Show();
    EXPECT_FALSE(panel.StateOf(kIdAutoPosition).Visible);
}

TEST(PanelRules, AParameterSetOverwritesFreeValuesAtTheFirstClickOnly) {
    Setting setting;
    setting.Set2DSelectionFocusCompositionMode(1);
    setting.SetCompSize(4);
    PanelModel panel;
    panel.SetData(setting);
    panel.Show();
    EXPECT_EQ(panel.GetData().GetCompSize(), 4);
    panel.SelectSpeed(0);
    EXPECT_EQ(panel.GetData().GetCompSize(), 8);
}

TEST(PanelRules, FreeValuesStayAndOpenTheManualDialog) {
    PanelModel panel;
    panel.ClickParameterSet(3);
    panel.TakeManual({4, 9});
    panel.ClickParameterSet(3);
    EXPECT_EQ(panel.GetData().GetCompSize(), 4);
    EXPECT_EQ(panel.GetData().GetSmoothing(), 9);
    EXPECT_TRUE(panel.StateOf(kIdManualButton).Enabled);
    panel.ClickParameterSet(0);
    EXPECT_EQ(panel.GetData().GetCompSize(), 1);
    EXPECT_EQ(panel.GetData().GetSmoothing(), 8);
    EXPECT_FALSE(panel.StateOf(kIdManualButton).Enabled);
}

TEST(PanelRules, OnlyClicksThatSaySoApplyTheStates) {
    PanelModel panel;
    panel.SetMicroscopeType(0);
    panel.Show();
    panel.SetMicroscopeType(1);
    panel.ClickComplex(true);
    panel.ClickPlane(2);
    panel.SelectSpeed(0);
    panel.TakeManual({1, 1});
    EXPECT_TRUE(panel.StateOf(kIdAutoPosition).Enabled);
    panel.ClickAutoPosition(true);
    EXPECT_FALSE(panel.StateOf(kIdAutoPosition).Enabled);
}

TEST(PanelRules, AnIndexWithoutAControlStaysUntilTheUserChooses) {
    for (const std::int32_t value : kHostile) {
        SCOPED_TRACE(value);
        Setting setting;
        setting.SetAlgType(value);
        setting.SetSpeed(value);
        setting.Set2DSelectionFocusCompositionMode(value);
        setting.SetPlaneType(value);
        setting.SetCompSize(value);
        PanelModel panel;
        panel.SetData(setting);
        panel.Show();
        EXPECT_FALSE(panel.StateOf(kIdSetFine).Visible || panel.StateOf(kIdPlaneTop).Visible);
        panel.ClickAutoPosition(false);
        EXPECT_EQ(panel.GetData().GetAlgType(), value);
        EXPECT_EQ(panel.GetData().GetSpeed(), value);
        EXPECT_EQ(panel.GetData().GetPlaneType(), value);
        EXPECT_EQ(panel.GetData().Get2DSelectionFocusCompositionMode(), value);
        EXPECT_EQ(panel.GetData().GetCompSize(), value);
        panel.ClickAlgorithm(1);
        EXPECT_TRUE(panel.StateOf(kIdPlaneTop).Visible);
    }
}

TEST(PanelRules, AnySwitchThatIsNotZeroIsOnAndStaysUntilItIsClicked) {
    for (const std::int32_t value : {std::numeric_limits<std::int32_t>::min(), -1, 2, 1000}) {
        Setting setting;
        setting.SetAlgType(0);
        setting.SetAutoPos(value);
        PanelModel panel;
        panel.SetData(setting);
        panel.Show();
        EXPECT_TRUE(panel.StateOf(kIdPositioningButton).Enabled) << value;
        panel.SelectSpeed(0);
        panel.ClickAlgorithm(0);
        EXPECT_EQ(panel.GetData().GetAutoPos(), value);
        panel.ClickAutoPosition(false);
        EXPECT_EQ(panel.GetData().GetAutoPos(), 0);
        panel.ClickAutoPosition(true);
        EXPECT_EQ(panel.GetData().GetAutoPos(), 1);
    }
}

} // namespace
