/// Rules of the graphics processor panel. Only the 3D composition uses the processor.
#ifndef KYFOCUS_UI_RULES_GPU_RULES_H
#define KYFOCUS_UI_RULES_GPU_RULES_H

#include <cstdint>

#include <kyfocus/settings.h>

#include "ui/resources/text_ids.h"

namespace kyfui {

struct GpuPanel {
    std::int32_t ProcessorNameId = kIdNoGpuName;
    std::int32_t DisableCheck = 0; ///< 0 or non-zero
    KyfAlgorithmType AlgType = KyfAlgorithmType3DSafe;
    std::int32_t GpuEnabled = 0; ///< whether there is a processor to use
};

struct GpuControls {
    bool CheckEnabled;
    std::int32_t TextId; ///< name of the processor in use
    bool operator==(const GpuControls&) const = default;
};

/// Name and enabled state for the answers of the two questions for a processor; CUDA comes first.
GpuPanel GpuPanelFor(bool cuda, bool openCl);

/// Before the controls are first shown: without a processor its use is switched off.
void InitGpuPanel(GpuPanel& panel);

/// What the controls show; without a processor the check comes on afterwards.
GpuControls SetEnableControls(GpuPanel& panel);

} // namespace kyfui

#endif
