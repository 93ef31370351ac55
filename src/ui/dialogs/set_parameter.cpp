#include <kyfocus/ui/set_parameter.h>

#include <QApplication>
#include <kyfocus/gpu.h>
#include <kyfocus/resource.h>

#include "ui/dialogs/application.h"
#include "ui/dialogs/dlg_set_focus_composition_param.h"
#include "ui/dialogs/widgets.h"

namespace {

/// OpenCL is asked only where CUDA cannot be used: either answer takes a device.
kyfui::GpuPanel FindProcessor() {
    const bool cuda = KyfGetEnableGpuCuda();
    return kyfui::GpuPanelFor(cuda, !cuda && KyfGetEnableGpuOpenCl());
}

int32_t SetParameter(KyfFocusCompositionParameter& parameter, int32_t autoPositioningDisabled) {
    if (!kyfui::HaveApplication()) return 0;
    const CKYFocusResource resource; // its texts are in force while the dialog lives
    const FocusCompositionDialogStart start = {parameter, autoPositioningDisabled, FindProcessor()};
    int32_t result = 0;
    kyfui::RunDialog<CDlgSetFocusCompositionParam>(start, QApplication::activeWindow(), [&](const auto& dialog) {
        parameter = dialog.Values();
        result = 1;
    });
    return result;
}

} // namespace

int32_t KyfSetFocusCompositionParameter(KyfFocusCompositionParameter* parameter,
                                        const int32_t* autoPositioningDisabled) {
    if (parameter == nullptr) return 0;
    try {
        return SetParameter(*parameter, autoPositioningDisabled != nullptr ? *autoPositioningDisabled : 0);
    } catch (...) {
        return 0; // out of memory, or what a slot of the host threw while the dialog ran
    }
}
