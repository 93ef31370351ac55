/// The parameter panel's controls and where they stand.
#ifndef KYFOCUS_UI_DIALOGS_PANEL_LAYOUT_H
#define KYFOCUS_UI_DIALOGS_PANEL_LAYOUT_H

#include <map>
#include <vector>

#include "ui/dialogs/widgets.h"

namespace kyfui {

/// All owned by the panel.
struct PanelLayout {
    /// Controls in tab order. The pages of the two algorithms share one place, which is as large as the larger of them.
    explicit PanelLayout(QWidget* panel);

    template <class Control> Control* Get(int id) const { return qobject_cast<Control*>(Controls.at(id)); }

    std::map<int, QWidget*> Controls; ///< by number
    QButtonGroup* Algorithm = nullptr;
    QButtonGroup* ParameterSet = nullptr;
    QButtonGroup* Plane = nullptr;
    QButtonGroup* PlanePictures = nullptr;
    /// Frames, with the controls in them: a frame is shown while one of them is.
    std::map<QGroupBox*, std::vector<int>> Frames;

  private:
    QGroupBox* MakeAlgorithmFrame(QWidget* panel);
    QGroupBox* MakeSetFrame(QWidget* panel);
    QGroupBox* MakePlaneFrame(QWidget* panel);
    QGroupBox* MakePositioningFrame(QWidget* panel);
    void AddPage(QGroupBox* frame, const std::vector<int>& ids);
    template <class Widget> Widget* Keep(int id, Widget* widget);
    QRadioButton* AddRadio(int id, QButtonGroup* group, QWidget* parent);
};

} // namespace kyfui

#endif
