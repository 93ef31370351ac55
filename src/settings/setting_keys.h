/// The keys of a parameter file and the fields that they stand for.
///
/// settings/ holds the parameter record as a class, its projections and its file. Uses platform.
#ifndef KYFOCUS_SETTINGS_SETTING_KEYS_H
#define KYFOCUS_SETTINGS_SETTING_KEYS_H

#include <cstdint>
#include <span>

#include <kyfocus/settings.h>

namespace kyf {

inline constexpr const wchar_t* kSettingSection = L"FocusCompositionSetting";

struct SettingKey {
    const wchar_t* Name;
    std::int32_t& (*Field)(KyfFocusCompositionParameter& parameter);
    bool IsSwitch; ///< 0 or 1 in the file and after reading
};

/// In the order of the file. The names are those of the file, which are not always those of the fields.
std::span<const SettingKey> SettingKeys() noexcept;

} // namespace kyf

#endif
