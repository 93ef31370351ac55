#include "ui/controls/control_place.h"

#include <memory>

#include <QLabel>
#include <QLayout>
#include <QValidator>

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
    edit.setInputMask(place.inputMask());
    edit.setEchoMode(place.echoMode());
    edit.setReadOnly(place.isReadOnly());
    edit.setText(place.text());
}

/// What the window gives it anyway stays the window's.
void TakeLooks(const QLineEdit& place, QLineEdit& edit) {
    if (place.testAttribute(Qt::WA_SetFont)) edit.setFont(place.font());
    if (place.testAttribute(Qt::WA_SetPalette)) edit.setPalette(place.palette());
    if (place.testAttribute(Qt::WA_SetLocale)) edit.setLocale(place.locale());
    edit.setStyleSheet(place.styleSheet());
}

/// A validator that the old field owns would go with it.
void TakeValidator(QLineEdit& place, QLineEdit& edit) {
    if (place.validator() == nullptr) return;
    auto* const validator = const_cast<QValidator*>(place.validator());
    if (validator->parent() == &place) validator->setParent(&edit);
    edit.setValidator(validator);
}

void TakeLabels(QLineEdit& place, QLineEdit& edit) {
    for (QLabel* const label : place.window()->findChildren<QLabel*>())
        if (label->buddy() == &place) label->setBuddy(&edit);
}

} // namespace

void TakePlaceOf(QLineEdit& place, QLineEdit& edit) {
    const bool hidden = place.isHidden();
    const bool focused = place.window()->focusWidget() == &place;
    TakeLabels(place, edit);
    TakeSpace(place, edit);
    TakeLooks(place, edit);
    TakeTexts(place, edit);
    TakeValidator(place, edit);
    KyfSetControlId(&edit, place.property("KyfControlId").toInt());
    place.setProperty("KyfControlId", {});
    QWidget::setTabOrder(&place, &edit);
    edit.setEnabled(place.isEnabledTo(place.parentWidget()));
    edit.setVisible(!hidden);
    if (focused) edit.setFocus();
    place.hide();
    place.deleteLater();
}

} // namespace kyfui
