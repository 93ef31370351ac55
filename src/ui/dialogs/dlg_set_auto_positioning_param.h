/// Dialog with number and places of the template areas.
#ifndef KYFOCUS_UI_DIALOGS_DLG_SET_AUTO_POSITIONING_PARAM_H
#define KYFOCUS_UI_DIALOGS_DLG_SET_AUTO_POSITIONING_PARAM_H

#include "ui/dialogs/area_frame.h"
#include "ui/dialogs/widgets.h"

class CDlgSetAutoPositioningParam : public QDialog {
    Q_OBJECT
  public:
    CDlgSetAutoPositioningParam(const kyfui::Areas& areas, QWidget* parent);

    const kyfui::Areas& Values() const { return m_frame->Get(); }

  private:
    QComboBox* m_count;
    kyfui::AreaFrame* m_frame;
};

#endif
