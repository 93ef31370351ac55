/// Dialog with the five values of the 3D composition.
#ifndef KYFOCUS_UI_DIALOGS_DLG_SET_DETAIL_PARAM_H
#define KYFOCUS_UI_DIALOGS_DLG_SET_DETAIL_PARAM_H

#include "ui/dialogs/widgets.h"
#include "ui/rules/detail_rules.h"

class QGridLayout;

class CDlgSetDetailParam : public QDialog {
    Q_OBJECT
  public:
    CDlgSetDetailParam(const kyfui::DetailValues& values, QWidget* parent);

    const kyfui::DetailValues& Values() const { return m_model.Values(); }

    /// A field that fails the range test takes the focus instead.
    void accept() override;

  protected:
    /// The sound at a field that fails the range test.
    virtual void Beep();

  private:
    struct Row {
        QSlider* Slider;
        QLineEdit* Edit;
    };
    Row MakeRow(QGridLayout& grid, int labelId, int sliderId, int editId, kyfui::DetailField field);
    /// Shows the values without taking them for input.
    void ShowValues();
    void OnTyped(kyfui::DetailField field, const QString& text);
    void ReturnFocus(kyfui::DetailField field);
    const Row& RowOf(kyfui::DetailField field) const { return m_rows[static_cast<std::size_t>(field)]; }

    kyfui::DetailModel m_model;
    QCheckBox* m_halation;
    QCheckBox* m_peakPosition;
    std::array<Row, 3> m_rows;
    QString m_rangeError;
};

#endif
