/// The keys of a parameter file: which field each stands for, and what its values mean.
#ifndef KYFOCUS_APP_PARAMETER_KEYS_H
#define KYFOCUS_APP_PARAMETER_KEYS_H

#include <array>
#include <cstdint>
#include <span>
#include <string>

#include <kyfocus/settings.h>

namespace app {

struct ParameterKey {
    const char* Name;
    std::int32_t& (*Field)(KyfFocusCompositionParameter& parameter);
    std::int32_t Least; // what a composition can take
    std::int32_t Most;
    const char* Subject;                // what the value is, with its unit
    std::array<const char*, 4> Choices; // what each value from 0 on is, the last also all others; null: a number
    const char* Option;                 // of `kyfocus compose`; null: none

    bool IsInRange(std::int32_t value) const { return value >= Least && value <= Most; }
    /// "0 to 2".
    std::string Range() const;
    /// One line about a value.
    std::string Meaning(std::int32_t value) const;
};

/// In the order of the file.
std::span<const ParameterKey> ParameterKeys();

} // namespace app

#endif
