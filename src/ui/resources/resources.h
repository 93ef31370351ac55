/// Texts and pictures of the dialogs, by number: those of the current language module, else the built-in English ones.
///
/// The numbers are the ones that modules use for controls, strings, bitmaps, cursors and dialogs. Uses Qt and the
/// resource scope of the focus library.
#ifndef KYFOCUS_UI_RESOURCES_H
#define KYFOCUS_UI_RESOURCES_H

#include <QCursor>
#include <QIcon>
#include <QString>
#include <QWidget>

namespace kyfui {

/// Title of a dialog or panel, text of a control with its `&` mnemonic, or a string; empty when no such number is
/// known.
QString Text(int id);

/// What a control means, with its unit and range, for tool tips and accessible descriptions; empty when there is none.
QString ToolTip(int id);

/// Name for screen readers: the text without its mnemonic, or a name of its own for controls that show none.
QString AccessibleName(int id);

/// Has a window or panel show the current module's language in the forms of that language: Chinese, Japanese and Korean
/// write some characters differently. The usual font stays the first one.
void UseLanguageFont(QWidget& window);

/// Vector drawing of a bitmap number (0xD6, 0xD9, 0xDB: plane at the bottom, at the top, other).
QIcon Picture(int id);

/// The cursor 0xD1, shown over an area square that can be dragged.
QCursor DragCursor();

} // namespace kyfui

#endif
