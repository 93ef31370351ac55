/// Values behind the three presets of the 2D composition.
///
/// The rules of the parameter interface need no toolkit: they map settings to control states and inputs back to
/// settings. They use the public settings and nothing else of the library.
#ifndef KYFOCUS_UI_RULES_PRESETS_H
#define KYFOCUS_UI_RULES_PRESETS_H

#include <cstdint>
#include <optional>

namespace kyfui {

/// Percents of the image, as in the record of parameters.
struct Preset {
    std::int32_t CompSize;
    std::int32_t Smoothing;
    bool operator==(const Preset&) const = default;
};

inline constexpr std::int32_t kPresetCount = 3;

/// The preset behind an index; none for any other index, among them 3, which keeps the user's own values.
std::optional<Preset> PresetOf(std::int32_t index);

/// The index of the preset that has these values; none when they are the user's own.
std::optional<std::int32_t> IndexOfPreset(const Preset& values);

} // namespace kyfui

#endif
