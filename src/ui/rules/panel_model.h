/// The parameter panel without its window: each click writes through to the setting at once.
#ifndef KYFOCUS_UI_RULES_PANEL_MODEL_H
#define KYFOCUS_UI_RULES_PANEL_MODEL_H

#include <functional>
#include <map>
#include <utility>

#include <kyfocus/ui/changed_setting_delegate.h>

#include "ui/rules/area_rules.h"
#include "ui/rules/detail_rules.h"
#include "ui/rules/panel_rules.h"
#include "ui/rules/presets.h"

namespace kyfui {

class PanelModel {
  public:
    /// The default setting, with controls to match.
    PanelModel();

    void SetData(const CKyfFocusCompositionSetting& setting);
    const CKyfFocusCompositionSetting& GetData() const { return m_setting; }
    const PanelControls& Controls() const { return m_controls; }

    /// State of a control as the rules gave it when they were last applied: by Show, or by a click that says so.
    ControlState StateOf(int id) const;
    /// Applies the state rules.
    void Show();
    /// Who puts controls and states on the screen: called after each change of them, by Show and by clicks, and ahead
    /// of the delegate, which finds the window as the click has left it.
    void SetView(std::function<void()> view) { m_view = std::move(view); }

    void SetMicroscopeType(KyfScopeType type) { m_setting.SetMicroscopeType(type); }
    /// Counts when the state rules are next applied.
    void SetAutoPositioningDisabled(std::int32_t disabled) { m_autoPositioningDisabled = disabled; }
    bool IsAutoPositioningDisabled() const { return m_autoPositioningDisabled != 0; }
    /// Lent; may be null.
    void SetDelegate(IChangedFCSettingDelegate* delegate) { m_delegate = delegate; }

    // Clicks. Those on algorithms, parameter sets and the check of positioning apply the state rules.
    /// Tells the delegate, last of all: it may take the panel down.
    void ClickAlgorithm(std::int32_t radio);
    void ClickComplex(bool on);
    void ClickParameterSet(std::int32_t radio);
    void ClickPlane(std::int32_t radio);
    void ClickAutoPosition(bool on);
    void SelectSpeed(std::int32_t index);

    // A dialog that was left with OK hands over its values.
    void TakeManual(const Preset& values);
    void TakeDetail(const DetailValues& values);
    void TakeAreas(const Areas& areas);

  private:
    void Write() { WriteControls(m_controls, m_setting); }
    void View() const {
        if (m_view) m_view();
    }

    CKyfFocusCompositionSetting m_setting;
    PanelControls m_controls;
    std::map<int, ControlState> m_states;
    std::function<void()> m_view;
    std::int32_t m_autoPositioningDisabled = 0;
    IChangedFCSettingDelegate* m_delegate = nullptr;
};

} // namespace kyfui

#endif
