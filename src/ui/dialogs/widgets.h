/// Controls with the texts of their numbers: what the panels and dialogs are put together from.
///
/// Each control gets text, tool tip and the name for screen readers by its number, and the number as its object name,
/// such as "0xFA1". The folder shows the rules of the parameter interface in windows; it uses rules, controls and
/// resources of the interface, Qt, and the public calls of the libraries.
#ifndef KYFOCUS_UI_DIALOGS_WIDGETS_H
#define KYFOCUS_UI_DIALOGS_WIDGETS_H

#include <initializer_list>
#include <string>

#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QDialog>
#include <QDialogButtonBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QRadioButton>
#include <QSlider>
#include <QToolButton>

#include "ui/resources/text_ids.h"

namespace kyfui {

/// "0xFA1" for 0xFA1.
QString ObjectName(int id);

/// Object name, tool tip and accessible texts.
void Describe(QWidget& widget, int id);

QRadioButton* MakeRadio(int id, QWidget* parent);
QCheckBox* MakeCheck(int id, QWidget* parent);
/// Not pressed by Enter from elsewhere in the window.
QPushButton* MakeButton(int id, QWidget* parent);
QToolButton* MakePictureButton(int id, int pictureId, QWidget* parent);
/// @param placeholderId  Shown while no entry is chosen; 0 for nothing.
QComboBox* MakeCombo(int id, std::initializer_list<int> entryIds, int placeholderId, QWidget* parent);
/// A label whose mnemonic leads to `buddy`.
QLabel* MakeLabel(int id, QWidget* buddy, QWidget* parent);
QGroupBox* MakeGroup(int id, QWidget* parent);
/// OK, which Enter presses, and Cancel, connected to the dialog.
QDialogButtonBox* MakeDialogButtons(QDialog* dialog);

/// The wheel turns the widget only while it has the focus, which the wheel does not give.
void GuardWheel(QWidget& widget);

/// Digits that a number field of the small dialogs shows.
inline constexpr int kFieldDigits = 4;

/// As wide as so many digits, in the field's font.
void SetWidthInDigits(QLineEdit& field, int digits);

/// Ticks below, a width that a hand can aim in, and the height of the whole handle: some styles ask for less.
void ShapeSlider(QSlider& slider);

/// Checks the button of this number, or none when there is no such button. Tab stops at the checked one, or at the
/// first.
void CheckRadio(QButtonGroup& group, int id);

/// Keeps a widget's place in its layout while it is hidden, so that the window does not jump.
void KeepPlaceWhenHidden(QWidget& widget);

/// Whether the key would end a dialog: Enter of either kind, or Escape.
bool IsEnter(const QKeyEvent& event);
bool IsEscape(const QKeyEvent& event);

/// Runs a dialog of `parent` and hands it to `take` on OK. Should the parent be destroyed meanwhile, the dialog goes
/// with it, and nothing is taken.
template <class Dialog, class Start, class Take> void RunDialog(const Start& start, QWidget* parent, Take&& take) {
    const QPointer<Dialog> dialog = new Dialog(start, parent);
    const bool accepted = dialog->exec() == QDialog::Accepted;
    if (accepted && dialog) take(*dialog);
    delete dialog;
}

} // namespace kyfui

#endif
