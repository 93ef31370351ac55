#include "ui/rules/gpu_rules.h"

namespace kyfui {

GpuPanel GpuPanelFor(bool cuda, bool openCl) {
    GpuPanel panel;
    panel.GpuEnabled = cuda || openCl ? 1 : 0;
    if (cuda) {
        panel.ProcessorNameId = kIdCudaName;
    } else if (openCl) {
        panel.ProcessorNameId = kIdOpenClName;
    }
    return panel;
}

void InitGpuPanel(GpuPanel& panel) {
    if (panel.GpuEnabled == 0) panel.DisableCheck = 1;
}

GpuControls SetEnableControls(GpuPanel& panel) {
    const bool usable = panel.GpuEnabled != 0 && panel.AlgType == KyfAlgorithmType3DSafe;
    const GpuControls controls = {usable, usable && panel.DisableCheck == 0 ? panel.ProcessorNameId : kIdNoGpuName};
    if (panel.GpuEnabled == 0 && panel.DisableCheck == 0) panel.DisableCheck = 1;
    return controls;
}

} // namespace kyfui
