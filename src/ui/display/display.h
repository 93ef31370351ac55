/// The display that dialogs are shown on.
///
/// Qt ends the process when it can open none: display/ asks beforehand. Uses Qt and platform/.
#ifndef KYFOCUS_UI_DISPLAY_DISPLAY_H
#define KYFOCUS_UI_DISPLAY_DISPLAY_H

#include <QByteArrayList>

namespace kyfui {

/// See KyfCanShowDialogs.
bool CanShowDialogs();

/// Names of the platforms that Qt would try, in lower case and without their options: those of QT_QPA_PLATFORM, else
/// the ones of the session.
QByteArrayList WantedPlatforms();

/// Whether Qt has a plugin for a platform, one that can be loaded, and the display of that platform can be opened.
bool CanOpenPlatform(const QByteArray& name);

} // namespace kyfui

#endif
