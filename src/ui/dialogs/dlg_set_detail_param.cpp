#include "ui/dialogs/dlg_set_detail_param.h"

#include <QApplication>
#include <QBoxLayout>
#include <QGridLayout>
#include <QSignalBlocker>
#include <QToolTip>

#include "ui/controls/typed_text.h"
#include "ui/resources/resources.h"

using namespace kyfui;

namespace {

constexpr int kPage = 2;

} // namespace

CDlgSetDetailParam::CDlgSetDetailParam(const DetailValues& values, QWidget* parent)
    : QDialog(parent), m_model(values), m_halation(MakeCheck(kIdHalation, this)),
      m_peakPosition(MakeCheck(kIdPeakPosition, this)), m_rangeError(Text(kIdRangeError)) {
    UseLanguageFont(*this);
    setObjectName(ObjectName(kIdDetailDialog));
    setWindowTitle(Text(kIdDetailDialog));
    auto* const grid = new QGridLayout(this);
    grid->addWidget(m_halation, 0, 0, 1, 3);
    grid->addWidget(m_peakPosition, 1, 0, 1, 3);
    m_rows = {MakeRow(*grid, kIdSensitivityLabel, kIdSensitivitySlider, kIdSensitivityEdit, DetailField::Sensitivity),
              MakeRow(*grid, kIdNoiseLabel, kIdNoiseSlider, kIdNoiseEdit, DetailField::NoiseRemove),
              MakeRow(*grid, kIdShapeLabel, kIdShapeSlider, kIdShapeEdit, DetailField::ShapeSmoothing)};
    QPushButton* const defaults = MakeButton(kIdDetailDefaults, this);
    const int row = grid->rowCount();
    auto* const buttons = new QHBoxLayout;
    buttons->addWidget(defaults);
    buttons->addWidget(MakeDialogButtons(this), 1);
    grid->setColumnStretch(1, 1);
    grid->setRowStretch(row, 1);
    grid->addLayout(buttons, row + 1, 0, 1, 3);

    connect(m_halation, &QCheckBox::clicked, this, [this](bool on) { m_model.ClickHalation(on); });
    connect(m_peakPosition, &QCheckBox::clicked, this, [this](bool on) { m_model.ClickPeakPosition(on); });
    connect(defaults, &QPushButton::clicked, this, [this] {
        m_model.ClickDefaults();
        ShowValues();
    });
    ShowValues();
}

void CDlgSetDetailParam::accept() {
    if (const std::optional<DetailField> field = m_model.FailingField()) {
        ReturnFocus(*field);
        return;
    }
    QDialog::accept();
}

CDlgSetDetailParam::Row CDlgSetDetailParam::MakeRow(QGridLayout& grid, int labelId, int sliderId, int editId,
                                                    DetailField field) {
    const Row row = {new QSlider(Qt::Horizontal, this), new QLineEdit(this)};
    Describe(*row.Slider, sliderId);
    Describe(*row.Edit, editId);
    GuardWheel(*row.Slider);
    row.Slider->setRange(kDetailMin, kDetailMax);
    row.Slider->setPageStep(kPage);
    ShapeSlider(*row.Slider);
    row.Slider->setTickInterval(1);
    SetWidthInDigits(*row.Edit, kFieldDigits);
    row.Edit->setAlignment(Qt::AlignRight);
    row.Edit->setInputMethodHints(Qt::ImhDigitsOnly);
    const int place = grid.rowCount();
    grid.addWidget(MakeLabel(labelId, row.Edit, this), place, 0);
    grid.addWidget(row.Slider, place, 1);
    grid.addWidget(row.Edit, place, 2);
    connect(row.Slider, &QSlider::valueChanged, this, [this, field](int position) {
        m_model.MoveSlider(field, position);
        ShowValues();
    });
    connect(row.Edit, &QLineEdit::textChanged, this, [this, field](const QString& text) { OnTyped(field, text); });
    return row;
}

void CDlgSetDetailParam::ShowValues() {
    m_halation->setChecked(m_model.Values().HalationMeasures != 0);
    m_peakPosition->setChecked(m_model.Values().AdoptionPeakPosition != 0);
    for (const DetailField field : kDetailFields) {
        const Row& row = RowOf(field);
        const QSignalBlocker quietSlider(row.Slider);
        const QSignalBlocker quietEdit(row.Edit);
        row.Slider->setValue(m_model.Values()[field]);
        const QString text = QString::fromStdString(m_model.TextOf(field));
        if (row.Edit->text() != text) row.Edit->setText(text); // the cursor stays where it is otherwise
    }
}

void CDlgSetDetailParam::OnTyped(DetailField field, const QString& text) {
    const QString plain = QString::fromStdWString(WithPlainDigits(text)); // input methods give other digits too
    if (!m_model.TypeText(field, plain.toStdString())) {
        ReturnFocus(field);
        return;
    }
    const QSignalBlocker quiet(RowOf(field).Slider);
    RowOf(field).Slider->setValue(m_model.Values()[field]);
}

void CDlgSetDetailParam::Beep() { QApplication::beep(); }

void CDlgSetDetailParam::ReturnFocus(DetailField field) {
    QLineEdit* const edit = RowOf(field).Edit;
    Beep();
    edit->setFocus(Qt::OtherFocusReason);
    edit->selectAll();
    edit->ensurePolished();
    QToolTip::showText(edit->mapToGlobal(edit->rect().bottomLeft()), m_rangeError, edit);
}
