/// Numbers of controls. Hosts name controls of a window by number; here a control carries its number as the dynamic
/// property "KyfControlId", which Qt Designer can set as well. C++20.
#ifndef KYFOCUS_UI_CONTROL_ID_H
#define KYFOCUS_UI_CONTROL_ID_H

#include <QVariant>
#include <QWidget>

inline void KyfSetControlId(QWidget* control, int id) { control->setProperty("KyfControlId", id); }

/// The control with this number among the children of a window and theirs, if it is of the kind asked for; else null.
template <class Control> Control* KyfFindControl(const QWidget* window, int id) {
    if (window == nullptr) return nullptr;
    for (Control* const control : window->findChildren<Control*>()) {
        const QVariant number = control->property("KyfControlId");
        if (number.isValid() && number.toInt() == id) return control;
    }
    return nullptr;
}

#endif
