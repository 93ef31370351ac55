/// The QApplication that dialogs need: the host's, else one of the library's own.
#ifndef KYFOCUS_UI_DIALOGS_APPLICATION_H
#define KYFOCUS_UI_DIALOGS_APPLICATION_H

namespace kyfui {

/// Whether windows can be shown on this thread (KyfCanShowDialogs). Makes a QApplication when the process has none, and
/// keeps it to the end: styles, fonts and input methods don't all come up a second time, and the toolkit's own objects
/// may be used until then.
bool HaveApplication();

} // namespace kyfui

#endif
