#include "ui/controls/control_place.h"

#include <memory>

#include <QLabel>
#include <QLayout>

#include <kyfocus/ui/control_id.h>

namespace kyfui {

namespace {

void TakeSpace(QLineEdit& place, QLineEdit& edit) {
    QWidget* const owner = place.parentWidget();
    edit.setParent(owner);
    edit.setSizePolicy(place.sizePolicy());
    edit.setMinimumSize(place.minimumSize());
    edit.setMaximumSize(place.maximumSize());
    edit.setGeometry(place.geometry());
    if (owner != nullptr && owner->layout() != nullptr)
        const std::unique_ptr<QLayoutItem> left(owner->layout()->replaceWidget(&place, &edit));
}

void TakeTexts(const QLineEdit& place, QLineEdit& edit) {
    edit.setObjectName(place.objectName());
    edit.setToolTip(place.toolTip());
    edit.setWhatsThis(place.whatsThis());
    edit.setAccessibleName(place.accessibleName());
    edit.setAccessibleDescription(place.accessibleDescription());
    edit.setPlaceholderText(place.placeholderText());
    edit.setAlignment(place.alignment());
    edit.setMaxLength(place.maxLength());
    edit.setReadOnly(place.isReadOnly());
    edit.setText(place.text());
}

void TakeLabels(QLineEdit& place, QLineEdit& edit) {
    for (QLabel* const label : place.window()->findChildren<QLabel*>())
        if (label->buddy() == &place) label->setBuddy(&edit);
}

} // namespace

void TakePlaceOf(QLineEdit& place, QLineEdit& edit) {
    const bool hidden = place.isHidden();
    TakeLabels(place, edit);
    TakeSpace(place, edit);
    TakeTexts(place, edit);
    KyfSetControlId(&edit, place.property("KyfControlId").toInt());
    place.setProperty("KyfControlId", {});
    QWidget::setTabOrder(&place, &edit);
    edit.setEnabled(place.isEnabledTo(place.parentWidget()));
    edit.setVisible(!hidden);
    place.hide();
    place.deleteLater();
}

} // namespace kyfui
