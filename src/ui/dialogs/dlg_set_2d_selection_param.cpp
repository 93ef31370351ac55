#include "ui/dialogs/dlg_set_2d_selection_param.h"

#include <QEvent>
#include <QGridLayout>
#include <QGuiApplication>
#include <QInputMethod>

#include "ui/resources/resources.h"

using namespace kyfui;

namespace {

/// What is still being composed is dropped: it belongs to the field that is left. Whether there is anything cannot be
/// asked for; an input method on the screen is put away as well.
void CloseInputMethod() {
    QInputMethod* const method = QGuiApplication::inputMethod();
    if (method == nullptr) return;
    method->reset();
    if (method->isVisible()) method->hide();
}

} // namespace

CDlgSet2DSelectionParam::CDlgSet2DSelectionParam(const Preset& values, QWidget* parent)
    : QDialog(parent), m_values(values),
      m_preset(MakeCombo(kIdPreset, {kIdPresetFine, kIdPresetMedium, kIdPresetCoarse}, kIdPresetNone, this)),
      m_compSize(MakePair(kIdCompSizeSlider, kIdCompSizeEdit, kCompSizeRange, values.CompSize)),
      m_smoothing(MakePair(kIdSmoothingSlider, kIdSmoothingEdit, kSmoothingRange, values.Smoothing)) {
    UseLanguageFont(*this);
    setObjectName(ObjectName(kIdManualDialog));
    setWindowTitle(Text(kIdManualDialog));
    auto* const grid = new QGridLayout(this);
    grid->addWidget(MakeLabel(kIdPresetLabel, m_preset, this), 0, 0);
    grid->addWidget(m_preset, 0, 1, 1, 3);
    AddRow(*grid, kIdCompSizeLabel, m_compSize);
    AddRow(*grid, kIdSmoothingLabel, m_smoothing);
    grid->setColumnStretch(1, 1);
    grid->setRowStretch(3, 1);
    grid->addWidget(MakeDialogButtons(this), 4, 0, 1, 4);

    connect(m_preset, &QComboBox::activated, this, &CDlgSet2DSelectionParam::SelectPreset);
    for (const Pair& pair : {m_compSize, m_smoothing})
        connect(pair.Edit, &QLineEdit::textChanged, this, &CDlgSet2DSelectionParam::ReadSliders);
    ReadSliders();
}

bool CDlgSet2DSelectionParam::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::FocusOut) CloseInputMethod();
    return QDialog::eventFilter(watched, event);
}

void CDlgSet2DSelectionParam::accept() {
    ReadSliders();
    QDialog::accept();
}

CDlgSet2DSelectionParam::Pair CDlgSet2DSelectionParam::MakePair(int sliderId, int editId, const ManualRange& range,
                                                                std::int32_t value) {
    const Pair pair = {new CKyfSliderEdit(this), new CKyfLinkSlider(Qt::Horizontal, this)};
    Describe(*pair.Edit, editId);
    Describe(*pair.Slider, sliderId);
    GuardWheel(*pair.Slider);
    SetWidthInDigits(*pair.Edit, kFieldDigits);
    pair.Edit->setAlignment(Qt::AlignRight);
    pair.Edit->setInputMethodHints(Qt::ImhDigitsOnly);
    ShapeSlider(*pair.Slider);
    pair.Edit->SetSlideLink(pair.Slider);
    pair.Edit->SetParams(range.Min, range.Max, range.Ticks);
    pair.Edit->SetPer(range.Per);
    pair.Edit->SetValue(value);
    pair.Edit->installEventFilter(this);
    return pair;
}

void CDlgSet2DSelectionParam::AddRow(QGridLayout& grid, int labelId, const Pair& pair) {
    const int row = grid.rowCount();
    grid.addWidget(MakeLabel(labelId, pair.Edit, this), row, 0);
    grid.addWidget(pair.Slider, row, 1);
    grid.addWidget(pair.Edit, row, 2);
    grid.addWidget(new QLabel(Text(kIdPercent), this), row, 3);
    setTabOrder(pair.Slider, pair.Edit);
}

void CDlgSet2DSelectionParam::ReadSliders() {
    m_values = {m_compSize.Slider->GetSlidePos(), m_smoothing.Slider->GetSlidePos()};
    m_preset->setCurrentIndex(ManualSelection(m_values));
}

void CDlgSet2DSelectionParam::SelectPreset(int index) {
    const std::optional<Preset> preset = PresetOf(index);
    if (!preset) return;
    // Each change of a field reads both sliders: the selection is there again once both are set.
    m_compSize.Edit->SetValue(preset->CompSize);
    m_smoothing.Edit->SetValue(preset->Smoothing);
    ReadSliders();
}
