/// Rules of the dialog with the two values of the 2D composition, each of which is a slider and edit pair.
#ifndef KYFOCUS_UI_RULES_MANUAL_RULES_H
#define KYFOCUS_UI_RULES_MANUAL_RULES_H

#include <cstdint>

#include <kyfocus/composition_setting.h>

#include "ui/rules/presets.h"

namespace kyfui {

struct ManualRange {
    std::int32_t Min, Max;
    std::int32_t Ticks; ///< intervals between them
    std::int32_t Per;   ///< positions between two stops of the slider
};

inline constexpr ManualRange kCompSizeRange = {0, 20, 5, 1};
inline constexpr ManualRange kSmoothingRange = {0, 10, 10, 1};

/// What the dialog opens with: values beyond their range show as its nearest end, since the pair shows no others.
Preset ManualFromSetting(const CKyfFocusCompositionSetting& setting);

/// Which preset the combo box shows; -1 for none.
std::int32_t ManualSelection(const Preset& values);

} // namespace kyfui

#endif
