#include "ui/rules/presets.h"

#include <algorithm>
#include <array>

namespace kyfui {

namespace {

constexpr std::array<Preset, kPresetCount> kPresets = {{{1, 8}, {8, 6}, {15, 6}}};

} // namespace

std::optional<Preset> PresetOf(std::int32_t index) {
    if (index < 0 || index >= kPresetCount) return std::nullopt;
    return kPresets[static_cast<std::size_t>(index)];
}

std::optional<std::int32_t> IndexOfPreset(const Preset& values) {
    const auto found = std::ranges::find(kPresets, values);
    if (found == kPresets.end()) return std::nullopt;
    return static_cast<std::int32_t>(found - kPresets.begin());
}

} // namespace kyfui
