/// Dialog with the two values of the 2D composition.
#ifndef KYFOCUS_UI_DIALOGS_DLG_SET_2D_SELECTION_PARAM_H
#define KYFOCUS_UI_DIALOGS_DLG_SET_2D_SELECTION_PARAM_H

#include <kyfocus/ui/link_slider.h>
#include <kyfocus/ui/slider_edit.h>

#include "ui/dialogs/widgets.h"
#include "ui/rules/manual_rules.h"

class QGridLayout;

class CDlgSet2DSelectionParam : public QDialog {
    Q_OBJECT
  public:
    /// @param values  Within their ranges.
    CDlgSet2DSelectionParam(const kyfui::Preset& values, QWidget* parent);

    /// What the sliders stood at when they were last read: after each change of a field, and on OK.
    const kyfui::Preset& Values() const { return m_values; }

    bool eventFilter(QObject* watched, QEvent* event) override;
    void accept() override;

  private:
    struct Pair {
        CKyfSliderEdit* Edit;
        CKyfLinkSlider* Slider;
    };
    Pair MakePair(int sliderId, int editId, const kyfui::ManualRange& range, std::int32_t value);
    void AddRow(QGridLayout& grid, int labelId, const Pair& pair);
    void ReadSliders();
    void SelectPreset(int index);

    kyfui::Preset m_values;
    QComboBox* m_preset;
    Pair m_compSize;
    Pair m_smoothing;
};

#endif
