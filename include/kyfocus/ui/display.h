/*
 * Whether dialogs can be shown. C11 and C++20; the caller needs no toolkit.
 */
#ifndef KYFOCUS_UI_DISPLAY_H
#define KYFOCUS_UI_DISPLAY_H

#include <kyfocus/types.h>

#ifdef __cplusplus
extern "C" {
#endif

/** Whether a dialog could be shown now, on this thread: 1 when the process has a QApplication of this thread, or none
 * and a display that one could open; else 0. Opens the display for a moment. A display that goes away afterwards ends
 * the process, as Qt does it; nothing else of this library lets that happen. */
KYF_API KyiBool KyfCanShowDialogs(void);

#ifdef __cplusplus
}
#endif

#endif
