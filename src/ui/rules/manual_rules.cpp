#include "ui/rules/manual_rules.h"

#include <algorithm>

namespace kyfui {

namespace {

std::int32_t Limit(std::int32_t value, const ManualRange& range) { return std::clamp(value, range.Min, range.Max); }

} // namespace

Preset ManualFromSetting(const CKyfFocusCompositionSetting& setting) {
    return {Limit(setting.GetCompSize(), kCompSizeRange), Limit(setting.GetSmoothing(), kSmoothingRange)};
}

std::int32_t ManualSelection(const Preset& values) { return IndexOfPreset(values).value_or(-1); }

} // namespace kyfui
