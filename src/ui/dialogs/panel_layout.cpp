#include "ui/dialogs/panel_layout.h"

#include <QBoxLayout>
#include <QGridLayout>

namespace kyfui {

PanelLayout::PanelLayout(QWidget* panel)
    : Algorithm(new QButtonGroup(panel)), ParameterSet(new QButtonGroup(panel)), Plane(new QButtonGroup(panel)),
      PlanePictures(new QButtonGroup(panel)) {
    PlanePictures->setExclusive(false); // buttons that are pressed, not chosen
    auto* const rows = new QVBoxLayout(panel);
    rows->addWidget(MakeAlgorithmFrame(panel));

    auto* const pages = new QGridLayout; // both in one cell
    pages->addWidget(MakeSetFrame(panel), 0, 0);
    pages->addWidget(MakePlaneFrame(panel), 0, 0);
    rows->addLayout(pages);
    rows->addWidget(MakePositioningFrame(panel));

    auto* const speeds = new QHBoxLayout;
    auto* const speed = Keep(kIdSpeed, MakeCombo(kIdSpeed, {kIdSpeedFull, kIdSpeedHalf, kIdSpeedQuarter}, 0, panel));
    speeds->addWidget(MakeLabel(kIdSpeedLabel, speed, panel));
    speeds->addWidget(speed, 1);
    rows->addLayout(speeds);
    rows->addStretch();
}

QGroupBox* PanelLayout::MakeAlgorithmFrame(QWidget* panel) {
    QGroupBox* const frame = MakeGroup(kIdAlgorithmGroup, panel);
    auto* const row = new QHBoxLayout(frame);
    row->addWidget(AddRadio(kIdAlgorithm2D, Algorithm, frame));
    row->addWidget(AddRadio(kIdAlgorithm3D, Algorithm, frame));
    row->addStretch();
    row->addWidget(Keep(kIdComplex, MakeCheck(kIdComplex, frame)));
    return frame;
}

QGroupBox* PanelLayout::MakeSetFrame(QWidget* panel) {
    QGroupBox* const frame = MakeGroup(kIdSetGroup, panel);
    auto* const rows = new QVBoxLayout(frame);
    for (const int id : {kIdSetFine, kIdSetMedium, kIdSetCoarse}) rows->addWidget(AddRadio(id, ParameterSet, frame));
    auto* const manual = new QHBoxLayout;
    manual->addWidget(AddRadio(kIdSetManual, ParameterSet, frame));
    manual->addStretch();
    manual->addWidget(Keep(kIdManualButton, MakeButton(kIdManualButton, frame)));
    rows->addLayout(manual);
    rows->addStretch();
    AddPage(frame, {kIdSetFine, kIdSetMedium, kIdSetCoarse, kIdSetManual, kIdManualButton});
    return frame;
}

QGroupBox* PanelLayout::MakePlaneFrame(QWidget* panel) {
    QGroupBox* const frame = MakeGroup(kIdPlaneGroup, panel);
    auto* const grid = new QGridLayout(frame);
    struct Plane3D {
        int Radio, Button, Picture;
    };
    constexpr Plane3D kPlanes[] = {{kIdPlaneBottom, kIdPlaneBottomButton, kIdBottomPicture},
                                   {kIdPlaneTop, kIdPlaneTopButton, kIdTopPicture},
                                   {kIdPlaneOther, kIdPlaneOtherButton, kIdOtherPicture}};
    for (int column = 0; column < 3; ++column) {
        const Plane3D& plane = kPlanes[column];
        grid->addWidget(AddRadio(plane.Radio, Plane, frame), 1, column, Qt::AlignHCenter);
        grid->setColumnStretch(column, 1);
    }
    for (int column = 0; column < 3; ++column) {
        const Plane3D& plane = kPlanes[column];
        QToolButton* const picture = Keep(plane.Button, MakePictureButton(plane.Button, plane.Picture, frame));
        PlanePictures->addButton(picture, column);
        grid->addWidget(picture, 0, column, Qt::AlignHCenter);
    }
    grid->addWidget(Keep(kIdDetailButton, MakeButton(kIdDetailButton, frame)), 2, 0, 1, 3, Qt::AlignRight);
    grid->setRowStretch(3, 1);
    AddPage(frame, {kIdPlaneBottom, kIdPlaneTop, kIdPlaneOther, kIdPlaneBottomButton, kIdPlaneTopButton,
                    kIdPlaneOtherButton, kIdDetailButton});
    return frame;
}

QGroupBox* PanelLayout::MakePositioningFrame(QWidget* panel) {
    QGroupBox* const frame = MakeGroup(kIdPositioningGroup, panel);
    auto* const row = new QHBoxLayout(frame);
    row->addWidget(Keep(kIdAutoPosition, MakeCheck(kIdAutoPosition, frame)));
    row->addStretch();
    QPushButton* const button = Keep(kIdPositioningButton, MakeButton(kIdPositioningButton, frame));
    KeepPlaceWhenHidden(*button);
    row->addWidget(button);
    Frames[frame] = {kIdAutoPosition, kIdPositioningButton};
    return frame;
}

/// A page that is hidden, with all that is on it, is as large as one that is shown.
void PanelLayout::AddPage(QGroupBox* frame, const std::vector<int>& ids) {
    KeepPlaceWhenHidden(*frame);
    for (const int id : ids) KeepPlaceWhenHidden(*Controls.at(id));
    Frames[frame] = ids;
}

template <class Widget> Widget* PanelLayout::Keep(int id, Widget* widget) {
    Controls[id] = widget;
    return widget;
}

/// Numbered in the group by its place there.
QRadioButton* PanelLayout::AddRadio(int id, QButtonGroup* group, QWidget* parent) {
    QRadioButton* const radio = Keep(id, MakeRadio(id, parent));
    group->addButton(radio, static_cast<int>(group->buttons().size()));
    return radio;
}

} // namespace kyfui
