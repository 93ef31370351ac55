#include "ui/dialogs/dlg_set_auto_positioning_param.h"

#include <QBoxLayout>

#include "ui/resources/resources.h"

using namespace kyfui;

CDlgSetAutoPositioningParam::CDlgSetAutoPositioningParam(const Areas& areas, QWidget* parent)
    : QDialog(parent), m_count(MakeCombo(kIdAreaCount, {kIdAreas2, kIdAreas3, kIdAreas4}, kIdAreaCountNone, this)) {
    UseLanguageFont(*this);
    setObjectName(ObjectName(kIdPositioningDialog));
    setWindowTitle(Text(kIdPositioningDialog));
    QPushButton* const reset = MakeButton(kIdAreaReset, this);
    auto* const edge = new QFrame(this); // the picture is white: on a white window it needs one
    edge->setFrameStyle(QFrame::StyledPanel | QFrame::Sunken);
    m_frame = new AreaFrame(areas, edge);
    auto* const inEdge = new QVBoxLayout(edge);
    inEdge->setContentsMargins(0, 0, 0, 0);
    inEdge->addWidget(m_frame);
    auto* const hint = new QLabel(Text(kIdAreaHint), this);
    hint->setWordWrap(true);

    auto* const first = new QHBoxLayout;
    first->addWidget(MakeLabel(kIdAreaCountLabel, m_count, this));
    first->addWidget(m_count, 1);
    first->addWidget(reset);
    auto* const rows = new QVBoxLayout(this);
    rows->addLayout(first);
    rows->addWidget(edge, 1);
    rows->addWidget(hint);
    rows->addWidget(MakeDialogButtons(this));

    m_count->setCurrentIndex(areas.AreaNo >= 0 && areas.AreaNo < m_count->count() ? areas.AreaNo : -1);
    connect(m_count, &QComboBox::activated, this, [this](int index) { m_frame->SetPattern(index); });
    connect(reset, &QPushButton::clicked, this, [this] { m_frame->SetPattern(Values().AreaNo); });
}
