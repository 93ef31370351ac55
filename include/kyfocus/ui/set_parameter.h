/*
 * The parameters of a composition in a modal dialog. C11 and C++20; the caller needs no toolkit.
 */
#ifndef KYFOCUS_UI_SET_PARAMETER_H
#define KYFOCUS_UI_SET_PARAMETER_H

#include <kyfocus/settings.h>

#ifdef __cplusplus
extern "C" {
#endif

/** Shows the parameters and waits for OK or Cancel. Texts come from the module of KyfSetLanguageType or
 *  KyfSetResourceName, Japanese without either, and are English where the module is missing. Asks for a graphics
 *  processor, as KyfGetEnableGpuCuda and KyfGetEnableGpuOpenCl do, with what those calls change in the process.
 *
 *  Uses the host's QApplication, and its active window as the parent. Without one it makes its own, which stays until
 * the process ends and binds later calls to the thread of the first.
 *
 *  @param parameter  Read, and written on OK. Ranges are not tested: what the user does not touch stays, with the
 *                    exceptions that the panels tell. DisableGPU becomes 1 where there is no processor.
 *  @param autoPositioningDisabled  Non-zero leaves automatic positioning out of the dialog; null for zero.
 *  @return 1 on OK. 0 on Cancel, with `parameter` as it was; also for a null parameter, on another thread than that of
 *          the QApplication, without a display, and in a process whose QCoreApplication shows no windows. */
KYF_API int32_t KyfSetFocusCompositionParameter(KyfFocusCompositionParameter* parameter,
                                                const int32_t* autoPositioningDisabled);

#ifdef __cplusplus
}
#endif

#endif
