#include "colour_map.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>

namespace app {
namespace {

constexpr std::array<std::uint32_t, 20> kColours = {
    0x440154, 0x481568, 0x482677, 0x453781, 0x3F4788, 0x39558C, 0x32648E, 0x2D718E, 0x287D8E, 0x238A8D,
    0x1F968B, 0x20A386, 0x29AF7F, 0x3CBC75, 0x56C667, 0x74D055, 0x94D840, 0xB8DE29, 0xDCE318, 0xFDE725}; // RRGGBB

unsigned char Between(std::uint32_t low, std::uint32_t high, unsigned shift, double part) {
    const double from = low >> shift & 0xFFU;
    const double to = high >> shift & 0xFFU;
    return static_cast<unsigned char>(std::lround(from + (to - from) * part));
}

} // namespace

Bgr ColourOf(double position) {
    const double inside = position > 0.0 ? std::fmin(position, 1.0) : 0.0;
    const double place = inside * (kColours.size() - 1);
    const auto index = std::min(static_cast<std::size_t>(place), kColours.size() - 2);
    const double part = place - static_cast<double>(index);
    const std::uint32_t low = kColours[index];
    const std::uint32_t high = kColours[index + 1];
    return {Between(low, high, 0, part), Between(low, high, 8, part), Between(low, high, 16, part)};
}

} // namespace app
